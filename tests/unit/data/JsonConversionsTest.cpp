// Native values out of JSON and back.

#include "ParsedJson.h"

#include "data/JsonHandle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <initializer_list>

namespace {

constexpr unsigned int WHOLE_PROPERTY = ~0U;

const char* const VALUES =
    R"({"object": {"a": 1}, "array": [1], "text": "1", "one": 1, "zero": 0, "real": 2.5, "yes": true, "no": false,
        "null": null, "big": 78187493530, "negative": -2, "word": 65537, "widest": 9223372036854775807})";

template <typename T>
T Read(const char* name, const T& defaultValue) {
    const TZeltoJsonObject json = Parsed(VALUES);
    return json.GetJsonValue<T>(json.GetJsonObject(name, WHOLE_PROPERTY), defaultValue);
}

// Every kind but the named ones, and a missing value, gives the default.
template <typename T>
void ExpectDefaultBut(std::initializer_list<std::string> accepted, const T& defaultValue) {
    for (const std::string name :
         {"object", "array", "text", "one", "real", "yes", "no", "null", "missing"}) {
        if (std::find(accepted.begin(), accepted.end(), name) == accepted.end()) {
            EXPECT_EQ(Read<T>(name.c_str(), defaultValue), defaultValue) << name;
        }
    }
}

std::string Text(zelto::TJsonHandle value) {
    TZeltoJsonObject json;
    json.SetJsonObject("v", value.release());
    return json.EncodeToString();
}

template <typename T>
std::string Written(const T& value) {
    return Text(zelto::TJsonHandle(TZeltoJsonObject().ToJson<T>(value)));
}

} // namespace

TEST(GetJsonValueObject, CopiesAnObject) {
    const TZeltoJsonObject json = Parsed(VALUES);
    const TZeltoJsonObject other;
    TZeltoJsonObject value = json.GetJsonValue<TZeltoJsonObject>(json.GetJsonObject("object", 0), other);
    EXPECT_EQ(value.EncodeToString(), R"({"a": 1})");
    value.Clear();
    EXPECT_EQ(json.GetObject("object").EncodeToString(), R"({"a": 1})");
}

class GetJsonValueObjectDefault : public testing::TestWithParam<const char*> {};

TEST_P(GetJsonValueObjectDefault, IsCopied) {
    const TZeltoJsonObject defaultValue = Parsed(R"({"d": 1})");
    TZeltoJsonObject value = Read<TZeltoJsonObject>(GetParam(), defaultValue);
    EXPECT_EQ(value.EncodeToString(), R"({"d": 1})");
    value.Clear();
    EXPECT_EQ(defaultValue.EncodeToString(), R"({"d": 1})");
}

INSTANTIATE_TEST_SUITE_P(Kinds, GetJsonValueObjectDefault,
                         testing::Values("array", "text", "one", "real", "yes", "no", "null", "missing"));

TEST(GetJsonValueBool, ReadsTrueAndFalse) {
    EXPECT_TRUE(Read<bool>("yes", false));
    EXPECT_FALSE(Read<bool>("no", true));
}

TEST(GetJsonValueBool, GivesTheDefaultForOtherKinds) {
    ExpectDefaultBut<bool>({"yes", "no"}, true);
    ExpectDefaultBut<bool>({"yes", "no"}, false);
}

TEST(GetJsonValueText, BorrowsFromTheValue) {
    const TZeltoJsonObject json = Parsed(VALUES);
    json_t* const value = static_cast<json_t*>(json.GetJsonObject("text", 0));
    EXPECT_EQ(json.GetJsonValue<const char*>(value, "default"), json_string_value(value));
}

TEST(GetJsonValueText, GivesTheDefaultForOtherKinds) {
    const char* const defaultValue = "default";
    ExpectDefaultBut<const char*>({"text"}, defaultValue);
    ExpectDefaultBut<const char*>({"text"}, nullptr);
}

TEST(GetJsonValueString, CopiesTheText) {
    EXPECT_EQ(Read<std::string>("text", "default"), "1");
}

TEST(GetJsonValueString, GivesTheDefaultForOtherKinds) {
    ExpectDefaultBut<std::string>({"text"}, "default");
}

template <typename T>
class GetJsonValueInteger : public testing::Test {};

using TIntegerTypes = testing::Types<unsigned short, int, long, long long>;
TYPED_TEST_SUITE(GetJsonValueInteger, TIntegerTypes, ); // the last comma: clang wants a third argument

TYPED_TEST(GetJsonValueInteger, ReadsAnInteger) {
    EXPECT_EQ(Read<TypeParam>("one", 9), 1);
    EXPECT_EQ(Read<TypeParam>("zero", 9), 0);
}

TYPED_TEST(GetJsonValueInteger, GivesTheDefaultForOtherKinds) {
    ExpectDefaultBut<TypeParam>({"one"}, 9);
}

TEST(GetJsonValueIntegerWidth, IsCutToTheTypesOfThe32BitSystem) {
    // 78187493530 is 0x12'3456789A
    EXPECT_EQ(Read<unsigned short>("big", 0), 0x789A);
    EXPECT_EQ(Read<int>("big", 0), 0x3456789A);
    EXPECT_EQ(Read<long>("big", 0), 0x3456789A);
    EXPECT_EQ(Read<long long>("big", 0), 0x123456789A);
}

TEST(GetJsonValueIntegerWidth, KeepsTheSignOfTheLowBits) {
    EXPECT_EQ(Read<unsigned short>("negative", 0), 0xFFFE);
    EXPECT_EQ(Read<int>("negative", 0), -2);
    EXPECT_EQ(Read<long>("negative", 0), -2);
    EXPECT_EQ(Read<long long>("negative", 0), -2);
    EXPECT_EQ(Read<int>("widest", 0), -1);
    EXPECT_EQ(Read<long>("widest", 0), -1);
    EXPECT_EQ(Read<long long>("widest", 0), LLONG_MAX);
    EXPECT_EQ(Read<unsigned short>("word", 0), 1);
}

TEST(GetJsonValueDouble, ReadsRealsAndIntegers) {
    EXPECT_EQ(Read<double>("real", 0), 2.5);
    EXPECT_EQ(Read<double>("one", 0), 1.0);
    EXPECT_EQ(Read<double>("negative", 0), -2.0);
}

TEST(GetJsonValueDouble, GivesTheDefaultForOtherKinds) {
    ExpectDefaultBut<double>({"one", "real"}, 9.5);
}

TEST(GetJsonValueNull, GivesTheDefaultForANullPointer) {
    const TZeltoJsonObject json;
    EXPECT_EQ(json.GetJsonValue<int>(nullptr, 9), 9);
    EXPECT_EQ(json.GetJsonValue<std::string>(nullptr, "d"), "d");
}

TEST(ToJson, MakesAStringOfATextInEveryForm) {
    const TZeltoJsonObject json;
    char text[] = "text";
    const char* const constant = text;
    EXPECT_EQ(Text(zelto::TJsonHandle(json.ToJson("text"))), R"({"v": "text"})");
    EXPECT_EQ(Text(zelto::TJsonHandle(json.ToJson(constant))), R"({"v": "text"})");
    EXPECT_EQ(Text(zelto::TJsonHandle(json.ToJson(&text[0]))), R"({"v": "text"})");
    EXPECT_EQ(Written<const char*>(constant), R"({"v": "text"})");
    EXPECT_EQ(Written<std::string>("text"), R"({"v": "text"})");
    EXPECT_EQ(Written<std::string>(""), R"({"v": ""})");
}

TEST(ToJson, IsNullForANullText) {
    const TZeltoJsonObject json;
    EXPECT_EQ(json.ToJson(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_EQ(json.ToJson(static_cast<char*>(nullptr)), nullptr);
    EXPECT_EQ(json.ToJson<const char*>(nullptr), nullptr);
}

TEST(ToJson, IsNullForATextThatIsNotUtf8) {
    const TZeltoJsonObject json;
    EXPECT_EQ(json.ToJson("\xFF"), nullptr);
    EXPECT_EQ(json.ToJson<std::string>("caf\xE9"), nullptr);
}

TEST(ToJson, MakesANumberOfACharacter) {
    EXPECT_EQ(Written<char>('A'), R"({"v": 65})");
    EXPECT_EQ(Written<char>('\xFF'), R"({"v": -1})");
    EXPECT_EQ(Written<char>('\0'), R"({"v": 0})");
}

TEST(ToJson, ExtendsSignedNumbersWithTheirSign) {
    EXPECT_EQ(Written<int>(INT_MIN), R"({"v": -2147483648})");
    EXPECT_EQ(Written<int>(INT_MAX), R"({"v": 2147483647})");
    EXPECT_EQ(Written<long>(-1L), R"({"v": -1})");
    EXPECT_EQ(Written<long>(2147483647L), R"({"v": 2147483647})");
    EXPECT_EQ(Written<long long>(LLONG_MIN), R"({"v": -9223372036854775808})");
    EXPECT_EQ(Written<long long>(LLONG_MAX), R"({"v": 9223372036854775807})");
}

TEST(ToJson, ExtendsUnsignedNumbersWithZeros) {
    EXPECT_EQ(Written<unsigned short>(USHRT_MAX), R"({"v": 65535})");
    EXPECT_EQ(Written<unsigned int>(UINT_MAX), R"({"v": 4294967295})");
    EXPECT_EQ(Written<unsigned long>(4294967295UL), R"({"v": 4294967295})");
}

TEST(ToJson, MakesARealOfADouble) {
    EXPECT_EQ(Written<double>(2.5), R"({"v": 2.5})");
    EXPECT_EQ(Written<double>(1.0), R"({"v": 1.0})");
    EXPECT_EQ(TZeltoJsonObject().ToJson<double>(NAN), nullptr);
    EXPECT_EQ(TZeltoJsonObject().ToJson<double>(INFINITY), nullptr);
}

TEST(ToJson, MakesTheJsonConstantsOfABoolean) {
    EXPECT_EQ(TZeltoJsonObject().ToJson<bool>(true), json_true());
    EXPECT_EQ(TZeltoJsonObject().ToJson<bool>(false), json_false());
}

TEST(ToJson, CopiesAnObjectDeeply) {
    const TZeltoJsonObject source = Parsed(R"({"inner": {"a": 1}})");
    const zelto::TJsonHandle value(source.ToJson<TZeltoJsonObject>(source));
    json_object_clear(json_object_get(value.get(), "inner"));
    EXPECT_EQ(source.EncodeToString(), R"({"inner": {"a": 1}})");
}

TEST(ToJson, IsNullForAnObjectWithoutADocument) {
    EXPECT_EQ(TZeltoJsonObject().ToJson<TZeltoJsonObject>(WithoutDocument()), nullptr);
}

TEST(ToJson, GivesOneReferenceToTheCaller) {
    const zelto::TJsonHandle value(TZeltoJsonObject().ToJson<int>(1));
    EXPECT_EQ(value->refcount, 1U);
}
