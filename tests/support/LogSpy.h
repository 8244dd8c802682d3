// Takes the place of the logging library in a test process: the shared library behind it has the same SONAME
// and records every message, of every level, in the order in which the calls came.
//
// Another program than a test can be made to load the spy with LD_LIBRARY_PATH=ZELTO_LOG_SPY_DIR. In every
// process the environment variable LOG_SPY_ECHO=1 makes the spy write each message to standard error as well.
#ifndef ZELTO_TESTS_LOG_SPY_H
#define ZELTO_TESTS_LOG_SPY_H

#include <chrono>
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#define LOG_SPY_API __attribute__((visibility("default")))

namespace LogSpy {

struct TMessage {
    int level;
    std::string format; // as it stands at the call site
    std::string text;   // as it would be written
};

constexpr std::chrono::milliseconds DEFAULT_TIMEOUT{10000};

// Every test begins with a cleared spy; a test needs this only between two of its own steps.
LOG_SPY_API void Clear();
LOG_SPY_API std::vector<TMessage> Messages();

// These four look for a message whose whole text, enclosing double quotes included, is the given one.
LOG_SPY_API std::size_t Count(int level, const std::string& text);
LOG_SPY_API bool Contains(int level, const std::string& text);
LOG_SPY_API bool WaitFor(int level, const std::string& text,
                         std::chrono::milliseconds timeout = DEFAULT_TIMEOUT);
LOG_SPY_API bool WaitForCount(int level, const std::string& text, std::size_t count,
                              std::chrono::milliseconds timeout = DEFAULT_TIMEOUT);

// The same for a text that is only a part of the message.
LOG_SPY_API std::size_t CountPart(int level, const std::string& part);
LOG_SPY_API bool ContainsPart(int level, const std::string& part);
LOG_SPY_API bool WaitForPart(int level, const std::string& part,
                             std::chrono::milliseconds timeout = DEFAULT_TIMEOUT);

// All messages of a level.
LOG_SPY_API std::size_t Count(int level);

// For failure messages: one line for each message.
LOG_SPY_API std::string Dump();

// Switches recording off (and on again) for tests that make millions of messages.
LOG_SPY_API void SetRecording(bool on);

inline bool operator==(const TMessage& a, const TMessage& b) {
    return a.level == b.level && a.format == b.format && a.text == b.text;
}

inline std::ostream& operator<<(std::ostream& out, const TMessage& message) {
    return out << message.level << ' ' << message.text;
}

} // namespace LogSpy

#endif
