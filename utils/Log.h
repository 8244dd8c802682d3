// The platform's logging library. Formats stand at the call site and carry their own enclosing double quotes;
// text from outside is always an argument.
#ifndef ZELTO_UTILS_LOG_H
#define ZELTO_UTILS_LOG_H

extern "C" void qvLogging_log(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

namespace zelto {

constexpr int LOG_LEVEL_ERROR = 3;
constexpr int LOG_LEVEL_NOTICE = 5;
constexpr int LOG_LEVEL_DEBUG = 7;

} // namespace zelto

#endif
