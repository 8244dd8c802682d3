#include "abi/AbiLists.h"

#include "abi/ElfFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace {

using contract::TLines;

const std::string OWN_TAG = sizeof(void*) == 4 ? "32: " : "64: ";
const std::string OTHER_TAG = sizeof(void*) == 4 ? "64: " : "32: ";

bool StartsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

// The lines of a list that hold for this word size.
TLines Listed(const std::string& name) {
    std::ifstream file(std::string(ABI_FOLDER) + "/" + name);
    TLines lines;
    for (std::string line; std::getline(file, line);) {
        if (StartsWith(line, "#") || StartsWith(line, OTHER_TAG)) {
            continue;
        }
        lines.push_back(StartsWith(line, OWN_TAG) ? line.substr(OWN_TAG.size()) : line);
    }
    return lines;
}

TLines Missing(TLines from, TLines in) {
    std::sort(from.begin(), from.end());
    std::sort(in.begin(), in.end());
    TLines missing;
    std::set_difference(in.begin(), in.end(), from.begin(), from.end(), std::back_inserter(missing));
    return missing;
}

// Both differences, so that a failure names the lines instead of printing the lists.
void ExpectListed(const std::string& name, const TLines& actual) {
    const TLines listed = Listed(name);
    ASSERT_FALSE(listed.empty());
    EXPECT_THAT(Missing(actual, listed), testing::IsEmpty()) << "in abi/" << name << ", not in the library";
    EXPECT_THAT(Missing(listed, actual), testing::IsEmpty()) << "in the library, not in abi/" << name;
}

TEST(Abi, ExportsWhatIsListedAndNothingElse) {
    ExpectListed("symbols", contract::SymbolLines());
}

TEST(Abi, KeepsVirtualFunctionsInTheirSlots) {
    ExpectListed("slots", contract::SlotLines());
}

TEST(Abi, KeepsTheLayoutOfRecordsAndClasses) {
    ExpectListed("layouts", contract::LayoutLines());
}

// They would take the place of those of another library in the same process.
TEST(Abi, ExportsNoInstanceOfTheStandardLibrary) {
    for (const contract::TDynamicSymbol& symbol : contract::TElfFile(contract::LibraryPath()).Symbols()) {
        if (symbol.defined) {
            EXPECT_FALSE(StartsWith(symbol.name, "_ZNSt") || StartsWith(symbol.name, "_ZNKSt") ||
                         StartsWith(symbol.name, "_ZSt") || StartsWith(symbol.name, "_ZTVSt") ||
                         StartsWith(symbol.name, "_ZTISt") || StartsWith(symbol.name, "_ZN9__gnu_cxx"))
                << symbol.name;
        }
    }
}

} // namespace
