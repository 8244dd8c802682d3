// Threads that do what may take long, in the order it was posted.
#ifndef REMOTED_WORKER_POOL_H
#define REMOTED_WORKER_POOL_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace remoted {

class TWorkerPool {
public:
    using TJob = std::function<void()>; // throws nothing

    explicit TWorkerPool(std::size_t threadCount);
    ~TWorkerPool(); // waits for the jobs in progress
    TWorkerPool(const TWorkerPool&) = delete;
    TWorkerPool& operator=(const TWorkerPool&) = delete;

    // Any thread. Does nothing after Stop.
    void Post(TJob job);

    // Drops the jobs that wait. Returns whether those in progress ended within the time.
    bool Stop(std::chrono::milliseconds time);

private:
    void Work();
    void End();

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<TJob> jobs;
    std::size_t busy = 0;
    bool isStopped = false;
    std::vector<std::thread> threads;
};

} // namespace remoted

#endif
