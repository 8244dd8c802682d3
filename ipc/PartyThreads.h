// The dispatch threads of a transport object. Any thread may start and take them.
#ifndef ZELTO_IPC_PARTY_THREADS_H
#define ZELTO_IPC_PARTY_THREADS_H

#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace zelto {

class TRun;

// The run for which the current thread was started, or for which it starts threads; null without one.
std::shared_ptr<TRun> RunOfStart();

// Sets it for the length of a scope.
class TStartScope {
public:
    explicit TStartScope(std::shared_ptr<TRun> run);
    ~TStartScope();
    TStartScope(const TStartScope&) = delete;
    TStartScope& operator=(const TStartScope&) = delete;

private:
    std::shared_ptr<TRun> outer;
};

// Adds so many threads in a loop, for the run for which the current one starts them. When it throws, those
// that were started are there.
void StartThreads(std::vector<std::thread>& threads, std::int32_t count, const std::function<void()>& loop);
std::vector<std::thread> TakeThreads(std::vector<std::thread>& threads);
// Waits for each to end, but for the current one, which ends when the callback that it is in returns.
void JoinOrLeave(std::vector<std::thread>& threads);

} // namespace zelto

#endif
