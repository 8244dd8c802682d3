// The vector of a transport object's dispatch threads, which several threads may fill and empty.
#ifndef ZELTO_IPC_DISPATCH_THREADS_H
#define ZELTO_IPC_DISPATCH_THREADS_H

#include <thread>
#include <vector>

namespace zelto {

std::vector<std::thread> TakeThreads(std::vector<std::thread>& threads);
// Waits for each to end, but for the current one, which ends when the callback that it is in returns.
void JoinOrLeave(std::vector<std::thread>& threads);

} // namespace zelto

#endif
