// A conversation as text, held to the recorded one byte by byte.
#ifndef ZELTO_TESTS_TRANSCRIPT_H
#define ZELTO_TESTS_TRANSCRIPT_H

#include <string>
#include <vector>

namespace contract {

class TTranscript {
public:
    // Bytes that are not printable ASCII are written as "\xNN".
    void Add(const std::string& line);
    // The messages that were logged since the last call, up to a level.
    void AddLog(int level);

    // Compares with a file of tests/data. ZELTO_RENEW_TRANSCRIPTS=1 in the environment writes the file
    // instead.
    void ExpectRecorded(const std::string& fileName) const;

private:
    std::vector<std::string> lines;
};

} // namespace contract

#endif
