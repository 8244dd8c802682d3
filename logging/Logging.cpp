// A replacement of the platform's logging library for development hosts: the same name, the same one
// function.
//
//   QV_LOGGING_LEVEL=N   records of levels above N are dropped (0 to 7; 5 when unset or no such number)
//   QV_LOGGING_SYSLOG=1  records go to syslog instead of standard error
//
// The environment is read at the first record.

#include "utils/Log.h"
#include "utils/SigpipeMask.h"
#include "zelto/Export.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <syslog.h>
#include <unistd.h>

namespace {

constexpr int DEFAULT_THRESHOLD = 5;
constexpr int LOWEST_LEVEL = LOG_EMERG;
constexpr int HIGHEST_LEVEL = LOG_DEBUG;
constexpr size_t SHORT_LINE_SIZE = 1024;
constexpr size_t LONGEST_ESCAPE = 4;
constexpr const char* LEVEL_NAMES[] = {"emergency", "alert",  "critical", "error",
                                       "warning",   "notice", "info",     "debug"};

struct TSettings {
    int threshold;
    bool toSyslog;
};

struct TFree {
    void operator()(char* memory) const { std::free(memory); }
};

// A buffer on the stack for ordinary lines and on the heap for long ones. When there is no memory a long line
// is cut to the stack's size: losing its end is better than losing the process.
class TBuffer {
public:
    char* Reserve(size_t wanted) {
        if (wanted > sizeof(onStack)) {
            onHeap.reset(static_cast<char*>(std::malloc(wanted)));
        }
        capacity = onHeap ? wanted : sizeof(onStack);
        return Data();
    }
    char* Data() { return onHeap ? onHeap.get() : onStack; }
    size_t Capacity() const { return capacity; }

private:
    char onStack[SHORT_LINE_SIZE];
    std::unique_ptr<char, TFree> onHeap;
    size_t capacity = sizeof(onStack);
};

int ReadThreshold() {
    const char* text = std::getenv("QV_LOGGING_LEVEL");
    if (text == nullptr || text[0] < '0' || text[0] > '7' || text[1] != '\0') {
        return DEFAULT_THRESHOLD;
    }
    return text[0] - '0';
}

bool ReadSyslogSwitch() {
    const char* text = std::getenv("QV_LOGGING_SYSLOG");
    return text != nullptr && text[0] != '\0' && std::strcmp(text, "0") != 0;
}

const TSettings& Settings() {
    static const TSettings settings{ReadThreshold(), ReadSyslogSwitch()};
    return settings;
}

int ClampLevel(int level) {
    if (level < LOWEST_LEVEL) {
        return LOWEST_LEVEL;
    }
    return level > HIGHEST_LEVEL ? HIGHEST_LEVEL : level;
}

bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

// U+0080 to U+009F as UTF-8.
bool IsHighControl(const char* text) {
    return text[0] == '\xc2' && (static_cast<unsigned char>(text[1]) & 0xe0) == 0x80;
}

// Appends the character at `text` and steps over it; a control character becomes an escape, so that text from
// outside can neither begin a line of its own nor command a terminal, which is taken to be one of UTF-8.
size_t AppendEscaped(char* out, const char*& text) {
    const bool isHighControl = IsHighControl(text);
    text += isHighControl ? 1 : 0;
    const char c = *text++;
    if (!isHighControl && !IsControl(c)) {
        out[0] = c;
        return 1;
    }
    static constexpr char DIGITS[] = "0123456789abcdef";
    if (c == '\n' || c == '\t' || c == '\r') {
        out[0] = '\\';
        out[1] = c == '\n' ? 'n' : (c == '\t' ? 't' : 'r');
        return 2;
    }
    const auto byte = static_cast<unsigned char>(c);
    const char escape[] = {'\\', 'x', DIGITS[byte >> 4], DIGITS[byte & 0xf]};
    std::memcpy(out, escape, sizeof(escape));
    return sizeof(escape);
}

size_t EscapedLength(const char* text) {
    char scratch[LONGEST_ESCAPE];
    size_t length = 0;
    while (*text != '\0') {
        length += AppendEscaped(scratch, text);
    }
    return length;
}

// One call for the whole line, so that lines of several threads and processes do not mix. What a signal or a
// full pipe cut off is written after it. A record that nobody reads any more is no reason to end the process.
void WriteAll(const char* data, size_t size) {
    const zelto::TSigpipeMask mask;
    while (size > 0) {
        const ssize_t written = write(STDERR_FILENO, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
}

void WriteLine(int level, const char* text) {
    char prefix[64];
    const int printed = std::snprintf(prefix, sizeof(prefix), "[%ld] %s: ", static_cast<long>(getpid()),
                                      LEVEL_NAMES[ClampLevel(level)]);
    const auto prefixLength = static_cast<size_t>(printed);
    TBuffer buffer;
    char* const line = buffer.Reserve(prefixLength + EscapedLength(text) + LONGEST_ESCAPE + 1);
    std::memcpy(line, prefix, prefixLength);
    size_t length = prefixLength;
    // Only a line that there was no memory for ends before its text does.
    while (*text != '\0' && length + LONGEST_ESCAPE < buffer.Capacity()) {
        length += AppendEscaped(line + length, text);
    }
    line[length++] = '\n';
    WriteAll(line, length);
}

void Emit(int level, const char* text) {
    if (Settings().toSyslog) {
        syslog(ClampLevel(level), "%s", text);
    } else {
        WriteLine(level, text);
    }
}

// The format is what remains to be shown when its arguments cannot be printed.
__attribute__((format(printf, 2, 0))) void FormatAndEmit(int level, const char* format, va_list arguments) {
    TBuffer buffer;
    va_list again;
    va_copy(again, arguments);
    int length = std::vsnprintf(buffer.Data(), buffer.Capacity(), format, arguments);
    if (length >= static_cast<int>(buffer.Capacity())) {
        char* const text = buffer.Reserve(static_cast<size_t>(length) + 1);
        length = std::vsnprintf(text, buffer.Capacity(), format, again);
    }
    va_end(again);
    Emit(level, length < 0 ? format : buffer.Data());
}

} // namespace

// Leaves errno as it was: callers log between a failed system call and the look at its reason.
extern "C" ZELTO_API void qvLogging_log(int level, const char* format, ...) {
    if (level > Settings().threshold || format == nullptr) {
        return;
    }
    const int callersErrno = errno;
    va_list arguments;
    va_start(arguments, format);
    FormatAndEmit(level, format, arguments);
    va_end(arguments);
    errno = callersErrno;
}
