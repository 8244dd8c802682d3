#include "zelto/ZeltoFileUtils.h"

#include <cstring>

namespace ZeltoFileUtils {

TDirIterator::TDirIterator() : stream(nullptr), entry(nullptr) {}

// Delegates, so that the destructor closes the stream should a text fail to grow.
TDirIterator::TDirIterator(const std::string& directory) : TDirIterator() {
    path = directory + "/";
    stream = ::opendir(directory.c_str());
    Next();
}

// Opens what the original opened, without the "/" that was appended: the path of an empty directory name
// would open the root. The end iterator opens nothing.
TDirIterator::TDirIterator(const TDirIterator& other) : TDirIterator() {
    path = other.path;
    if (!path.empty()) {
        stream = ::opendir(path.substr(0, path.size() - 1).c_str());
    }
    Next();
}

TDirIterator::~TDirIterator() {
    if (stream != nullptr) {
        ::closedir(stream);
    }
}

void TDirIterator::Next() {
    if (stream == nullptr) {
        return;
    }
    do {
        entry = ::readdir(stream);
    } while (entry != nullptr &&
             (std::strcmp(entry->d_name, "..") == 0 || std::strcmp(entry->d_name, ".") == 0));
}

TDirIterator& TDirIterator::operator++() {
    Next();
    return *this;
}

// The copy stands at the first entry, unlike the usual postfix form: existing callers know it so.
TDirIterator TDirIterator::operator++(int) {
    TDirIterator copy(*this);
    Next();
    return copy;
}

std::string TDirIterator::GetName() const {
    return entry != nullptr ? entry->d_name : std::string();
}

std::string TDirIterator::GetFullPath() const {
    return entry != nullptr ? path + entry->d_name : std::string();
}

// Not symmetric: only the left side's missing entry is looked at. Loops keep the iterator on the left.
bool TDirIterator::operator==(const TDirIterator& other) const {
    if (stream == nullptr) {
        return other.stream == nullptr;
    }
    if (entry == nullptr) {
        return other.entry == nullptr;
    }
    return GetFullPath() == other.GetFullPath();
}

bool TDirIterator::operator!=(const TDirIterator& other) const {
    return !(*this == other);
}

const TDirIterator& TDirIterator::End() {
    static const TDirIterator END;
    return END;
}

} // namespace ZeltoFileUtils
