#include "utils/ShortList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TList = zelto::TShortList<int, 4>;

std::vector<int> Elements(const TList& list) {
    return std::vector<int>(list.begin(), list.end());
}

TEST(ShortList, IsEmptyAtFirst) {
    const TList list;
    EXPECT_TRUE(list.empty());
    EXPECT_THAT(Elements(list), IsEmpty());
}

TEST(ShortList, KeepsTheOrderOfWhatIsAppended) {
    TList list;
    list.push_back(7);
    const int more[] = {8, 9};
    list.append(more, 2);
    EXPECT_THAT(Elements(list), ElementsAre(7, 8, 9));
}

TEST(ShortList, TakesMoreThanItHoldsItself) {
    std::vector<int> expected(1000);
    std::iota(expected.begin(), expected.end(), 0);
    TList list;
    for (const int number : expected) {
        list.push_back(number);
    }
    EXPECT_THAT(Elements(list), testing::ElementsAreArray(expected));
}

TEST(ShortList, TakesALongPieceAtOnce) {
    const std::vector<int> piece(100, 5);
    TList list;
    list.push_back(1);
    list.append(piece.data(), piece.size());
    EXPECT_EQ(list.size(), 101U);
    EXPECT_EQ(list.data()[0], 1);
    EXPECT_EQ(list.data()[100], 5);
}

TEST(ShortList, CanBeFilledAnewAfterItWasCleared) {
    TList list;
    for (int i = 0; i < 10; ++i) {
        list.push_back(i);
    }
    list.clear();
    EXPECT_TRUE(list.empty());
    list.push_back(3);
    EXPECT_THAT(Elements(list), ElementsAre(3));
}

} // namespace
