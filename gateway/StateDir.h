// The directory of a running manager: its helper script, found there on the search path, and its index-map
// file.
#ifndef GATEWAY_STATE_DIR_H
#define GATEWAY_STATE_DIR_H

#include "Model.h"

#include <string>

namespace gateway {

class TStateDir {
public:
    // Uses `path` and makes it when it is not there; an empty one makes a directory of its own for temporary
    // files. Throws std::runtime_error when something cannot be made.
    explicit TStateDir(const std::string& path);
    // Removes the files made here, and the directory if it was made here.
    ~TStateDir();
    TStateDir(const TStateDir&) = delete;
    TStateDir& operator=(const TStateDir&) = delete;

    // Writes the helper script and puts the directory at the head of the search path of this process.
    void InstallHelper();
    // Writes the index-map file: the tables number 1, 2, 3 for applications, `platformIndices` for the
    // platform.
    void WriteIndexMap(const TIndices& platformIndices);
    const std::string& IndexMapPath() const;

private:
    std::string path;
    bool made;
    std::string helperPath;
    std::string markPath; // written by the helper
    std::string indexMapPath;
};

} // namespace gateway

#endif
