#include "protocol/PlainWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>

using zelto::TPlainWriter;

namespace {

std::string Written(const std::string& text) {
    TPlainWriter writer;
    writer.Text("K", text, "text");
    return writer.Take();
}

TEST(PlainWriter, WritesAnEmptyObject) {
    TPlainWriter writer;
    EXPECT_TRUE(writer.IsEmpty());
    EXPECT_EQ(writer.Take(), "{}");
}

TEST(PlainWriter, WritesKeysInOrder) {
    TPlainWriter writer;
    writer.Text("B", "x", "text");
    writer.Flag("A", true);
    writer.Flag("C", false);
    writer.Null("D");
    writer.Integer("E", INT_MIN);
    EXPECT_FALSE(writer.IsEmpty());
    EXPECT_EQ(writer.Take(), R"({"B": "x", "A": true, "C": false, "D": null, "E": -2147483648})");
}

TEST(PlainWriter, TellsHowMuchIsWritten) {
    TPlainWriter writer;
    writer.Reserve(1000);
    EXPECT_EQ(writer.Size(), 1U);
    writer.Text("K", "\x01", "text");
    EXPECT_EQ(writer.Size(), std::string(R"({"K": "\u0001")").size());
}

TEST(PlainWriter, WritesLists) {
    TPlainWriter writer;
    writer.BeginList("EMPTY");
    writer.EndList();
    writer.BeginList("OBJECTS");
    writer.BeginObject();
    writer.EndObject();
    writer.BeginObject();
    writer.Integer("A", 1);
    writer.BeginList("INNER");
    writer.Element(2);
    writer.Element(3);
    writer.EndList();
    writer.EndObject();
    writer.EndList();
    writer.Flag("LAST", true);
    EXPECT_EQ(writer.Take(), R"({"EMPTY": [], "OBJECTS": [{}, {"A": 1, "INNER": [2, 3]}], "LAST": true})");
}

TEST(PlainWriter, EscapesWhatMustBeEscapedAndNothingElse) {
    EXPECT_EQ(Written("a\"b\\c/d\b\f\n\r\t\x01\x1F\x7F"), R"({"K": "a\"b\\c/d\b\f\n\r\t\u0001\u001F)"
                                                          "\x7F\"}");
    EXPECT_EQ(Written("\xC3\xA4"), "{\"K\": \"\xC3\xA4\"}");
}

TEST(PlainWriter, EndsATextAtItsFirstNul) {
    EXPECT_EQ(Written(std::string("ab\0\xFF", 4)), R"({"K": "ab"})");
}

TEST(PlainWriter, RaisesNamingATextThatIsNotUtf8) {
    TPlainWriter writer;
    try {
        writer.Text("K", "abc\xC3", "Device.A");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Device.A: the text is not valid UTF-8");
    }
}

TEST(PlainWriter, RaisesShowingANameUpToWhereItIsNotUtf8) {
    TPlainWriter writer;
    try {
        writer.Name("K", "abc\xC3", "path");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "path beginning with 'abc': the text is not valid UTF-8");
    }
}

TEST(PlainWriter, WritesNullForATextThatIsNotUtf8WhereThatIsAllowed) {
    TPlainWriter writer;
    EXPECT_FALSE(writer.TextOrNull("A", "a\n\xC3"));
    EXPECT_TRUE(writer.TextOrNull("B", "b"));
    EXPECT_EQ(writer.Take(), R"({"A": null, "B": "b"})");
}

} // namespace
