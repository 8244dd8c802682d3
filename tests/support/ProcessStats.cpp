#include "support/ProcessStats.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace support {

namespace {

std::string ProcPath(pid_t pid, const char* name) {
    return "/proc/" + std::to_string(pid) + "/" + name;
}

size_t CountEntries(const std::string& directory) {
    size_t count = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator it(directory, error), end; !error && it != end;
         it.increment(error)) {
        ++count;
    }
    return count;
}

} // namespace

size_t ResidentKib(pid_t pid) {
    std::ifstream file(ProcPath(pid, "statm"));
    size_t total = 0;
    size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

// Looking into one's own table opens a descriptor itself; it is not counted.
size_t OpenDescriptors(pid_t pid) {
    const size_t count = CountEntries(ProcPath(pid, "fd"));
    return pid == getpid() && count > 0 ? count - 1 : count;
}

size_t Threads(pid_t pid) {
    return CountEntries(ProcPath(pid, "task"));
}

// The fields after the command, which may hold blanks and brackets itself: state, then ten numbers, then the
// two times.
size_t ProcessorMs(pid_t pid) {
    std::ifstream file(ProcPath(pid, "stat"));
    std::string line;
    std::getline(file, line);
    const size_t bracket = line.rfind(')');
    if (bracket == std::string::npos) {
        return 0;
    }
    long long user = 0;
    long long system = 0;
    (void)std::sscanf(line.c_str() + bracket + 1, " %*c %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %lld %lld",
                      &user, &system);
    return static_cast<size_t>((user + system) * 1000 / sysconf(_SC_CLK_TCK));
}

} // namespace support
