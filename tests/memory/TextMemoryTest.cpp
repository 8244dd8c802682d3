// Texts that are made, taken apart and encoded while memory runs out.

#include "WithoutMemory.h"

#include "zelto/TZeltoJsonObject.h"
#include "zelto/ZeltoGenericUtils.h"

using memory::TOutcome;
using memory::TWithoutMemory;

namespace {

// Longer than what a string, or the first buffer of an encoder, holds.
std::string Long(char letter) {
    return std::string(500, letter);
}

// Without one of its keys a document would be another one.
TEST(EncodeToString, GivesTheWholeTextOrNoneWithoutMemory) {
    memory::Install();
    const std::string text = R"({")" + Long('a') + R"(": 1, ")" + Long('b') + R"(": {")" + Long('c') +
                             R"(": ")" + Long('d') + R"("}})";
    TZeltoJsonObject json;
    ASSERT_TRUE(json.DecodeFromString(text));
    const auto encode = [&json] {
        const std::string encoded = json.EncodeToString();
        return encoded.empty() ? TOutcome("none") : "0 " + encoded;
    };
    TWithoutMemory(encode, "0 " + text).Examine();
}

TEST(JsonObject, HasNoDocumentWithoutMemory) {
    memory::Install();
    const TZeltoJsonObject source;
    memory::FailAt(1, memory::FROM_THEN_ON);
    const TZeltoJsonObject json;
    const TZeltoJsonObject copy(source);
    ASSERT_TRUE(memory::Stop());
    EXPECT_EQ("", json.EncodeToString());
    EXPECT_EQ("", copy.EncodeToString());
    EXPECT_EQ("{}", source.EncodeToString());
}

TEST(Split, GivesAllItemsOrThrowsWithoutMemory) {
    const std::string text = Long('a') + ",," + Long('b') + "," + Long('c');
    const auto splitAndJoin = [&text] {
        TOutcome joined = "0 ";
        for (const std::string& item : ZeltoGenericUtils::Split(text, ',')) {
            joined += item + ";";
        }
        return joined;
    };
    TWithoutMemory(splitAndJoin, "0 " + Long('a') + ";;" + Long('b') + ";" + Long('c') + ";").Examine();
}

} // namespace
