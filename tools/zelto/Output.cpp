#include "Output.h"

#include "ExitCodes.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace tool {

namespace {

constexpr char ESCAPED_LETTERS[] = "\\ntr";
constexpr char LETTER_VALUES[] = "\\\n\t\r";
constexpr size_t OCTAL_DIGITS = 3;

std::atomic<bool> isSilenced{false};

unsigned char ByteAt(const std::string& text, size_t position) {
    return position < text.size() ? static_cast<unsigned char>(text[position]) : 0;
}

// Control characters beyond ASCII, which some terminals obey, take two bytes in UTF-8.
bool IsLongControl(const std::string& text, size_t position) {
    const unsigned char second = ByteAt(text, position + 1);
    return ByteAt(text, position) == 0xc2 && second >= 0x80 && second < 0xa0;
}

bool IsControl(const std::string& text, size_t position) {
    const unsigned char byte = ByteAt(text, position);
    return byte < 0x20 || byte == 0x7f || IsLongControl(text, position) ||
           (position > 0 && IsLongControl(text, position - 1));
}

void AppendEscaped(std::string& escaped, const std::string& text, size_t position) {
    const char c = text[position];
    const char* const found = c == '\0' ? nullptr : std::strchr(LETTER_VALUES, c);
    if (found != nullptr) {
        escaped += {'\\', ESCAPED_LETTERS[found - LETTER_VALUES]};
    } else if (IsControl(text, position)) {
        // Three octal digits end by themselves, whatever comes next.
        char octal[5];
        (void)std::snprintf(octal, sizeof(octal), "\\%03o", unsigned{ByteAt(text, position)});
        escaped += octal;
    } else {
        escaped += c;
    }
}

bool IsOctal(const std::string& text, size_t start) {
    const size_t end = start + OCTAL_DIGITS;
    return end <= text.size() && text[start] <= '3' && text.find_first_not_of("01234567", start) >= end;
}

// Reads what follows the backslash at `position` and moves past it.
bool ReadEscape(const std::string& escaped, size_t& position, std::string& text) {
    const size_t next = position + 1;
    if (IsOctal(escaped, next)) {
        text += static_cast<char>(std::stoi(escaped.substr(next, OCTAL_DIGITS), nullptr, 8));
        position = next + OCTAL_DIGITS;
        return true;
    }
    const char* const found = next < escaped.size() && escaped[next] != '\0'
                                  ? std::strchr(ESCAPED_LETTERS, escaped[next])
                                  : nullptr;
    if (found == nullptr) {
        return false;
    }
    text += LETTER_VALUES[found - ESCAPED_LETTERS];
    position = next + 1;
    return true;
}

} // namespace

std::string Escape(const std::string& text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (size_t position = 0; position < text.size(); ++position) {
        AppendEscaped(escaped, text, position);
    }
    return escaped;
}

bool Unescape(const std::string& escaped, std::string& text) {
    std::string read;
    for (size_t position = 0; position < escaped.size();) {
        if (escaped[position] != '\\') {
            read += escaped[position++];
        } else if (!ReadEscape(escaped, position, read)) {
            return false;
        }
    }
    text = std::move(read);
    return true;
}

void PrintError(const std::string& message) {
    if (!isSilenced) {
        (void)std::fprintf(stderr, "zelto: %s\n", Escape(message).c_str());
    }
}

void SilenceMessages(bool isSilent) {
    isSilenced = isSilent;
}

bool WriteRaw(const char* data, size_t size) {
    while (size > 0) {
        const ssize_t written = write(STDOUT_FILENO, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            PrintError(std::string("cannot write to standard output: ") + std::strerror(errno));
            return false;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

TOutput::TOutput(const TGlobals& globalOptions, const std::string& listKey)
    : globals(globalOptions), list(listKey) {}

bool TOutput::Add(const std::string& line, const TZeltoJsonObject& record) {
    return globals.format == FORMAT_TEXT ? Write(Escape(line) + "\n") : AddRecord(record);
}

bool TOutput::Add(const TZeltoJsonObject& record) {
    return globals.format == FORMAT_TEXT ? !hasFailed : AddRecord(record);
}

int TOutput::Finish(int code) {
    if (globals.format == FORMAT_DOCUMENT && !list.empty()) {
        if (hasBegun) {
            (void)Write("\n]}\n");
        } else if (code == EXIT_DONE) {
            (void)Write("{\"" + list + "\": []}\n");
        }
    }
    return hasFailed ? int{EXIT_RUN_TIME} : code;
}

// One call for each line, so that those of several programs on one terminal do not mix.
bool TOutput::Write(const std::string& bytes) {
    if (!hasFailed && !globals.isQuiet) {
        hasFailed = !WriteRaw(bytes.data(), bytes.size());
    }
    return !hasFailed;
}

bool TOutput::AddRecord(const TZeltoJsonObject& record) {
    const std::string text = record.EncodeToString();
    if (globals.format == FORMAT_LINES || list.empty()) {
        return Write(text + "\n");
    }
    const std::string before = hasBegun ? ",\n" : "{\"" + list + "\": [\n";
    hasBegun = true;
    return Write(before + text);
}

} // namespace tool
