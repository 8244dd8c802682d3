// Logs what its arguments say, through the logging library: LEVEL TEXT, or a named case. Its own syslog
// functions stand before those of the C library and show what they are given.

#include "utils/Log.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace {

[[gnu::format(printf, 2, 0)]] void ShowSyslog(int priority, const char* format, va_list arguments) {
    std::printf("syslog %d ", priority);
    (void)std::vprintf(format, arguments);
    std::printf("\n");
}

int LogText(const char* level, const char* text) {
    qvLogging_log(std::atoi(level), "\"%s\"", text);
    return EXIT_SUCCESS;
}

int LogEveryLevel() {
    for (int level = -1; level <= 8; ++level) {
        qvLogging_log(level, "\"%d\"", level);
    }
    return EXIT_SUCCESS;
}

// Around the size of the library's own buffer, ending in a plain character and in one that is escaped.
int LogLengths() {
    for (size_t length = 900; length <= 1100; ++length) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "%s", std::string(length, 'y').c_str());
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "%s\n", std::string(length, 'y').c_str());
    }
    return EXIT_SUCCESS;
}

int LogLong() {
    qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"%s\"", std::string(100000, 'x').c_str());
    return EXIT_SUCCESS;
}

// The address space is closed behind the text, so that the line finds no memory.
int LogLongWithoutMemory() {
    const std::string text(64 * 1024 * 1024, 'x');
    const rlimit none{0, 0};
    (void)setrlimit(RLIMIT_AS, &none);
    qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"%s\"", text.c_str());
    return EXIT_SUCCESS;
}

int LogThroughClosedStderr() {
    (void)std::fclose(stderr);
    errno = ENOENT;
    qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"lost\"");
    return errno == ENOENT ? EXIT_SUCCESS : EXIT_FAILURE;
}

int LogThroughAbandonedPipe() {
    int ends[2];
    if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) != STDERR_FILENO || close(ends[0]) != 0) {
        return EXIT_FAILURE;
    }
    qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"lost\"");
    return EXIT_SUCCESS;
}

int LogErrno() {
    errno = ENOENT;
    qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"kept\"");
    return errno == ENOENT ? EXIT_SUCCESS : EXIT_FAILURE;
}

// A wide character that the "C" locale cannot express makes printf fail.
int LogUnprintable() {
    qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"%ls\"", L"\x4e00");
    return EXIT_SUCCESS;
}

int LogFromThreads() {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([i] {
            for (int j = 0; j < 50; ++j) {
                qvLogging_log(zelto::LOG_LEVEL_NOTICE, "\"%s\"",
                              std::string(500, static_cast<char>('a' + i)).c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return EXIT_SUCCESS;
}

} // namespace

extern "C" __attribute__((visibility("default"), format(printf, 2, 3))) void syslog(int priority,
                                                                                    const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    ShowSyslog(priority, format, arguments);
    va_end(arguments);
}

// What syslog becomes in a fortified build.
extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) void
__syslog_chk(int priority, int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    ShowSyslog(priority, format, arguments);
    va_end(arguments);
}

int main(int argc, char** argv) {
    if (argc == 3) {
        return LogText(argv[1], argv[2]);
    }
    static const std::map<std::string, std::function<int()>> CASES{
        {"levels", LogEveryLevel},
        {"lengths", LogLengths},
        {"long", LogLong},
        {"long-without-memory", LogLongWithoutMemory},
        {"errno", LogErrno},
        {"closed-stderr", LogThroughClosedStderr},
        {"threads", LogFromThreads},
        {"unprintable", LogUnprintable},
        {"abandoned-pipe", LogThroughAbandonedPipe},
    };
    const auto found = argc == 2 ? CASES.find(argv[1]) : CASES.end();
    return found == CASES.end() ? EXIT_FAILURE : found->second();
}
