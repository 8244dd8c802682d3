#include "protocol/ParamEntries.h"

#include "protocol/RequestNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <new>
#include <stdexcept>

using zelto::TJsonHandle;

namespace {

const char* const VALUES =
    R"({"text": "a", "number": 7, "real": 1.5, "yes": true, "no": false, "null": null, "object": {}, "array": [1]})";

TJsonHandle Parsed(const char* text) {
    return TJsonHandle(json_loads(text, JSON_DECODE_ANY, nullptr));
}

std::string Text(const TJsonHandle& value) {
    char* const text = json_dumps(value.get(), JSON_ENCODE_ANY);
    const std::string copy = text != nullptr ? text : "";
    free(text);
    return copy;
}

// Runs `body` and gives the message of the runtime error that it throws.
template <typename TBody>
std::string ErrorOf(TBody&& body) {
    try {
        body();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

} // namespace

// Texts that cannot be documents are not given to jansson; those that can be must be told from them as it
// does.
TEST(ParseDocument, TakesForADocumentWhatJanssonDoes) {
    for (const char* const text :
         {"", " ", "x", "null", "7", "\"text\"", "}", "\f{}", "\v[]", "\xEF\xBB\xBF{}", "//{}", "{", "{}",
          "[]", " {}", "\t\r\n [1]", "{}x", "[] "}) {
        const TJsonHandle known(json_loads(text, 0, nullptr));
        EXPECT_EQ(zelto::ParseDocument(text) != nullptr, known != nullptr) << "'" << text << "'";
    }
}

TEST(TextOf, ReadsAString) {
    EXPECT_EQ(zelto::TextOf(Parsed(VALUES).get(), "text"), "a");
}

TEST(TextOf, IsEmptyForOtherKindsAndNoObject) {
    const TJsonHandle object = Parsed(VALUES);
    for (const char* key : {"number", "real", "yes", "null", "object", "array", "missing"}) {
        EXPECT_EQ(zelto::TextOf(object.get(), key), "") << key;
    }
    EXPECT_EQ(zelto::TextOf(nullptr, "text"), "");
    EXPECT_EQ(zelto::TextOf(Parsed("[\"text\"]").get(), "text"), "");
}

TEST(FlagOf, IsTrueForTrueOnly) {
    const TJsonHandle object = Parsed(VALUES);
    EXPECT_TRUE(zelto::FlagOf(object.get(), "yes"));
    for (const char* key : {"no", "text", "number", "real", "null", "object", "array", "missing"}) {
        EXPECT_FALSE(zelto::FlagOf(object.get(), key)) << key;
    }
    EXPECT_FALSE(zelto::FlagOf(nullptr, "yes"));
}

TEST(IntegerOf, ReadsAnInteger) {
    EXPECT_EQ(zelto::IntegerOf(Parsed(VALUES).get(), "number"), 7);
    EXPECT_EQ(zelto::IntegerOf(Parsed("{\"low\": -2147483648}").get(), "low"), INT_MIN);
}

TEST(IntegerOf, IsZeroForOtherKindsAndNoObject) {
    const TJsonHandle object = Parsed(VALUES);
    for (const char* key : {"text", "real", "yes", "null", "object", "array", "missing"}) {
        EXPECT_EQ(zelto::IntegerOf(object.get(), key), 0) << key;
    }
    EXPECT_EQ(zelto::IntegerOf(nullptr, "number"), 0);
}

TEST(MakeParamEntry, HoldsTheNameAndThenTheValue) {
    EXPECT_EQ(Text(zelto::MakeParamEntry("Device.X.A", "caf\xC3\xA9")),
              "{\"NAME\": \"Device.X.A\", \"VALUE\": \"caf\xC3\xA9\"}");
    EXPECT_EQ(Text(zelto::MakeParamEntry("", "")), R"({"NAME": "", "VALUE": ""})");
}

TEST(MakeParamEntry, EndsEachTextAtANul) {
    EXPECT_EQ(Text(zelto::MakeParamEntry(std::string("a\0\xFF", 3), std::string("b\0\xFF", 3))),
              R"({"NAME": "a", "VALUE": "b"})");
}

TEST(MakeParamEntry, NamesTheParameterForEveryFormOfAValueThatIsNotUtf8) {
    for (const char* bad : {"\xff", "a\xc3", "\xed\xa0\x80", "\xc0\x80", "\xf5\x80\x80\x80", "\x80"}) {
        EXPECT_EQ(ErrorOf([&] { zelto::MakeParamEntry("Device.A", bad); }),
                  "Device.A: the text is not valid UTF-8");
    }
}

TEST(MakeParamEntry, ShowsANameUpToWhereItIsNotUtf8) {
    EXPECT_EQ(ErrorOf([] { zelto::MakeParamEntry("Device.\"\xC3\xA9\"\xff.A", "\xff"); }),
              "parameter name beginning with 'Device.\"\xC3\xA9\"': the text is not valid UTF-8");
}

class NoMemoryForTexts : public testing::Test {
protected:
    NoMemoryForTexts() {
        json_get_alloc_funcs(&allocate, &release);
        json_set_alloc_funcs(Allocate, release);
    }
    ~NoMemoryForTexts() override { json_set_alloc_funcs(allocate, release); }

private:
    static constexpr std::size_t LONG = 5000;
    static void* Allocate(std::size_t size) { return size > LONG ? nullptr : std::malloc(size); }

    json_malloc_t allocate = nullptr;
    json_free_t release = nullptr;
};

TEST_F(NoMemoryForTexts, IsNotTakenForATextThatIsNotUtf8) {
    const std::string text(10000, 'a');
    EXPECT_THROW(zelto::MakeParamEntry(text, "1"), std::bad_alloc);
    EXPECT_THROW(zelto::MakeParamEntry("Device.A", text), std::bad_alloc);
    EXPECT_THROW(zelto::MakeParamEntry("Device.A", text + "\xff"), std::runtime_error);
}

TEST(ElementCount, CountsAnArrayOnly) {
    EXPECT_EQ(zelto::ElementCount(Parsed("[1, 2]").get()), 2U);
    EXPECT_EQ(zelto::ElementCount(Parsed("[]").get()), 0U);
    EXPECT_EQ(zelto::ElementCount(Parsed("{\"a\": 1}").get()), 0U);
    EXPECT_EQ(zelto::ElementCount(Parsed("null").get()), 0U);
    EXPECT_EQ(zelto::ElementCount(nullptr), 0U);
}

TEST(ElementAt, BorrowsAnElement) {
    const TJsonHandle array = Parsed("[1, 2]");
    EXPECT_EQ(json_integer_value(zelto::ElementAt(array.get(), 1)), 2);
    EXPECT_EQ(zelto::ElementAt(array.get(), 1)->refcount, 1U);
}

TEST(ElementAt, IsNullPastTheEndAndForOtherKinds) {
    EXPECT_EQ(zelto::ElementAt(Parsed("[1]").get(), 1), nullptr);
    EXPECT_EQ(zelto::ElementAt(Parsed("{}").get(), 0), nullptr);
    EXPECT_EQ(zelto::ElementAt(nullptr, 0), nullptr);
}

TEST(ValueOf, BorrowsAValueOfAnyKind) {
    TZeltoJsonObject body;
    ASSERT_TRUE(body.DecodeFromString(VALUES));
    EXPECT_STREQ(json_string_value(zelto::ValueOf(body, "text")), "a");
    EXPECT_TRUE(json_is_array(zelto::ValueOf(body, "array")));
    EXPECT_EQ(zelto::ValueOf(body, "array")->refcount, 1U);
}

TEST(ValueOf, IsNullWhenMissing) {
    EXPECT_EQ(zelto::ValueOf(TZeltoJsonObject(), "text"), nullptr);
}

TEST(IntegerOf, CutsTo32Bits) {
    EXPECT_EQ(zelto::IntegerOf(Parsed(R"({"large": 4294967299})").get(), "large"), 3);
}

TEST(IntegerValue, IsZeroForOtherKindsAndNull) {
    EXPECT_EQ(zelto::IntegerValue(Parsed("7").get()), 7);
    EXPECT_EQ(zelto::IntegerValue(Parsed("\"7\"").get()), 0);
    EXPECT_EQ(zelto::IntegerValue(nullptr), 0);
}

TEST(AppendEntry, CreatesTheArrayForTheFirstEntry) {
    TJsonHandle array;
    zelto::AppendEntry(array, Parsed("1"));
    zelto::AppendEntry(array, Parsed("2"));
    EXPECT_EQ(Text(array), "[1, 2]");
}

TEST(ParseDocument, IsNullForWhatIsNoJson) {
    for (const char* text : {"", "{", "\"text\"", "{\"a\"}", "{\"a\" \"b\"}", "[\"a\" \"b\"]", "[\"a]",
                             "[\"\\x\"]", "[\"\xff\"]", "[\"\\u0000\"]", "{\"\\ud800\": 1}", "[invalid\"]",
                             "{} \"a\"", "{1: \"a\"}", "[identifierThatIsLongEnough]"}) {
        EXPECT_EQ(zelto::ParseDocument(text), nullptr) << text;
    }
}

TEST(RequestNames, AreTheTwelveMethodsInOrder) {
    using testing::StrEq;
    EXPECT_THAT(zelto::METHOD_NAMES,
                testing::ElementsAre(StrEq("GET_PARAM"), StrEq("SET_PARAM"), StrEq("GET_LONG_PARAM"),
                                     StrEq("SET_LONG_PARAM"), StrEq("GET_PARAM_ARRAY"),
                                     StrEq("SET_PARAM_ARRAY"), StrEq("GET_OBJECT"), StrEq("SET_OBJECT"),
                                     StrEq("ADD_OBJECT_INSTANCE"), StrEq("DELETE_OBJECT_INSTANCE"),
                                     StrEq("GET_OBJECT_INSTANCES"), StrEq("GET_INDEX_MAP")));
}
