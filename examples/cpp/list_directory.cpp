// Lists a directory with the file toolkit, without a bus. usage: list_directory DIRECTORY
#include <zelto/ZeltoFileUtils.h>

#include <iostream>
#include <string>

using ZeltoFileUtils::TDirIterator;

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    for (TDirIterator it(directory); it != TDirIterator::End(); ++it) {
        std::cout << it.GetFullPath() << '\n';
    }
    return 0;
}
