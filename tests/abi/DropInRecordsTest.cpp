// A program from before: manager and C application in one, records by offset. None of our headers.

#include "abi/HandMade.h"

#include "support/BusEnvironment.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

extern "C" {
void zeltoPlatformLibInit(const void* table);
void zeltoAppLibAllocateParamArray(void* array, unsigned count);
void zeltoAppLibReleaseParamArray(void* array);
void zeltoAppLibReleaseParamRequest(void* request);
void zeltoAppLibReleaseObjectIdsRequest(void* request);
void zeltoAppLibReleaseIndexMapRequest(void* request);
void zeltoAppLibReleaseLongParamRequest(void* request);
int zeltoAppLibGetParam(void* request);
int zeltoAppLibSetParam(void* param, bool commit);
int zeltoAppLibGetObject(void* request);
int zeltoAppLibGetObjectIds(void* request);
int zeltoAppLibGetIndexMapping(void* request);
int zeltoAppLibGetLongParam(void* request);
int zeltoAppLibAddObjectInstance(const char* name, int* instance);
extern char DataModelNameIndexPairs[9200];
}

void* GetInstance() __asm__("_Z19getZeltoIpcInstancev");
void SetMethodServerId(void* ipc, const std::string& method, const std::string& serverId) __asm__(
    "_ZN9TZeltoIpc17SetMethodServerIdERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES7_");
bool Describe(int type, const char* name, void* description) __asm__(
    "_Z28zeltoGetPlatformRequestDescr20tZeltoPltRequestTypePKcP26tZeltoPlatformRequestDescr");
int Answer(const char* method, const char* input,
           char** output) __asm__("_Z27zeltoPlatformMethodsHandlerPKcS0_PPc");
void Release(void* text) __asm__("_Z20zeltoPlatformDeallocPv");

namespace {

using handmade::At;
using handmade::Field;
using handmade::POINTER;
using handmade::TextAt;

const bool BUS_READY = support::TBusEnvironment::Register();

constexpr int32_t FAILURE = 1;
constexpr size_t TEXT = 256;

// Fields of the record of a parameter handler, and of an object handler.
constexpr size_t PARAM_NAME = TEXT;
constexpr size_t INDEX_COUNT = 2 * TEXT;
constexpr size_t INDICES = At(516, 520);
constexpr size_t VALUE = At(520, 528);
constexpr size_t LONG_VALUE = At(776, 784);
constexpr size_t COMMIT = At(780, 792);
constexpr size_t ELEMENT_COUNT = At(520, 528);
constexpr size_t ELEMENTS = At(524, 536);
constexpr size_t ELEMENT_SIZE = At(520, 528);

void Write(void* record, size_t offset, const std::string& text) {
    std::memcpy(TextAt(record, offset), text.c_str(), text.size() + 1);
}

std::string Indices(void* record) {
    std::string text;
    for (int32_t i = 0; i < Field<int32_t>(record, INDEX_COUNT); ++i) {
        text += "/" + std::to_string(Field<int32_t*>(record, INDICES)[i]);
    }
    return text;
}

// Answers with all it was given.
int32_t Get(void* record) {
    Write(record, VALUE, std::string(TextAt(record, 0)) + " " + TextAt(record, PARAM_NAME) + Indices(record));
    return 0;
}

// Takes one value only, and only committed.
int32_t Set(void* record) {
    const bool isExpected = std::string(TextAt(record, VALUE)) == "wanted" &&
                            std::string(Field<char*>(record, LONG_VALUE)) == "wanted" &&
                            Field<bool>(record, COMMIT);
    return isExpected ? 0 : FAILURE;
}

int32_t GetObject(void* record) {
    for (int32_t i = 0; i < Field<int32_t>(record, ELEMENT_COUNT); ++i) {
        char* element = Field<char*>(record, ELEMENTS) + static_cast<size_t>(i) * ELEMENT_SIZE;
        Write(element, TEXT, std::string(TextAt(record, PARAM_NAME)) + Indices(element));
    }
    return 0;
}

int32_t Add(void* record) {
    Field<int32_t>(record, VALUE) = 12;
    return 0;
}

int32_t GetIds(void* record) {
    const int32_t numbers[] = {3, 1, 2, 40};
    std::memcpy(TextAt(record, VALUE), numbers, sizeof(numbers));
    return 0;
}

struct THandlerSlot {
    int32_t type;
    int32_t (*handler)(void*);
};

// An entry of the manager's table is a name, a word, a name, a flag and seven slots.
struct TEntry {
    const char* name;
    int32_t word;
    const char* handlerName;
    bool changeEvent;
    THandlerSlot slots[7];
};
static_assert(sizeof(TEntry) == At(72, 144), "as programs were compiled");

struct TTable {
    const TEntry* entries;
    int32_t count;
    const char* indexMapPath;
};

class DropInRecords : public testing::Test {
protected:
    static void SetUpTestSuite() {
        static const TEntry ENTRY{
            "*", 77, "hand", false, {{0, Get}, {1, Set}, {2, GetObject}, {4, Add}, {6, GetIds}}};
        const TTable table{&ENTRY, 1, nullptr};
        zeltoPlatformLibInit(&table);
        SetMethodServerId(GetInstance(), "*", "ZELTO_DISPATCHER");
    }

    alignas(void*) std::array<char, 1024> record{};
};

TEST_F(DropInRecords, GetsAParameter) {
    Write(record.data(), 0, "Device.Ethernet.Interface.1.X");
    EXPECT_EQ(zeltoAppLibGetParam(record.data()), 0);
    EXPECT_STREQ(TextAt(record.data(), TEXT), "hand Device.Ethernet.Interface.5.X/5");
    EXPECT_FALSE(Field<bool>(record.data(), At(520, 528)));
}

TEST_F(DropInRecords, GetsSeveralParametersAsAnArray) {
    Write(record.data(), 0, "Device.Table.*.X");
    ASSERT_EQ(zeltoAppLibGetParam(record.data()), 0);
    EXPECT_TRUE(Field<bool>(record.data(), At(520, 528)));
    ASSERT_EQ(Field<uint32_t>(record.data(), 512 + POINTER), 3U);
    char* params = Field<char*>(record.data(), 512);
    EXPECT_STREQ(params + 512, "Device.Table.2.X");
    EXPECT_STREQ(params + 512 + TEXT, "hand Device.Table.2.X/2");
    zeltoAppLibReleaseParamRequest(record.data());
    EXPECT_EQ(Field<char*>(record.data(), 512), nullptr);
}

TEST_F(DropInRecords, SetsAParameter) {
    Write(record.data(), 0, "Device.X");
    Write(record.data(), TEXT, "wanted");
    EXPECT_EQ(zeltoAppLibSetParam(record.data(), true), 0);
    EXPECT_EQ(zeltoAppLibSetParam(record.data(), false), -1);
    Write(record.data(), TEXT, "unwanted");
    EXPECT_EQ(zeltoAppLibSetParam(record.data(), true), -1);
}

TEST_F(DropInRecords, GetsAnObject) {
    Write(record.data(), 0, "Device.Table.9.");
    zeltoAppLibAllocateParamArray(TextAt(record.data(), TEXT), 2);
    char* params = Field<char*>(record.data(), TEXT);
    Write(params, 0, "Device.Table.9.A");
    Write(params, 512, "Device.Table.9.Sub.4.B");
    ASSERT_EQ(zeltoAppLibGetObject(record.data()), 0);
    ASSERT_EQ(Field<uint32_t>(record.data(), TEXT + POINTER), 2U);
    params = Field<char*>(record.data(), TEXT);
    EXPECT_STREQ(params + TEXT, "Device.Table.9./9");
    EXPECT_STREQ(params + 512 + TEXT, "Device.Table.9./9/4");
    zeltoAppLibReleaseParamArray(TextAt(record.data(), TEXT));
}

TEST_F(DropInRecords, AddsAnInstanceAndListsThem) {
    int instance = 0;
    EXPECT_EQ(zeltoAppLibAddObjectInstance("Device.Table.", &instance), 0);
    EXPECT_EQ(instance, 12);
    Write(record.data(), 0, "Device.Table.");
    ASSERT_EQ(zeltoAppLibGetObjectIds(record.data()), 0);
    ASSERT_EQ(Field<uint32_t>(record.data(), TEXT + POINTER), 3U);
    EXPECT_EQ(Field<int32_t*>(record.data(), TEXT)[2], 40);
    zeltoAppLibReleaseObjectIdsRequest(record.data());
}

TEST_F(DropInRecords, GetsALongParameter) {
    Write(record.data(), 0, "Device.Y");
    ASSERT_EQ(zeltoAppLibGetLongParam(record.data()), 0);
    EXPECT_STREQ(Field<char*>(record.data(), TEXT), "hand Device.Y");
    EXPECT_EQ(Field<uint32_t>(record.data(), TEXT + POINTER), sizeof("hand Device.Y"));
    zeltoAppLibReleaseLongParamRequest(record.data());
}

TEST_F(DropInRecords, GetsTheIndexMap) {
    ASSERT_EQ(zeltoAppLibGetIndexMapping(record.data()), 0);
    ASSERT_EQ(Field<uint32_t>(record.data(), POINTER), 4U);
    uint32_t pairs = 0;
    for (size_t i = 0; i < 4; ++i) {
        char* map = Field<char*>(record.data(), 0) + i * At(264, 272);
        pairs += Field<uint32_t>(map, TEXT + POINTER);
        if (std::string(map) == "Device.Ethernet.Interface.") {
            const auto* first = Field<int32_t*>(map, TEXT);
            EXPECT_EQ(first[0], 1);
            EXPECT_EQ(first[1], 5);
        }
    }
    EXPECT_EQ(pairs, 2U + 16U + 16U + 5U);
    zeltoAppLibReleaseIndexMapRequest(record.data());
}

TEST_F(DropInRecords, FindsTheIndexPairsAsData) {
    char* ethernet = DataModelNameIndexPairs + size_t{3} * 2300;
    EXPECT_STREQ(ethernet, "Device.Ethernet.Interface.");
    EXPECT_EQ(Field<int32_t>(ethernet, TEXT), 5);
    EXPECT_EQ(Field<int32_t>(ethernet, TEXT + 4), 1);
    EXPECT_EQ(Field<int32_t>(ethernet, TEXT + 8), 5);
}

TEST_F(DropInRecords, DescribesAHandler) {
    ASSERT_TRUE(Describe(0, "Device.X", record.data()));
    EXPECT_EQ(Field<int32_t (*)(void*)>(record.data(), 0), &Get);
    EXPECT_EQ(Field<int32_t>(record.data(), POINTER), 77);
    EXPECT_STREQ(TextAt(record.data(), POINTER + 4), "hand");
}

TEST_F(DropInRecords, AnswersTheManagersOwnRequests) {
    char* output = nullptr;
    EXPECT_EQ(Answer("GET_PARAM", R"({"NAME":"Device.Z"})", &output), 0);
    EXPECT_STREQ(output, R"({"PARAMS": [{"NAME": "Device.Z", "VALUE": "hand Device.Z"}]})");
    Release(output);
}

} // namespace
