// Tells somebody at a terminal what a long wait is for.
#ifndef ZELTO_TOOL_WAIT_NOTICE_H
#define ZELTO_TOOL_WAIT_NOTICE_H

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace tool {

// Writes a line on standard error, when that is a terminal, if it still lives after two seconds.
class TWaitNotice {
public:
    explicit TWaitNotice(const std::string& message);
    ~TWaitNotice();
    TWaitNotice(const TWaitNotice&) = delete;
    TWaitNotice& operator=(const TWaitNotice&) = delete;

private:
    void WaitAndTell(const std::string& message);

    std::mutex mutex;
    std::condition_variable changed;
    bool isOver = false;
    std::thread thread;
};

} // namespace tool

#endif
