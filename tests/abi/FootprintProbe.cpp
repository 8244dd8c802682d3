// Loads the library named on the command line into a process that has its dependencies already, and prints
// what that costs: the KiB of its pages that are private and written to, and the bytes it allocated.

#include <cstdint>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include <dlfcn.h>
#include <malloc.h>

namespace {

// Copies of the file's pages. "Private_Dirty" would count a file that was just built and is not on the disk
// yet.
constexpr const char* WRITTEN_PAGES = "Anonymous:";

// A line that begins a mapping: "from-to flags offset device inode [path]".
bool IsMapping(const std::string& line, std::string& path) {
    std::istringstream words(line);
    std::string range;
    std::string skipped;
    words >> range >> skipped >> skipped >> skipped >> skipped;
    path.clear();
    words >> path;
    return range.find('-') != std::string::npos && range.find(':') == std::string::npos;
}

// What follows the library without a name is its zeroed data.
uint64_t WrittenKibibytes(const std::string& library) {
    std::ifstream maps("/proc/self/smaps");
    uint64_t sum = 0;
    bool isCounted = false;
    std::string path;
    for (std::string line; std::getline(maps, line);) {
        if (IsMapping(line, path)) {
            isCounted = path == library || (isCounted && path.empty());
        } else if (isCounted && line.compare(0, std::string(WRITTEN_PAGES).size(), WRITTEN_PAGES) == 0) {
            sum += std::stoull(line.substr(std::string(WRITTEN_PAGES).size()));
        }
    }
    return sum;
}

bool Load(const char* name) {
    if (dlopen(name, RTLD_NOW | RTLD_GLOBAL) == nullptr) {
        std::cerr << dlerror() << '\n';
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: footprint_probe LIBRARY [DEPENDENCY...]\n";
        return 2;
    }
    for (int i = 2; i < argc; ++i) {
        if (!Load(argv[i])) {
            return 1;
        }
    }
    const size_t before = mallinfo2().uordblks;
    if (!Load(argv[1])) {
        return 1;
    }
    const size_t allocated = mallinfo2().uordblks - before;
    std::cout << WrittenKibibytes(argv[1]) << ' ' << allocated << '\n';
    return 0;
}
