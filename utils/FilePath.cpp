// The text of paths, the links in them and the current directory.

#include "zelto/ZeltoFileUtils.h"
#include "zelto/ZeltoGenericUtils.h"

#include <array>
#include <climits>
#include <cstdlib>

#include <libgen.h>
#include <unistd.h>

namespace ZeltoFileUtils {

namespace {

using TPathBuffer = std::array<char, 4096>;
static_assert(std::tuple_size<TPathBuffer>::value >= PATH_MAX, "realpath() writes up to PATH_MAX bytes");

} // namespace

bool ReadLink(const std::string& path, std::string& target) {
    TPathBuffer buffer;
    const ssize_t length = ::readlink(path.c_str(), buffer.data(), buffer.size());
    if (length < 0) {
        return false;
    }
    target.assign(buffer.data(), static_cast<std::size_t>(length));
    return true;
}

bool RealPath(const std::string& path, std::string& resolved) {
    TPathBuffer buffer;
    if (::realpath(path.c_str(), buffer.data()) == nullptr) {
        return false;
    }
    resolved = buffer.data();
    return true;
}

bool ChangeDirectory(const std::string& path) {
    return ::chdir(path.c_str()) == 0;
}

std::string GetCurrentDirectory() {
    TPathBuffer buffer;
    return ::getcwd(buffer.data(), buffer.size()) != nullptr ? buffer.data() : std::string();
}

std::string GetDirName(const std::string& path) {
    std::string copy = path; // dirname() writes into its argument
    return ::dirname(copy.data());
}

std::string GetBaseName(const std::string& path) {
    std::string copy = path; // basename() writes into its argument
    return ::basename(copy.data());
}

std::string GetFileExtension(const std::string& path) {
    const std::string name = GetBaseName(path);
    const std::size_t dot = name.rfind('.');
    if (name == "." || name == ".." || dot == std::string::npos) {
        return {};
    }
    return name.substr(dot);
}

std::string AppendFilePath(const std::string& dir, const std::string& name) {
    return dir + "/" + name;
}

std::string GetFileNameFromPath(const std::string& path) {
    const std::vector<std::string> items = ZeltoGenericUtils::Split(path, '/');
    return items.empty() ? std::string() : items.back();
}

} // namespace ZeltoFileUtils
