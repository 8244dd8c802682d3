// Where a request ends.

#include "tools/zelto-remoted/RequestReader.h"

#include <gtest/gtest.h>

#include <string>

using remoted::TRequestReader;

namespace {

const std::string REQUEST = R"( {"NAME": "a}\"{]\\", "LIST": [{}, [1, "]"]], "REQUEST_TYPE": "GET_PARAM"})";

TRequestReader::TState FeedAll(TRequestReader& reader, const std::string& text) {
    return reader.Feed(text.data(), text.size());
}

std::string OfSize(std::size_t size) {
    const std::string frame = R"({"NAME": ""})";
    return frame.substr(0, 10) + std::string(size - frame.size(), 'n') + frame.substr(10);
}

} // namespace

TEST(RequestReader, IsIncompleteBeforeTheFirstByte) {
    TRequestReader reader;
    EXPECT_EQ(reader.State(), TRequestReader::INCOMPLETE);
    EXPECT_TRUE(reader.IsEmpty());
}

TEST(RequestReader, FindsTheEndWhereverTheTextIsSplit) {
    for (std::size_t split = 1; split < REQUEST.size(); ++split) {
        TRequestReader reader;
        EXPECT_EQ(FeedAll(reader, REQUEST.substr(0, split)), TRequestReader::INCOMPLETE) << split;
        EXPECT_EQ(FeedAll(reader, REQUEST.substr(split)), TRequestReader::COMPLETE) << split;
        EXPECT_EQ(reader.Text(), REQUEST) << split;
    }
}

TEST(RequestReader, FindsTheEndInSingleBytes) {
    TRequestReader reader;
    for (std::size_t index = 0; index + 1 < REQUEST.size(); ++index) {
        ASSERT_EQ(FeedAll(reader, REQUEST.substr(index, 1)), TRequestReader::INCOMPLETE) << index;
    }
    EXPECT_EQ(FeedAll(reader, REQUEST.substr(REQUEST.size() - 1)), TRequestReader::COMPLETE);
    EXPECT_EQ(reader.Text(), REQUEST);
}

TEST(RequestReader, DropsWhatFollowsTheEnd) {
    TRequestReader reader;
    EXPECT_EQ(FeedAll(reader, REQUEST + REQUEST), TRequestReader::COMPLETE);
    EXPECT_EQ(FeedAll(reader, "\x01"), TRequestReader::COMPLETE);
    EXPECT_EQ(reader.Text(), REQUEST);
}

TEST(RequestReader, RefusesAtOnceWhatCannotBecomeAnObject) {
    for (const std::string& text :
         {std::string("x"), std::string("[]"), std::string("\"a\""), std::string(" 1"), std::string("}"),
          std::string("{\0", 2), std::string("{\"a\nb\""), std::string("\xEF\xBB\xBF{}"),
          std::string("\x80")}) {
        TRequestReader reader;
        EXPECT_EQ(FeedAll(reader, text), TRequestReader::MALFORMED) << text;
        EXPECT_EQ(FeedAll(reader, "{}"), TRequestReader::MALFORMED) << text;
    }
}

TEST(RequestReader, LeavesTheInsideToTheDecoder) {
    for (const char* text : {"{]", "{nonsense}", "{\"a\" 1}", "{[}}"}) {
        TRequestReader reader;
        EXPECT_EQ(FeedAll(reader, text), TRequestReader::COMPLETE) << text;
    }
}

TEST(RequestReader, TakesATextOfTheLargestSize) {
    TRequestReader reader;
    EXPECT_EQ(FeedAll(reader, OfSize(remoted::MAX_REQUEST_SIZE)), TRequestReader::COMPLETE);
    EXPECT_EQ(reader.Text().size(), remoted::MAX_REQUEST_SIZE);
}

TEST(RequestReader, RefusesALongerText) {
    TRequestReader reader;
    EXPECT_EQ(FeedAll(reader, OfSize(remoted::MAX_REQUEST_SIZE + 1)), TRequestReader::TOO_LONG);
    EXPECT_LE(reader.Text().size(), remoted::MAX_REQUEST_SIZE);
}

TEST(RequestReader, CountsBlanksBeforeTheText) {
    TRequestReader reader(10);
    EXPECT_EQ(FeedAll(reader, std::string(10, ' ')), TRequestReader::INCOMPLETE);
    EXPECT_EQ(FeedAll(reader, "{"), TRequestReader::TOO_LONG);
}
