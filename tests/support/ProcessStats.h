// What the kernel says about a process; zero when it is gone.
#ifndef ZELTO_TESTS_PROCESS_STATS_H
#define ZELTO_TESTS_PROCESS_STATS_H

#include <cstddef>

#include <sys/types.h>

namespace support {

std::size_t ResidentKib(pid_t pid);
std::size_t OpenDescriptors(pid_t pid);
std::size_t Threads(pid_t pid);
// Processor time used so far, of user and kernel, in milliseconds.
std::size_t ProcessorMs(pid_t pid);

} // namespace support

#endif
