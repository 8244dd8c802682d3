#include "protocol/MessageBody.h"

#include <gtest/gtest.h>

#include <string>

using zelto::TMessageBody;

namespace {

// What is missing shows as "-", so that it differs from an empty text.
std::string Shown(std::string_view text) {
    return text.data() == nullptr ? "-" : "'" + std::string(text) + "'";
}

bool IsPlain(const std::string& text) {
    zelto::TBodyFields fields;
    return zelto::ReadPlain(text, fields);
}

TEST(MessageBody, ReadsTheKeysInAnyOrder) {
    const std::string text = R"({"COMMIT": true, "VALUE": "v", "ROOT": "", "NAME": "n"})";
    const TMessageBody body(text);
    EXPECT_TRUE(IsPlain(text));
    EXPECT_EQ(Shown(body.Text(zelto::BODY_NAME)), "'n'");
    EXPECT_EQ(Shown(body.Text(zelto::BODY_VALUE)), "'v'");
    EXPECT_EQ(Shown(body.Text(zelto::BODY_ROOT)), "''");
    EXPECT_EQ(Shown(body.Text(zelto::BODY_OBJ)), "-");
    EXPECT_TRUE(body.Commit());
    EXPECT_TRUE(body.Params().empty());
}

TEST(MessageBody, ReadsTheTextsOfEvents) {
    const TMessageBody client(R"({"MAC_ADDRESS": "m", "HOST_NAME": "h"})");
    EXPECT_EQ(client.Text(zelto::BODY_MAC_ADDRESS), "m");
    EXPECT_EQ(client.Text(zelto::BODY_HOST_NAME), "h");
    const TMessageBody change(R"({"DATA_MODEL_NAME": "n", "DATA_MODEL_VALUE": "v"})");
    EXPECT_EQ(change.Text(zelto::BODY_DATA_MODEL_NAME), "n");
    EXPECT_EQ(change.Text(zelto::BODY_DATA_MODEL_VALUE), "v");
}

TEST(MessageBody, ReadsTheListAlone) {
    const std::string text =
        R"({"PARAMS": [{"NAME": "a"}, {"VALUE": "v", "NAME": "b"}, {"NAME": "c", "COMMIT": true}, {}]})";
    const TMessageBody body(text);
    EXPECT_TRUE(IsPlain(text));
    ASSERT_EQ(body.Params().size(), 4U);
    EXPECT_EQ(body.Params()[0].name, "a");
    EXPECT_EQ(body.Params()[1].value, "v");
    EXPECT_TRUE(body.Params()[2].commit);
    EXPECT_FALSE(body.Params()[3].commit);
    EXPECT_EQ(body.Params()[3].name, "");
}

TEST(MessageBody, TakesAnEmptyAndANullListForNone) {
    for (const char* text : {R"({"PARAMS": []})", R"({"PARAMS": null})", " {\n} "}) {
        EXPECT_TRUE(IsPlain(text)) << text;
        EXPECT_TRUE(TMessageBody(text).Params().empty()) << text;
    }
}

TEST(MessageBody, LeavesToJanssonWhatIsNotPlain) {
    for (const char* text : {R"({"NAME": "\u0061"})", R"({"NAME": "x", "NAME": "a"})",
                             R"({"OTHER": {}, "NAME": "a"})", R"({"NAME": "a", "VALUE": 1})",
                             R"({"NAME": "a", "PARAMS": {}})", R"({"NAME": "a", "COMMIT": 1})"}) {
        EXPECT_FALSE(IsPlain(text)) << text;
        EXPECT_EQ(Shown(TMessageBody(text).Text(zelto::BODY_NAME)), "'a'") << text;
    }
}

TEST(MessageBody, HasNoKeysWhenTheTextCannotBeDecoded) {
    for (const char* text :
         {"", "{", "[]", "null", R"({"NAME": "a"} x)", R"({"NAME": "a",})", "{\"NAME\": \"\xC3\"}",
          R"({"NAME": "\u0000"})", "{\"NAME\": \"a\nb\"}", R"({"NAME" "a"})"}) {
        EXPECT_FALSE(IsPlain(text)) << text;
        EXPECT_EQ(Shown(TMessageBody(text).Text(zelto::BODY_NAME)), "-") << text;
    }
}

TEST(MessageBody, SaysWhetherTheTextCouldBeDecoded) {
    for (const char* text : {"{}", R"({"NAME": "a"})", R"({"NAME": 5})", R"({"NAME": "\u0061"})", "[]"}) {
        EXPECT_TRUE(TMessageBody(text).IsDecoded()) << text;
    }
    for (const char* text : {"", " ", "a", "{", "5", "null", R"({"NAME": "a"} x)", "{\"NAME\": \"\xC3\"}"}) {
        EXPECT_FALSE(TMessageBody(text).IsDecoded()) << text;
    }
}

TEST(MessageBody, ReadsOtherKindsInsideTheListAsEmpty) {
    const TMessageBody body(R"({"PARAMS": [5, null, [], {"NAME": 1, "VALUE": "v", "COMMIT": "true"}]})");
    ASSERT_EQ(body.Params().size(), 4U);
    EXPECT_EQ(Shown(body.Params()[0].name), "-");
    EXPECT_EQ(body.Params()[3].value, "v");
    EXPECT_FALSE(body.Params()[3].commit);
}

} // namespace
