// Whole documents: ownership, texts and files.

#include "ParsedJson.h"
#include "unit/utils/FileTestSupport.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <jansson.h>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <memory>
#include <type_traits>

#include <sys/resource.h>

namespace {

json_t* Root(const TZeltoJsonObject& json) {
    json_t* root = nullptr;
    std::memcpy(&root, reinterpret_cast<const char*>(&json) + sizeof(void*), sizeof root);
    return root;
}

void LiftFileSizeLimit(int /*signal*/) {
    rlimit limit{};
    (void)::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = limit.rlim_max;
    (void)::setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

TEST(JsonObjectLayout, HoldsTheVirtualTableAndTheRootOnly) {
    EXPECT_EQ(sizeof(TZeltoJsonObject), 2 * sizeof(void*));
    EXPECT_TRUE(std::has_virtual_destructor_v<TZeltoJsonObject>);
}

TEST(JsonObject, IsAnEmptyJsonObjectWhenNew) {
    const TZeltoJsonObject json;
    EXPECT_TRUE(json.IsEmpty());
    EXPECT_EQ(json.EncodeToString(), "{}");
}

TEST(JsonObjectCopy, LeavesTheSourceUnchangedWhenModified) {
    const TZeltoJsonObject source = Parsed(R"({"inner": {"a": 1}})");
    TZeltoJsonObject copy(source);
    copy.GetObjectRef("inner").Clear();
    copy.SetJsonObject("b", json_true());
    EXPECT_EQ(copy.EncodeToString(), R"({"inner": {}, "b": true})");
    EXPECT_EQ(source.EncodeToString(), R"({"inner": {"a": 1}})");
}

TEST(JsonObjectCopy, HasNoDocumentWhenTheSourceHasNone) {
    const TZeltoJsonObject source = WithoutDocument();
    const TZeltoJsonObject copy(source);
    EXPECT_EQ(copy.EncodeToString(), "");
}

TEST(JsonObjectAssignment, LeavesTheSourceUnchangedWhenModified) {
    const TZeltoJsonObject source = Parsed(R"({"inner": {"a": 1}})");
    TZeltoJsonObject copy = Parsed("[1]");
    TZeltoJsonObject& result = copy = source;
    EXPECT_EQ(&result, &copy);
    copy.GetObjectRef("inner").Clear();
    EXPECT_EQ(copy.EncodeToString(), R"({"inner": {}})");
    EXPECT_EQ(source.EncodeToString(), R"({"inner": {"a": 1}})");
}

TEST(JsonObjectAssignment, KeepsTheDocumentWhenAssignedToItself) {
    TZeltoJsonObject json = Parsed(R"({"a": 1})");
    const json_t* const root = Root(json);
    const TZeltoJsonObject& same = json;
    json = same;
    EXPECT_EQ(Root(json), root);
    EXPECT_EQ(json.EncodeToString(), R"({"a": 1})");
}

TEST(JsonObjectAssignment, ReleasesTheFormerRoot) {
    json_t* const shared = json_pack("{s:i}", "a", 1);
    TZeltoJsonObject owner;
    owner.SetJsonObject("shared", shared);
    TZeltoJsonObject reference = owner.GetObjectRef("shared");
    EXPECT_EQ(shared->refcount, 2U);
    reference = TZeltoJsonObject();
    EXPECT_EQ(shared->refcount, 1U);
}

TEST(JsonObjectAssignment, WorksFromAPartOfItself) {
    TZeltoJsonObject json = Parsed(R"({"inner": {"a": 1}})");
    json = json.GetObjectRef("inner");
    EXPECT_EQ(json.EncodeToString(), R"({"a": 1})");
}

TEST(JsonObjectDestruction, ReleasesTheRoot) {
    json_t* const shared = json_object();
    TZeltoJsonObject owner;
    owner.SetJsonObject("shared", shared);
    auto reference = std::make_unique<TZeltoJsonObject>(owner.GetObjectRef("shared"));
    // make_unique copies deeply; the reference in between is gone already
    EXPECT_EQ(shared->refcount, 1U);
    reference.reset(new TZeltoJsonObject);
    {
        const TZeltoJsonObject sharing = owner.GetObjectRef("shared");
        EXPECT_EQ(shared->refcount, 2U);
    }
    EXPECT_EQ(shared->refcount, 1U);
}

TEST(JsonObjectDestruction, LeavesAValueThatIsNeverFreedAlone) {
    json_t* const constant = json_true();
    const std::size_t before = constant->refcount;
    ASSERT_EQ(before, static_cast<std::size_t>(-1));
    TZeltoJsonObject owner;
    owner.SetJsonObject("flag", constant);
    { const TZeltoJsonObject sharing = owner.GetObjectRef("flag"); }
    EXPECT_EQ(constant->refcount, before);
}

TEST(DecodeFromString, ReplacesTheDocument) {
    TZeltoJsonObject json = Parsed(R"({"old": 1})");
    EXPECT_TRUE(json.DecodeFromString(R"({"new": 2})"));
    EXPECT_EQ(json.EncodeToString(), R"({"new": 2})");
}

TEST(DecodeFromString, LeavesTheDocumentForTheEmptyText) {
    TZeltoJsonObject json = Parsed(R"({"old": 1})");
    EXPECT_FALSE(json.DecodeFromString(""));
    EXPECT_EQ(json.EncodeToString(), R"({"old": 1})");
}

TEST(DecodeFromString, TakesAnArray) {
    EXPECT_EQ(Parsed("[1, 2]").EncodeToString(), "[1, 2]");
}

class DecodeFromStringRefusal : public testing::TestWithParam<const char*> {};

TEST_P(DecodeFromStringRefusal, LeavesNoDocument) {
    TZeltoJsonObject json = Parsed(R"({"old": 1})");
    EXPECT_FALSE(json.DecodeFromString(GetParam()));
    EXPECT_TRUE(json.IsEmpty());
    EXPECT_EQ(json.EncodeToString(), "");
}

INSTANTIATE_TEST_SUITE_P(Texts, DecodeFromStringRefusal,
                         testing::Values("not json", " ", "{\"a\": 1", "{\"a\": 1} tail", "\"text\"", "1",
                                         "true", "null", "{\"a\": \"\xFF\"}", "{'a': 1}", "{\"a\": 1e999}"));

TEST(DecodeFromString, EndsAtANul) {
    TZeltoJsonObject json;
    EXPECT_TRUE(json.DecodeFromString(std::string("{}\0garbage", 10)));
}

TEST(DecodeFromString, SurvivesDeepNesting) {
    TZeltoJsonObject json;
    EXPECT_FALSE(json.DecodeFromString(std::string(1000000, '[')));
}

TEST(EncodeToString, KeepsTheOrderOfInsertion) {
    TZeltoJsonObject json;
    for (const char* name : {"zeta", "alpha", "mid", "beta"}) {
        json.SetJsonObject(name, json_integer(1));
    }
    EXPECT_EQ(json.EncodeToString(), R"({"zeta": 1, "alpha": 1, "mid": 1, "beta": 1})");
}

TEST(EncodeToString, WritesOneLineWithBlanksBetween) {
    EXPECT_EQ(Parsed("{\n\t\"a\" : [ 1,2 ],\"b\":{}}").EncodeToString(), R"({"a": [1, 2], "b": {}})");
}

TEST(EncodeToString, KeepsCharactersBeyondAscii) {
    EXPECT_EQ(Parsed(R"({"a": "\u00e4"})").EncodeToString(), "{\"a\": \"\xC3\xA4\"}");
}

TEST(EncodeToString, IsEmptyWithoutADocument) {
    EXPECT_EQ(WithoutDocument().EncodeToString(), "");
}

class EncodeScalarRoot : public testing::TestWithParam<const char*> {};

TEST_P(EncodeScalarRoot, IsEmpty) {
    const TZeltoJsonObject json = Parsed(R"({"text": "a", "number": 1, "flag": true, "nothing": null})");
    EXPECT_EQ(json.GetObject(GetParam()).EncodeToString(), "");
}

INSTANTIATE_TEST_SUITE_P(Kinds, EncodeScalarRoot, testing::Values("text", "number", "flag", "nothing"));

TEST(LoadFile, ReadsAFile) {
    const support::TTempDir directory;
    TZeltoJsonObject json;
    EXPECT_TRUE(json.LoadFile(directory.Write("a.json", "{\"a\":\n1}")));
    EXPECT_EQ(json.EncodeToString(), R"({"a": 1})");
}

TEST(LoadFile, LeavesNoDocumentForAMissingFile) {
    const support::TTempDir directory;
    TZeltoJsonObject json = Parsed(R"({"old": 1})");
    EXPECT_FALSE(json.LoadFile(directory.File("missing.json")));
    EXPECT_TRUE(json.IsEmpty());
    EXPECT_EQ(json.EncodeToString(), "");
}

TEST(LoadFile, LeavesNoDocumentForAMalformedFile) {
    const support::TTempDir directory;
    TZeltoJsonObject json = Parsed(R"({"old": 1})");
    EXPECT_FALSE(json.LoadFile(directory.Write("bad.json", "{")));
    EXPECT_EQ(json.EncodeToString(), "");
}

TEST(LoadFile, LeavesNoDocumentForAnEmptyFile) {
    const support::TTempDir directory;
    TZeltoJsonObject json = Parsed(R"({"old": 1})");
    EXPECT_FALSE(json.LoadFile(directory.Write("empty.json", "")));
    EXPECT_EQ(json.EncodeToString(), "");
}

TEST(LoadFile, LeavesNoDocumentForADirectoryAndTheEmptyPath) {
    const support::TTempDir directory;
    for (const std::string& path : {directory.Path(), std::string()}) {
        TZeltoJsonObject json = Parsed(R"({"old": 1})");
        EXPECT_FALSE(json.LoadFile(path)) << path;
        EXPECT_EQ(json.EncodeToString(), "") << path;
    }
}

struct TIndentCase {
    int indent;
    const char* text;
};

class DumpToFileIndent : public testing::TestWithParam<TIndentCase> {};

TEST_P(DumpToFileIndent, TakesTheLowFiveBits) {
    const support::TTempDir directory;
    const TZeltoJsonObject json = Parsed(R"({"b": 1, "a": 2})");
    EXPECT_TRUE(json.DumpToFile(directory.File("out.json"), GetParam().indent));
    EXPECT_EQ(directory.Read("out.json"), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Values, DumpToFileIndent,
                         testing::Values(TIndentCase{0, "{\"b\": 1, \"a\": 2}"},
                                         TIndentCase{2, "{\n  \"b\": 1,\n  \"a\": 2\n}"},
                                         TIndentCase{36, "{\n    \"b\": 1,\n    \"a\": 2\n}"},
                                         TIndentCase{32, "{\"b\": 1, \"a\": 2}"},
                                         // all bits set are 31 spaces, not other options of the encoder
                                         TIndentCase{-1, "{\n                               \"b\": 1,\n"
                                                         "                               \"a\": 2\n}"}));

TEST(DumpToFile, FailsWithoutADocument) {
    const support::TTempDir directory;
    EXPECT_FALSE(WithoutDocument().DumpToFile(directory.File("out.json"), 0));
}

TEST(DumpToFile, FailsForARootThatIsNoContainer) {
    const support::TTempDir directory;
    EXPECT_FALSE(Parsed(R"({"a": 1})").GetObject("a").DumpToFile(directory.File("out.json"), 0));
}

TEST(DumpToFile, FailsInAMissingDirectory) {
    const support::TTempDir directory;
    EXPECT_FALSE(TZeltoJsonObject().DumpToFile(directory.File("missing/out.json"), 0));
}

TEST(DumpToFile, FailsOnAFullDevice) {
    EXPECT_FALSE(Parsed(R"({"a": 1})").DumpToFile("/dev/full", 0));
}

// Only the key meets the full disk: what follows it finds room again.
TEST(DumpToFile, FailsWhenOnlyAKeyCannotBeWritten) {
    const support::TTempDir directory;
    const TZeltoJsonObject json = Parsed("{\"" + std::string(100000, 'k') + "\": 1}");
    const auto saved = std::signal(SIGXFSZ, LiftFileSizeLimit);
    bool isDumped = true;
    {
        const zelto_test::TLimit noRoom(RLIMIT_FSIZE, 0);
        isDumped = json.DumpToFile(directory.File("out.json"), 0);
    }
    (void)std::signal(SIGXFSZ, saved);
    EXPECT_FALSE(isDumped);
    EXPECT_NE(directory.Read("out.json"), "") << "the disk has stayed full";
}

TEST(DumpToFile, IsReadBackByLoadFile) {
    const support::TTempDir directory;
    const std::string text = R"({"z": [1, 2.5, true, null, "t"], "a": {"b": {}}})";
    EXPECT_TRUE(Parsed(text).DumpToFile(directory.File("out.json"), 4));
    TZeltoJsonObject json;
    EXPECT_TRUE(json.LoadFile(directory.File("out.json")));
    EXPECT_EQ(json.EncodeToString(), text);
}
