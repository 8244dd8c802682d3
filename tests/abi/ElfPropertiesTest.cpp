#include "abi/AbiLists.h"
#include "abi/ElfFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

contract::TElfFile Library() {
    return contract::TElfFile(contract::LibraryPath());
}

bool HasFlag(ElfW(Sxword) tag, ElfW(Xword) flag) {
    const auto values = Library().Dynamic(tag);
    return std::any_of(values.begin(), values.end(), [flag](auto value) { return (value & flag) != 0; });
}

template <typename TPredicate>
bool Imports(const TPredicate& predicate) {
    const auto symbols = Library().Symbols();
    return std::any_of(symbols.begin(), symbols.end(), [&predicate](const contract::TDynamicSymbol& symbol) {
        return !symbol.defined && predicate(symbol.name);
    });
}

TEST(Library, HasItsName) {
    EXPECT_THAT(Library().DynamicTexts(DT_SONAME), ElementsAre("libzelto.so.1"));
}

TEST(Library, NeedsOnlyTheBusJsonLoggingAndTheRuntime) {
    std::set<std::string> needed;
    for (const std::string& name : Library().DynamicTexts(DT_NEEDED)) {
        needed.insert(name);
    }
    for (const char* own : {"libdbus-1.so.3", "libjansson.so.4", "libqv_logging.so.1"}) {
        EXPECT_EQ(needed.erase(own), 1U) << own;
    }
    for (const char* runtime :
         {"libstdc++.so.6", "libgcc_s.so.1", "libc.so.6", "libm.so.6", "libpthread.so.0",
          "ld-linux-armhf.so.3", "ld-linux.so.2", "ld-linux-x86-64.so.2"}) {
        needed.erase(runtime);
    }
    EXPECT_THAT(needed, IsEmpty());
}

// A relocated text page is a private one, in every process again.
TEST(Library, HasNoTextRelocations) {
    EXPECT_THAT(Library().Dynamic(DT_TEXTREL), IsEmpty());
    EXPECT_FALSE(HasFlag(DT_FLAGS, DF_TEXTREL));
}

TEST(Library, AsksForNoExecutableStack) {
    const auto flags = Library().SegmentFlags(PT_GNU_STACK);
    ASSERT_EQ(flags.size(), 1U);
    EXPECT_EQ(flags.front() & PF_X, 0U);
}

TEST(Library, HasNoPartThatIsWritableAndExecutable) {
    for (const auto flags : Library().SegmentFlags(PT_LOAD)) {
        EXPECT_NE(flags & (PF_W | PF_X), ElfW(Word){PF_W | PF_X});
    }
}

TEST(Library, IsReadOnlyAfterRelocation) {
    EXPECT_EQ(Library().SegmentFlags(PT_GNU_RELRO).size(), 1U);
    EXPECT_TRUE(HasFlag(DT_FLAGS, DF_BIND_NOW) || HasFlag(DT_FLAGS_1, DF_1_NOW));
}

TEST(Library, ProtectsItsStack) {
    EXPECT_TRUE(Imports([](const std::string& name) { return name == "__stack_chk_fail"; }));
}

#if LIBRARY_IS_OPTIMISED
TEST(Library, ChecksTheSizesOfItsBuffers) {
    const auto isChecked = [](const std::string& name) {
        return name.size() > 6 && name.compare(name.size() - 4, 4, "_chk") == 0 &&
               name.compare(0, 2, "__") == 0;
    };
    EXPECT_TRUE(Imports(isChecked));
}
#endif

} // namespace
