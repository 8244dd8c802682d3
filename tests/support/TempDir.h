// A directory of its own for one test, removed with all it holds when the object goes.
#ifndef ZELTO_TESTS_TEMP_DIR_H
#define ZELTO_TESTS_TEMP_DIR_H

#include <string>

namespace support {

class TTempDir {
public:
    TTempDir();
    ~TTempDir();
    TTempDir(const TTempDir&) = delete;
    TTempDir& operator=(const TTempDir&) = delete;

    const std::string& Path() const { return path; }
    std::string File(const std::string& name) const { return path + "/" + name; }

    // Writes a file into the directory and gives its path.
    std::string Write(const std::string& name, const std::string& content) const;
    // Empty when there is no such file.
    std::string Read(const std::string& name) const;

private:
    std::string path;
};

} // namespace support

#endif
