#include "capi/RecordLayout.h"

#include "zelto/ZeltoAppRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

// More than any test allocates in earnest.
constexpr std::size_t LARGEST_GRANTED = std::size_t{1} << 30;

std::size_t lastRequested = 0;
int liveArrays = 0;

} // namespace

// The library's arrays come from here: counted, filled with rubbish, and never of a size that would hurt.
void* operator new[](std::size_t size) {
    lastRequested = size;
    void* const memory = size > LARGEST_GRANTED ? nullptr : std::malloc(std::max<std::size_t>(size, 1));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    std::memset(memory, 0xA5, size);
    ++liveArrays;
    return memory;
}

void operator delete[](void* memory) noexcept {
    liveArrays -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    operator delete[](memory);
}

namespace {

template <typename T>
bool IsZero(const T* elements, std::size_t count) {
    const char* const bytes = reinterpret_cast<const char*>(elements);
    return std::all_of(bytes, bytes + count * sizeof(T), [](char byte) { return byte == 0; });
}

// The dynamic type of what leaves `body`, "" when nothing does.
std::string ThrownBy(const std::function<void()>& body) {
    try {
        body();
    } catch (const std::exception& error) {
        return typeid(error).name();
    }
    return "";
}

const std::string TOO_LONG = typeid(std::bad_array_new_length).name();
const std::string NO_MEMORY = typeid(std::bad_alloc).name();

TEST(RecordLayout, IsTheSameForEveryProgramThatUsesTheRecords) {
    std::size_t count = 0;
    const tLayoutEntry* const entries = LayoutEntries(&count);
    ASSERT_GT(count, 0U);
    for (std::size_t i = 0; i < count; ++i) {
        EXPECT_EQ(entries[i].actual, entries[i].expected) << entries[i].what;
    }
}

// The five kinds of arrays that a caller can have allocated, as one.
struct TAllocation {
    const char* name;
    std::size_t elementSize;
    std::uint32_t largestCount;
    std::function<void(std::uint32_t)> allocate;
    std::function<void()> release;
    std::function<const void*()> array;
    std::function<std::uint32_t()> count;
};

tZeltoParamArray paramArray;
tZeltoParamArrayRequest paramArrayRequest;
tZeltoObjectRequest objectRequest;
tZeltoObjectIdsRequest idsRequest;
tZeltoLongParamRequest longRequest;

// For ARM the compiler leaves room for a word before an array, needed or not, and refuses more by itself.
#ifdef __arm__
constexpr std::uint32_t LARGEST_IDS = ZELTO_MAX_IDS - 1;
#else
constexpr std::uint32_t LARGEST_IDS = 536870911;
#endif

std::vector<TAllocation> Allocations() {
    return {
        {"ParamArray", sizeof(tZeltoParam), 4194303,
         [](std::uint32_t count) { zeltoAppLibAllocateParamArray(&paramArray, count); },
         [] { zeltoAppLibReleaseParamArray(&paramArray); }, [] { return paramArray.params; },
         [] { return paramArray.count; }},
        {"ParamArrayRequest", sizeof(tZeltoParam), 4194303,
         [](std::uint32_t count) { zeltoAppLibAllocateParamArrayRequest(&paramArrayRequest, count); },
         [] { zeltoAppLibReleaseParamArrayRequest(&paramArrayRequest); },
         [] { return paramArrayRequest.paramArray.params; },
         [] { return paramArrayRequest.paramArray.count; }},
        {"ObjectRequest", sizeof(tZeltoParam), 4194303,
         [](std::uint32_t count) { zeltoAppLibAllocateObjectRequest(&objectRequest, count); },
         [] { zeltoAppLibReleaseObjectRequest(&objectRequest); },
         [] { return objectRequest.paramArray.params; }, [] { return objectRequest.paramArray.count; }},
        {"ObjectIdsRequest", sizeof(std::int32_t), LARGEST_IDS,
         [](std::uint32_t count) { zeltoAppLibAllocateObjectIdsRequest(&idsRequest, count); },
         [] { zeltoAppLibReleaseObjectIdsRequest(&idsRequest); }, [] { return idsRequest.ids; },
         [] { return idsRequest.count; }},
        {"LongParamRequest", 1, 2147483647,
         [](std::uint32_t count) { zeltoAppLibAllocateLongParamRequest(&longRequest, count); },
         [] { zeltoAppLibReleaseLongParamRequest(&longRequest); }, [] { return longRequest.value; },
         [] { return longRequest.size; }},
    };
}

class Allocate : public testing::TestWithParam<TAllocation> {
protected:
    void SetUp() override { before = liveArrays; }
    void TearDown() override {
        GetParam().release();
        EXPECT_EQ(liveArrays, before);
    }

    int before = 0;
};

TEST_P(Allocate, GivesAnArrayOfZeros) {
    GetParam().allocate(3);
    ASSERT_NE(GetParam().array(), nullptr);
    EXPECT_EQ(GetParam().count(), 3U);
    EXPECT_TRUE(IsZero(static_cast<const char*>(GetParam().array()), 3 * GetParam().elementSize));
}

TEST_P(Allocate, GivesAnEmptyArrayThatIsNotNullForZero) {
    GetParam().allocate(0);
    EXPECT_NE(GetParam().array(), nullptr);
    EXPECT_EQ(GetParam().count(), 0U);
}

TEST_P(Allocate, ReleasesTheEarlierArray) {
    GetParam().allocate(1);
    const int withOne = liveArrays;
    GetParam().allocate(2);
    EXPECT_EQ(liveArrays, withOne);
    EXPECT_EQ(GetParam().count(), 2U);
}

TEST_P(Allocate, AsksForTheLargestCountThatFitsInto31Bits) {
    EXPECT_EQ(ThrownBy([] { GetParam().allocate(GetParam().largestCount); }), NO_MEMORY);
    EXPECT_EQ(lastRequested, GetParam().largestCount * GetParam().elementSize);
}

TEST_P(Allocate, RefusesOneMoreWithoutAskingForMemory) {
    lastRequested = 0;
    EXPECT_EQ(ThrownBy([] { GetParam().allocate(GetParam().largestCount + 1); }), TOO_LONG);
    EXPECT_EQ(ThrownBy([] { GetParam().allocate(UINT32_MAX); }), TOO_LONG);
    EXPECT_EQ(lastRequested, 0U);
}

TEST_P(Allocate, LeavesTheRecordAsItWasWhenItFails) {
    GetParam().allocate(2);
    const void* const earlier = GetParam().array();
    EXPECT_EQ(ThrownBy([] { GetParam().allocate(GetParam().largestCount); }), NO_MEMORY);
    EXPECT_EQ(ThrownBy([] { GetParam().allocate(GetParam().largestCount + 1); }), TOO_LONG);
    EXPECT_EQ(GetParam().array(), earlier);
    EXPECT_EQ(GetParam().count(), 2U);
}

TEST_P(Allocate, CanBeReleasedTwice) {
    GetParam().allocate(1);
    GetParam().release();
    EXPECT_EQ(GetParam().array(), nullptr);
    EXPECT_EQ(GetParam().count(), 0U);
    GetParam().release();
    EXPECT_EQ(GetParam().array(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(EveryArray, Allocate, testing::ValuesIn(Allocations()),
                         [](const auto& allocation) { return std::string(allocation.param.name); });

TEST(NullRecord, IsIgnoredByEveryAllocateAndReleaseFunction) {
    const int before = liveArrays;
    zeltoAppLibAllocateParamArray(nullptr, 1);
    zeltoAppLibReleaseParamArray(nullptr);
    zeltoAppLibReleaseParamRequest(nullptr);
    zeltoAppLibAllocateLongParamRequest(nullptr, 1);
    zeltoAppLibReleaseLongParamRequest(nullptr);
    zeltoAppLibReleaseLongParamRemote(nullptr);
    zeltoAppLibAllocateParamArrayRequest(nullptr, 1);
    zeltoAppLibReleaseParamArrayRequest(nullptr);
    zeltoAppLibAllocateObjectRequest(nullptr, 1);
    zeltoAppLibReleaseObjectRequest(nullptr);
    zeltoAppLibAllocateObjectIdsRequest(nullptr, UINT32_MAX);
    zeltoAppLibReleaseObjectIdsRequest(nullptr);
    zeltoAppLibReleaseIndexMapRequest(nullptr);
    EXPECT_EQ(liveArrays, before);
}

TEST(ReleaseParamArray, LeavesAZeroedRecordZero) {
    tZeltoParamArray array = {};
    zeltoAppLibReleaseParamArray(&array);
    EXPECT_TRUE(IsZero(&array, 1));
}

TEST(ReleaseParamRequest, ClearsTheAnswerAndLeavesTheParameter) {
    tZeltoParamRequest request = {};
    std::strcpy(request.param.name, "Device.A");
    std::strcpy(request.param.value, "value");
    zeltoAppLibAllocateParamArray(&request.paramArray, 2);
    request.isArray = true;
    for (int time = 0; time < 2; ++time) {
        zeltoAppLibReleaseParamRequest(&request);
        EXPECT_EQ(request.paramArray.params, nullptr);
        EXPECT_EQ(request.paramArray.count, 0U);
        EXPECT_FALSE(request.isArray);
        EXPECT_STREQ(request.param.name, "Device.A");
        EXPECT_STREQ(request.param.value, "value");
    }
}

TEST(ReleaseLongParamRemote, ReleasesTheBufferAndLeavesTheAddress) {
    tZeltoLongParamRemoteRequest request = {};
    std::strcpy(request.remoteAddress, "192.168.0.1");
    zeltoAppLibAllocateLongParamRequest(&request.request, 10);
    const int before = liveArrays;
    zeltoAppLibReleaseLongParamRemote(&request);
    zeltoAppLibReleaseLongParamRemote(&request);
    EXPECT_EQ(liveArrays, before - 1);
    EXPECT_EQ(request.request.value, nullptr);
    EXPECT_EQ(request.request.size, 0U);
    EXPECT_STREQ(request.remoteAddress, "192.168.0.1");
}

TEST(ReleaseObjectRequest, LeavesTheObjectName) {
    tZeltoObjectRequest request = {};
    std::strcpy(request.name, "Device.A.");
    zeltoAppLibAllocateObjectRequest(&request, 1);
    zeltoAppLibReleaseObjectRequest(&request);
    EXPECT_STREQ(request.name, "Device.A.");
}

TEST(ReleaseIndexMapRequest, ReleasesEverythingAndLeavesTheRecord) {
    const int before = liveArrays;
    tZeltoIndexMapRequest request = {new tZeltoIndexMap[2](), 2};
    request.maps[0].pairs = new tZeltoIndexPair[3]; // the second map keeps its null
    request.maps[0].count = 3;
    const tZeltoIndexMap* const maps = request.maps;
    zeltoAppLibReleaseIndexMapRequest(&request);
    EXPECT_EQ(liveArrays, before);
    EXPECT_EQ(request.maps, maps);
    EXPECT_EQ(request.count, 2U);
}

TEST(ReleaseIndexMapRequest, WalksNoMapsWhereThereAreNone) {
    tZeltoIndexMapRequest request = {nullptr, 5};
    zeltoAppLibReleaseIndexMapRequest(&request);
    EXPECT_EQ(request.maps, nullptr);
    EXPECT_EQ(request.count, 5U);
}

} // namespace
