// Prints the binary interface of the library: abi_lists symbols|slots|layouts.

#include "abi/AbiLists.h"

#include <iostream>
#include <map>

int main(int argc, char** argv) {
    const std::map<std::string, contract::TLines (*)()> lists = {{"symbols", contract::SymbolLines},
                                                                 {"slots", contract::SlotLines},
                                                                 {"layouts", contract::LayoutLines}};
    const auto list = lists.find(argc == 2 ? argv[1] : "");
    if (list == lists.end()) {
        std::cerr << "usage: abi_lists symbols|slots|layouts\n";
        return 2;
    }
    for (const std::string& line : list->second()) {
        std::cout << line << '\n';
    }
    return 0;
}
