#include "support/LogSpy.h"

#include "utils/Log.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <sstream>

#include <pthread.h>

namespace {

struct TStore {
    std::mutex mutex;
    std::condition_variable added;
    std::vector<LogSpy::TMessage> messages;
    std::atomic<bool> recording{true};
};

TStore& Store();

// A child that is forked off while another thread logs must not find the store locked.
TStore* NewStore() {
    (void)pthread_atfork([] { Store().mutex.lock(); }, [] { Store().mutex.unlock(); },
                         [] { Store().mutex.unlock(); }); // fails only without memory
    return new TStore;
}

// Never destroyed: threads and static objects of the process log until its very end.
TStore& Store() {
    static TStore* const store = NewStore();
    return *store;
}

__attribute__((format(printf, 1, 0))) std::string Format(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) + 1 : 1, '\0');
    (void)std::vsnprintf(text.data(), text.size(), format, again); // the length is known
    va_end(again);
    text.pop_back();
    return text;
}

void Echo(int level, const std::string& text) {
    static const bool echo = std::getenv("LOG_SPY_ECHO") != nullptr;
    if (echo) {
        std::fprintf(stderr, "<%d>%s\n", level, text.c_str());
    }
}

template <typename TMatch>
size_t CountIf(TStore& store, const TMatch& match) {
    return static_cast<size_t>(std::count_if(store.messages.begin(), store.messages.end(), match));
}

template <typename TMatch>
size_t LockedCountIf(const TMatch& match) {
    TStore& store = Store();
    const std::lock_guard<std::mutex> lock(store.mutex);
    return CountIf(store, match);
}

template <typename TMatch>
bool WaitForCountIf(const TMatch& match, size_t count, std::chrono::milliseconds timeout) {
    TStore& store = Store();
    std::unique_lock<std::mutex> lock(store.mutex);
    const auto deadline = std::chrono::system_clock::now() + timeout;
    return store.added.wait_until(lock, deadline, [&] { return CountIf(store, match) >= count; });
}

auto IsText(int level, const std::string& text) {
    return [level, &text](const LogSpy::TMessage& m) { return m.level == level && m.text == text; };
}

auto HasPart(int level, const std::string& part) {
    return [level, &part](const LogSpy::TMessage& m) {
        return m.level == level && m.text.find(part) != std::string::npos;
    };
}

} // namespace

extern "C" LOG_SPY_API void qvLogging_log(int level, const char* format, ...) {
    TStore& store = Store();
    if (!store.recording) {
        return;
    }
    const int callersErrno = errno;
    va_list arguments;
    va_start(arguments, format);
    LogSpy::TMessage message{level, format, Format(format, arguments)};
    va_end(arguments);
    Echo(level, message.text);
    {
        const std::lock_guard<std::mutex> lock(store.mutex);
        store.messages.push_back(std::move(message));
    }
    store.added.notify_all();
    errno = callersErrno;
}

namespace LogSpy {

void Clear() {
    TStore& store = Store();
    const std::lock_guard<std::mutex> lock(store.mutex);
    store.messages.clear();
}

std::vector<TMessage> Messages() {
    TStore& store = Store();
    const std::lock_guard<std::mutex> lock(store.mutex);
    return store.messages;
}

size_t Count(int level, const std::string& text) {
    return LockedCountIf(IsText(level, text));
}

size_t Count(int level) {
    return LockedCountIf([level](const TMessage& m) { return m.level == level; });
}

bool Contains(int level, const std::string& text) {
    return Count(level, text) > 0;
}

bool WaitFor(int level, const std::string& text, std::chrono::milliseconds timeout) {
    return WaitForCount(level, text, 1, timeout);
}

bool WaitForCount(int level, const std::string& text, size_t count, std::chrono::milliseconds timeout) {
    return WaitForCountIf(IsText(level, text), count, timeout);
}

size_t CountPart(int level, const std::string& part) {
    return LockedCountIf(HasPart(level, part));
}

bool ContainsPart(int level, const std::string& part) {
    return CountPart(level, part) > 0;
}

bool WaitForPart(int level, const std::string& part, std::chrono::milliseconds timeout) {
    return WaitForCountIf(HasPart(level, part), 1, timeout);
}

std::string Dump() {
    std::ostringstream out;
    for (const TMessage& message : Messages()) {
        out << "  " << message << '\n';
    }
    return out.str();
}

void SetRecording(bool on) {
    Store().recording = on;
}

} // namespace LogSpy
