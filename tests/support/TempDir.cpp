#include "support/TempDir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace support {

namespace {

// Not TMPDIR: the path of a unix socket has only 108 bytes, which a long one would use up.
#ifdef ZELTO_EMULATED
constexpr char PATTERN[] = "/dev/shm/zelto-test-XXXXXX";
#else
constexpr char PATTERN[] = "/tmp/zelto-test-XXXXXX";
#endif

} // namespace

TTempDir::TTempDir() : path(PATTERN) {
    if (mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("no directory like " + path);
    }
}

TTempDir::~TTempDir() {
    std::error_code ignored; // nothing a test could do about it
    std::filesystem::remove_all(path, ignored);
}

std::string TTempDir::Write(const std::string& name, const std::string& content) const {
    std::ofstream(File(name), std::ios::binary) << content;
    return File(name);
}

std::string TTempDir::Read(const std::string& name) const {
    std::ostringstream content;
    content << std::ifstream(File(name), std::ios::binary).rdbuf();
    return content.str();
}

} // namespace support
