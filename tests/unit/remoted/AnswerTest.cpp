// The bytes of an answer.

#include "tools/zelto-remoted/Answer.h"

#include "tools/zelto-remoted/Slots.h"

#include <gtest/gtest.h>

#include <string>

using remoted::AnswerWith;
using remoted::TAnswer;
using remoted::TSlots;

namespace {

// {"STATUS": "OK", "PARAMS": [{"NAME": "N", "VALUE": "..."}]} of that many bytes.
TAnswer ParamsOfSize(std::size_t size) {
    const std::size_t others =
        std::string(R"({"STATUS": "OK", "PARAMS": [{"NAME": "N", "VALUE": ""}]})").size();
    return AnswerWith({TZeltoApplication::TZeltoAppParam{"N", std::string(size - others, 'v')}});
}

} // namespace

TEST(Frame, HasBothLengthsLeastByteFirst) {
    EXPECT_EQ(remoted::Frame("{}", std::string(0x10203, 'b')).substr(0, 11),
              std::string("\x02\0\0\0\x03\x02\x01\0{}b", 11));
}

TEST(Answer, IsJustTheStatusWhenRefused) {
    const TAnswer answer = remoted::Refuse("no");
    EXPECT_EQ(answer.status, "no");
    EXPECT_EQ(answer.frame, std::string("\x10\0\0\0\0\0\0\0", 8) + R"({"STATUS": "no"})");
}

TEST(Answer, HoldsTheParametersInOrder) {
    const TAnswer answer = AnswerWith({{"A", "1"}, {"B", "2"}});
    EXPECT_EQ(answer.frame.substr(8),
              R"({"STATUS": "OK", "PARAMS": [{"NAME": "A", "VALUE": "1"}, {"NAME": "B", "VALUE": "2"}]})");
}

TEST(Answer, MayBeAsLongAsAPeerReads) {
    const TAnswer answer = ParamsOfSize(4096);
    EXPECT_EQ(answer.status, "OK");
    EXPECT_EQ(answer.frame.size(), 8U + 4096U);
}

TEST(Answer, IsARefusalWhenItWouldBeLonger) {
    const TAnswer answer = ParamsOfSize(4097);
    EXPECT_EQ(answer.status, "the answer is longer than 4096 bytes");
    EXPECT_EQ(answer.frame.substr(8), R"({"STATUS": "the answer is longer than 4096 bytes"})");
}

TEST(Answer, CarriesAFileAsItIs) {
    const std::string content("a\0\xff\n", 4);
    EXPECT_EQ(AnswerWith(content).frame,
              std::string("\x10\0\0\0\x04\0\0\0", 8) + R"({"STATUS": "OK"})" + content);
}

TEST(Slots, AreFreeAgainWhenTheirOwnersAreGone) {
    TSlots slots(2);
    auto first = slots.Take();
    auto second = slots.Take();
    EXPECT_TRUE(first && second);
    EXPECT_FALSE(slots.Take());
    auto copy = first;
    first.reset();
    EXPECT_FALSE(slots.Take());
    copy.reset();
    EXPECT_TRUE(slots.Take());
}
