// Runs a fuzz target over the files of folders, as an ordinary test: by every compiler, and with a log that
// reads what it is given.
#include "utils/Log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

void qvLogging_log(int /*level*/, const char* format, ...) {
    char line[64];
    std::va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(line, sizeof(line), format, arguments); // walks over all texts, whatever fits
    va_end(arguments);
}

namespace {

std::vector<std::filesystem::path> FilesOf(const char* folder) {
    std::error_code error;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void Run(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::printf("%s (%zu bytes)\n", path.c_str(), bytes.size());
    (void)std::fflush(stdout); // the last one named is the one that failed
    (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::vector<std::filesystem::path> files = FilesOf(argv[i]);
        if (files.empty()) {
            std::fprintf(stderr, "no inputs in %s\n", argv[i]);
            return 1;
        }
        std::for_each(files.begin(), files.end(), Run);
    }
    return argc > 1 ? 0 : 1;
}
