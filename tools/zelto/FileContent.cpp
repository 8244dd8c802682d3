#include "FileContent.h"

#include "Output.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr size_t BLOCK_SIZE = 65536;
constexpr mode_t NEW_FILE_MODE = 0666; // less what the user's mask takes away

struct TFree {
    void operator()(char* memory) const { std::free(memory); }
};

bool Complain(const char* verb, const std::string& path) {
    PrintError(std::string("cannot ") + verb + " " + path + ": " + std::strerror(errno));
    return false;
}

bool ReadAll(int fd, std::string& content) {
    char block[BLOCK_SIZE];
    ssize_t length = 0;
    while ((length = read(fd, block, sizeof(block))) != 0) {
        if (length < 0 && errno != EINTR) {
            return false;
        }
        content.append(block, length < 0 ? 0 : static_cast<size_t>(length));
    }
    return true;
}

bool WriteAll(int fd, const std::string& content) {
    for (size_t position = 0; position < content.size();) {
        const ssize_t written = write(fd, content.data() + position, content.size() - position);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        position += written < 0 ? 0 : static_cast<size_t>(written);
    }
    return true;
}

bool WriteTo(const std::string& path, const std::string& content, int flags, mode_t mode) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, mode);
    if (fd < 0) {
        return false;
    }
    const bool isWritten = WriteAll(fd, content);
    const int error = errno;
    const bool isClosed = close(fd) == 0;
    errno = isWritten ? errno : error;
    return isWritten && isClosed;
}

// Beside the file, and in its place when it is whole.
bool Replace(const std::string& path, const std::string& content, mode_t mode) {
    const std::string draft = path + ".zelto-" + std::to_string(getpid());
    if (WriteTo(draft, content, O_EXCL, mode) && rename(draft.c_str(), path.c_str()) == 0) {
        return true;
    }
    const int error = errno;
    (void)unlink(draft.c_str());
    errno = error;
    return false;
}

} // namespace

std::string CheckFileName(const std::string& path) {
    return path.empty() ? "the name of the file is empty" : "";
}

bool ReadFile(const std::string& path, std::string& content) {
    content.clear();
    const bool isInput = path == "-";
    const int fd = isInput ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return Complain("read", path);
    }
    const bool isRead = ReadAll(fd, content);
    const int error = errno;
    if (!isInput) {
        (void)close(fd);
    }
    errno = error;
    return isRead || Complain("read", isInput ? "standard input" : path);
}

bool WriteFile(const std::string& path, const std::string& content) {
    // What a link stands for is replaced, not the link.
    const std::unique_ptr<char, TFree> resolved(realpath(path.c_str(), nullptr));
    const std::string target = resolved ? resolved.get() : path;
    struct stat status = {};
    const bool exists = stat(target.c_str(), &status) == 0;
    const bool isWritten = exists && !S_ISREG(status.st_mode)
                               ? WriteTo(target, content, O_TRUNC, NEW_FILE_MODE)
                               : Replace(target, content, exists ? status.st_mode & 0777 : NEW_FILE_MODE);
    return isWritten || Complain("write", path);
}

} // namespace tool
