#include "LibraryLog.h"

#include "Output.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <vector>

namespace tool {

namespace {

constexpr int ERROR_LEVEL = 3;

std::atomic<bool> isShown{false};
struct TLastError {
    std::mutex lock;
    std::string text;
};

// Never destroyed: the library logs until the very end of the process.
TLastError& LastError() {
    static TLastError* const lastError = new TLastError;
    return *lastError;
}

[[gnu::format(printf, 1, 0)]] std::string Format(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::vector<char> text(length < 0 ? 1 : static_cast<size_t>(length) + 1);
    (void)std::vsnprintf(text.data(), text.size(), format, arguments);
    return text.data();
}

std::string WithoutQuotes(const std::string& text) {
    const bool isQuoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

void SetLastError(const std::string& text) {
    TLastError& lastError = LastError();
    const std::lock_guard<std::mutex> lock(lastError.lock);
    lastError.text = text;
}

void TakeLine(int level, const std::string& line) {
    if (isShown) {
        (void)std::fprintf(stderr, "zelto: log %d: %s\n", level, Escape(line).c_str());
    }
    if (level <= ERROR_LEVEL) {
        SetLastError(WithoutQuotes(line));
    }
}

} // namespace

void ShowLog(bool isLogShown) {
    isShown = isLogShown;
}

std::string LastLoggedError() {
    TLastError& lastError = LastError();
    const std::lock_guard<std::mutex> lock(lastError.lock);
    return lastError.text;
}

void ForgetLoggedError() {
    SetLastError("");
}

} // namespace tool

// Found by the dynamic linker before the logging library's own.
extern "C" __attribute__((visibility("default"), format(printf, 2, 3))) void
qvLogging_log(int level, const char* format, ...) {
    if (level > tool::ERROR_LEVEL && !tool::isShown) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    tool::TakeLine(level, tool::Format(format, arguments));
    va_end(arguments);
}
