#include "support/TempDir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace support {

// Always below /tmp: the path of a unix socket has only 108 bytes, which a long TMPDIR would use up.
TTempDir::TTempDir() {
    char pattern[] = "/tmp/zelto-test-XXXXXX";
    if (mkdtemp(pattern) == nullptr) {
        throw std::runtime_error("no directory below /tmp");
    }
    path = pattern;
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
