#include "abi/Transcript.h"

#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace contract {

namespace {

std::string Printable(const std::string& text) {
    constexpr const char* DIGITS = "0123456789abcdef";
    std::string printable;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte < 0x7f) {
            printable += character;
        } else {
            printable += std::string("\\x") + DIGITS[byte >> 4] + DIGITS[byte & 15];
        }
    }
    return printable;
}

std::vector<std::string> ReadLines(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

void WriteLines(const std::string& path, const std::vector<std::string>& lines) {
    std::ofstream file(path);
    for (const std::string& line : lines) {
        file << line << '\n';
    }
}

} // namespace

void TTranscript::Add(const std::string& line) {
    lines.push_back(Printable(line));
}

void TTranscript::AddLog(int level) {
    for (const LogSpy::TMessage& message : LogSpy::Messages()) {
        if (message.level <= level) {
            Add("  log " + std::to_string(message.level) + " " + message.text);
        }
    }
    LogSpy::Clear();
}

void TTranscript::ExpectRecorded(const std::string& fileName) const {
    const std::string path = std::string(TRANSCRIPT_FOLDER) + "/" + fileName;
    const char* renew = std::getenv("ZELTO_RENEW_TRANSCRIPTS");
    if (renew != nullptr && std::string(renew) == "1") {
        WriteLines(path, lines);
    }
    const std::vector<std::string> recorded = ReadLines(path);
    const size_t count = std::min(lines.size(), recorded.size());
    for (size_t i = 0; i < count; ++i) {
        ASSERT_EQ(lines[i], recorded[i]) << fileName << ", line " << i + 1;
    }
    EXPECT_EQ(lines.size(), recorded.size()) << fileName;
}

} // namespace contract
