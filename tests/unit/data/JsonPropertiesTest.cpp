// Properties of the root and the raw values behind them.

#include "ParsedJson.h"

#include <gtest/gtest.h>
#include <jansson.h>

#include <vector>

namespace {

constexpr unsigned int WHOLE_PROPERTY = ~0U;

const char* const ONE_OF_EACH =
    R"({"object": {}, "array": [], "string": "", "integer": 1, "real": 1.5, "yes": true, "no": false, "null": null})";

json_t* AsJson(void* value) {
    return static_cast<json_t*>(value);
}

// Roots that have no properties: no document, and documents that are no object.
std::vector<TZeltoJsonObject> RootsWithoutProperties() {
    return {WithoutDocument(), Parsed("[1]"), Parsed(R"({"a": "text"})").GetObject("a")};
}

} // namespace

TEST(GetObject, CopiesTheProperty) {
    const TZeltoJsonObject json = Parsed(R"({"inner": {"a": 1}})");
    TZeltoJsonObject inner = json.GetObject("inner");
    EXPECT_TRUE(inner.Clear());
    EXPECT_EQ(json.EncodeToString(), R"({"inner": {"a": 1}})");
}

TEST(GetObject, TakesAnyKind) {
    const TZeltoJsonObject json = Parsed(R"({"list": [1, 2], "text": "a"})");
    EXPECT_EQ(json.GetObject("list").EncodeToString(), "[1, 2]");
    TZeltoJsonObject holder;
    holder.SetJsonObject("copy", holder.ToJson(json.GetObject("text")));
    EXPECT_EQ(holder.EncodeToString(), R"({"copy": "a"})");
}

TEST(GetObject, HasNoDocumentForAMissingProperty) {
    TZeltoJsonObject missing = TZeltoJsonObject().GetObject("missing");
    EXPECT_EQ(missing.EncodeToString(), "");
    EXPECT_EQ(missing.SetJsonObject("a", json_true()), -1);
}

TEST(GetObjectRef, ChangesTheSourceWhenModified) {
    const TZeltoJsonObject json = Parsed(R"({"inner": {"a": 1}})");
    TZeltoJsonObject inner = json.GetObjectRef("inner");
    EXPECT_EQ(inner.SetJsonObject("b", json_true()), 0);
    EXPECT_EQ(json.EncodeToString(), R"({"inner": {"a": 1, "b": true}})");
}

TEST(GetObjectRef, SharesNothingOnceItIsAssigned) {
    const TZeltoJsonObject json = Parsed(R"({"inner": {"a": 1}})");
    TZeltoJsonObject inner;
    inner = json.GetObjectRef("inner");
    EXPECT_TRUE(inner.Clear());
    EXPECT_EQ(json.EncodeToString(), R"({"inner": {"a": 1}})");
}

TEST(GetObjectRef, SeesChangesOfTheSource) {
    TZeltoJsonObject json = Parsed(R"({"inner": {"a": 1}})");
    const TZeltoJsonObject inner = json.GetObjectRef("inner");
    EXPECT_TRUE(json.GetObjectRef("inner").RemoveProperty("a"));
    EXPECT_EQ(inner.EncodeToString(), "{}");
}

TEST(GetObjectRef, OutlivesTheSource) {
    TZeltoJsonObject json = Parsed(R"({"inner": {"a": 1}})");
    const TZeltoJsonObject inner = json.GetObjectRef("inner");
    json = TZeltoJsonObject();
    EXPECT_EQ(inner.EncodeToString(), R"({"a": 1})");
}

TEST(GetObjectRef, HasNoDocumentForAMissingProperty) {
    EXPECT_EQ(TZeltoJsonObject().GetObjectRef("missing").EncodeToString(), "");
}

TEST(IsEmpty, IsFalseForAnObjectWithAProperty) {
    EXPECT_FALSE(Parsed(R"({"a": null})").IsEmpty());
}

TEST(RootsWithoutProperties, ReadAsNoProperties) {
    for (TZeltoJsonObject& json : RootsWithoutProperties()) {
        EXPECT_TRUE(json.IsEmpty());
        EXPECT_FALSE(json.HasProperty("a"));
        EXPECT_EQ(json.GetPropertyType("a"), JSON_TYPE_INVALID);
        EXPECT_EQ(json.GetSequenceType("a"), JSON_TYPE_INVALID);
        EXPECT_TRUE(json.GetProperties().empty());
        EXPECT_EQ(json.GetJsonObject("a", 0), nullptr);
        EXPECT_EQ(json.GetJsonArraySize("a"), 0U);
        EXPECT_EQ(json.GetObject("a").EncodeToString(), "");
        EXPECT_EQ(json.GetObjectRef("a").EncodeToString(), "");
    }
}

TEST(RootsWithoutProperties, RefuseChanges) {
    for (TZeltoJsonObject& json : RootsWithoutProperties()) {
        EXPECT_FALSE(json.RemoveProperty("a"));
        EXPECT_FALSE(json.Clear());
        EXPECT_EQ(json.SetJsonObject("a", json_integer(1)), -1);
        EXPECT_EQ(json.SetJsonObject("a", nullptr), -1);
    }
}

TEST(HasProperty, FindsAPropertyThatIsNull) {
    const TZeltoJsonObject json = Parsed(R"({"a": null})");
    EXPECT_TRUE(json.HasProperty("a"));
    EXPECT_FALSE(json.HasProperty("A"));
    EXPECT_FALSE(json.HasProperty(""));
}

TEST(RemoveProperty, TellsWhetherItWasThere) {
    TZeltoJsonObject json = Parsed(R"({"a": 1, "b": 2})");
    EXPECT_TRUE(json.RemoveProperty("a"));
    EXPECT_FALSE(json.RemoveProperty("a"));
    EXPECT_EQ(json.EncodeToString(), R"({"b": 2})");
}

TEST(Clear, RemovesAllProperties) {
    TZeltoJsonObject json = Parsed(R"({"a": 1, "b": 2})");
    EXPECT_TRUE(json.Clear());
    EXPECT_EQ(json.EncodeToString(), "{}");
    EXPECT_TRUE(json.Clear());
}

struct TTypeCase {
    const char* name;
    int type;
};

class PropertyType : public testing::TestWithParam<TTypeCase> {};

TEST_P(PropertyType, IsTheNumberOfTheKind) {
    const TZeltoJsonObject json = Parsed(ONE_OF_EACH);
    EXPECT_EQ(json.GetPropertyType(GetParam().name), GetParam().type);
    EXPECT_EQ(json.GetJsonObjectType(json.GetJsonObject(GetParam().name, WHOLE_PROPERTY)), GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(Kinds, PropertyType,
                         testing::Values(TTypeCase{"object", 0}, TTypeCase{"array", 1},
                                         TTypeCase{"string", 2}, TTypeCase{"integer", 3},
                                         TTypeCase{"real", 4}, TTypeCase{"yes", 5}, TTypeCase{"no", 5},
                                         TTypeCase{"null", 6}, TTypeCase{"missing", 7}));

TEST(GetJsonObjectType, IsInvalidForANullPointer) {
    EXPECT_EQ(TZeltoJsonObject().GetJsonObjectType(nullptr), JSON_TYPE_INVALID);
}

struct TSequenceCase {
    const char* array;
    int type;
};

class SequenceType : public testing::TestWithParam<TSequenceCase> {};

TEST_P(SequenceType, IsTheOneKindOfAllElements) {
    const TZeltoJsonObject json = Parsed(std::string("{\"list\": ") + GetParam().array + "}");
    EXPECT_EQ(json.GetSequenceType("list"), GetParam().type) << GetParam().array;
}

INSTANTIATE_TEST_SUITE_P(Arrays, SequenceType,
                         testing::Values(TSequenceCase{"[]", 6}, TSequenceCase{"[{}, {}]", 0},
                                         TSequenceCase{"[[], [1]]", 1}, TSequenceCase{"[\"a\", \"b\"]", 2},
                                         TSequenceCase{"[1]", 3}, TSequenceCase{"[1.5, 2.5]", 4},
                                         TSequenceCase{"[true, false]", 5}, TSequenceCase{"[null, null]", 6},
                                         TSequenceCase{"[1, 2.5]", 7}, TSequenceCase{"[1, 2, \"3\"]", 7},
                                         TSequenceCase{"[null, 1]", 7}, TSequenceCase{"{}", 7},
                                         TSequenceCase{"1", 7}, TSequenceCase{"\"text\"", 7}));

TEST(GetSequenceType, IsInvalidForAMissingProperty) {
    EXPECT_EQ(TZeltoJsonObject().GetSequenceType("list"), JSON_TYPE_INVALID);
}

TEST(GetProperties, NamesAllInOrder) {
    EXPECT_EQ(Parsed(R"({"z": 1, "a": 2, "m": 3})").GetProperties(),
              (std::vector<std::string>{"z", "a", "m"}));
}

TEST(GetProperties, IsEmptyForAnEmptyObject) {
    EXPECT_TRUE(TZeltoJsonObject().GetProperties().empty());
}

TEST(GetJsonObject, GivesTheElementAtTheIndex) {
    const TZeltoJsonObject json = Parsed(R"({"list": [10, 11, 12]})");
    for (unsigned int index = 0; index < 3; ++index) {
        EXPECT_EQ(json_integer_value(AsJson(json.GetJsonObject("list", index))), 10 + index);
    }
}

TEST(GetJsonObject, GivesTheArrayItselfPastItsEnd) {
    const TZeltoJsonObject json = Parsed(R"({"list": [1, 2, 3]})");
    for (const unsigned int index : {3U, 5U, WHOLE_PROPERTY}) {
        void* const value = json.GetJsonObject("list", index);
        ASSERT_TRUE(json_is_array(AsJson(value))) << index;
        EXPECT_EQ(json_array_size(AsJson(value)), 3U);
    }
}

TEST(GetJsonObject, GivesAPropertyOfAnotherKindWhateverTheIndex) {
    const TZeltoJsonObject json = Parsed(R"({"text": "a"})");
    for (const unsigned int index : {0U, 5U, WHOLE_PROPERTY}) {
        EXPECT_STREQ(json_string_value(AsJson(json.GetJsonObject("text", index))), "a");
    }
}

TEST(GetJsonObject, IsNullForAMissingProperty) {
    EXPECT_EQ(TZeltoJsonObject().GetJsonObject("missing", 0), nullptr);
    EXPECT_EQ(TZeltoJsonObject().GetJsonObject("missing", WHOLE_PROPERTY), nullptr);
}

TEST(GetJsonObject, LeavesTheReferenceWithTheObject) {
    const TZeltoJsonObject json = Parsed(R"({"list": [1]})");
    const json_t* const list = AsJson(json.GetJsonObject("list", WHOLE_PROPERTY));
    EXPECT_EQ(list->refcount, 1U);
}

TEST(SetJsonObject, TakesOverTheReference) {
    TZeltoJsonObject json;
    json_t* const value = json_integer(7);
    EXPECT_EQ(json.SetJsonObject("a", value), 0);
    EXPECT_EQ(value->refcount, 1U);
    EXPECT_EQ(json.EncodeToString(), R"({"a": 7})");
}

TEST(SetJsonObject, ReplacesAPropertyInItsPlace) {
    TZeltoJsonObject json = Parsed(R"({"a": 1, "b": 2})");
    EXPECT_EQ(json.SetJsonObject("a", json_string("new")), 0);
    EXPECT_EQ(json.EncodeToString(), R"({"a": "new", "b": 2})");
}

TEST(SetJsonObject, StoresNullForANullPointer) {
    TZeltoJsonObject json;
    EXPECT_EQ(json.SetJsonObject("a", nullptr), 0);
    EXPECT_EQ(json.EncodeToString(), R"({"a": null})");
}

TEST(SetJsonObject, ReleasesTheValueWhenTheNameIsNotUtf8) {
    TZeltoJsonObject json;
    json_t* const value = json_integer(7);
    json_incref(value);
    EXPECT_EQ(json.SetJsonObject("\xFF", value), -1);
    EXPECT_EQ(value->refcount, 1U);
    json_decref(value);
    EXPECT_TRUE(json.IsEmpty());
}

TEST(GetJsonArraySize, CountsElements) {
    const TZeltoJsonObject json =
        Parsed(R"({"list": [1, [2, 3]], "none": [], "object": {"a": 1}, "text": "ab"})");
    EXPECT_EQ(json.GetJsonArraySize("list"), 2U);
    EXPECT_EQ(json.GetJsonArraySize("none"), 0U);
    EXPECT_EQ(json.GetJsonArraySize("object"), 0U);
    EXPECT_EQ(json.GetJsonArraySize("text"), 0U);
    EXPECT_EQ(json.GetJsonArraySize("missing"), 0U);
}

TEST(AppendJsonArray, MakesTheArrayFirst) {
    TZeltoJsonObject json;
    void* array = nullptr;
    EXPECT_EQ(json.AppendJsonArray(&array, json_integer(1)), 0);
    EXPECT_EQ(json.AppendJsonArray(&array, json_integer(2)), 0);
    EXPECT_EQ(json.EncodeToString(), "{}"); // the root has no part in it
    EXPECT_EQ(json.SetJsonObject("list", array), 0);
    EXPECT_EQ(json.EncodeToString(), R"({"list": [1, 2]})");
}

TEST(AppendJsonArray, TakesOverTheReference) {
    TZeltoJsonObject json;
    json_t* const value = json_integer(1);
    void* array = nullptr;
    EXPECT_EQ(json.AppendJsonArray(&array, value), 0);
    EXPECT_EQ(value->refcount, 1U);
    json_decref(AsJson(array));
}

TEST(AppendJsonArray, LeavesAnEmptyArrayForANullValue) {
    TZeltoJsonObject json;
    void* array = nullptr;
    EXPECT_EQ(json.AppendJsonArray(&array, nullptr), -1);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(json_array_size(AsJson(array)), 0U);
    json_decref(AsJson(array));
}

TEST(AppendJsonArray, FailsForAnotherKind) {
    TZeltoJsonObject json;
    void* text = json_string("a");
    EXPECT_EQ(json.AppendJsonArray(&text, json_integer(1)), -1);
    json_decref(AsJson(text));
}
