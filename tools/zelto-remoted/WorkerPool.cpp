#include "WorkerPool.h"

#include <utility>

namespace remoted {

TWorkerPool::TWorkerPool(std::size_t threadCount) {
    try {
        for (std::size_t index = 0; index < threadCount; ++index) {
            threads.emplace_back([this] { Work(); });
        }
    } catch (...) { // no more threads: those that there are must not outlive this object
        End();
        throw;
    }
}

TWorkerPool::~TWorkerPool() {
    End();
}

void TWorkerPool::End() {
    (void)Stop(std::chrono::milliseconds(0)); // joining waits for the rest
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void TWorkerPool::Post(TJob job) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (!isStopped) {
        jobs.push_back(std::move(job));
        changed.notify_one();
    }
}

bool TWorkerPool::Stop(std::chrono::milliseconds time) {
    std::deque<TJob> dropped; // destroyed without the lock
    std::unique_lock<std::mutex> lock(mutex);
    isStopped = true;
    dropped.swap(jobs);
    changed.notify_all();
    return changed.wait_for(lock, time, [this] { return busy == 0; });
}

void TWorkerPool::Work() {
    std::unique_lock<std::mutex> lock(mutex);
    while (true) {
        changed.wait(lock, [this] { return isStopped || !jobs.empty(); });
        if (isStopped) {
            return;
        }
        TJob job = std::move(jobs.front());
        jobs.pop_front();
        ++busy;
        lock.unlock();
        job();
        job = nullptr; // what it holds goes before it counts as ended
        lock.lock();
        --busy;
        if (isStopped) {
            changed.notify_all();
        }
    }
}

} // namespace remoted
