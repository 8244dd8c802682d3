// A program from before: the application, JSON and toolkit classes by mangled name. None of our headers.

#include "abi/HandMade.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

// std::string as its mangled name has it.
#define TEXT "NSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"

struct json_t;

void MakeJson(void* json) __asm__("_ZN16TZeltoJsonObjectC1Ev");
bool Decode(void* json, const std::string& text) __asm__("_ZN16TZeltoJsonObject16DecodeFromStringERK" TEXT);
std::string Encode(const void* json) __asm__("_ZNK16TZeltoJsonObject14EncodeToStringB5cxx11Ev");
int SetJson(void* json, const std::string& name,
            json_t* value) __asm__("_ZN16TZeltoJsonObject13SetJsonObjectERK" TEXT "Pv");
json_t* ToJson(const void* json, const int& value) __asm__("_ZNK16TZeltoJsonObject6ToJsonIiEEP6json_tRKT_");
json_t* GetJson(const void* json, const std::string& name,
                unsigned index) __asm__("_ZNK16TZeltoJsonObject13GetJsonObjectERK" TEXT "j");
int GetNumber(const void* json, json_t* value,
              const int& none) __asm__("_ZNK16TZeltoJsonObject12GetJsonValueIiEET_PKvRKS1_");

void* GetMapper() __asm__("_ZN16TZeltoDataMapper11GetInstanceEv");
const char* ClientName(const void* mapper,
                       int id) __asm__("_ZNK16TZeltoDataMapper16MapClientIdToStrE14tZeltoClientId");

void* GetApplication() __asm__("_ZN17TZeltoApplication11GetInstanceEv");
void AddObserver(void* application, void* observer) __asm__(
    "_ZN17TZeltoApplication26AddDataModelChangeObserverEP29IZeltoDataModelChangeObserver");
void RemoveObserver(void* application, void* observer) __asm__(
    "_ZN17TZeltoApplication29RemoveDataModelChangeObserverEP29IZeltoDataModelChangeObserver");
void Notify(void* application, const std::string& name,
            const std::string& value) __asm__("_ZN17TZeltoApplication30NotifyDataModelChangeObserversERK" TEXT
                                              "S7_");

void MakeIterator(void* iterator,
                  const std::string& directory) __asm__("_ZN14ZeltoFileUtils12TDirIteratorC1ERK" TEXT);
void DestroyIterator(void* iterator) __asm__("_ZN14ZeltoFileUtils12TDirIteratorD1Ev");
bool ToInteger(const std::string& text,
               int& value) __asm__("_ZN17ZeltoGenericUtils15StringToIntegerERK" TEXT "Ri");

namespace {

using handmade::At;
using handmade::Field;
using handmade::POINTER;
using handmade::Slot;

TEST(DropInClasses, KeepJsonInTwoWords) {
    void* json[3] = {nullptr, nullptr, &json};
    MakeJson(json);
    EXPECT_TRUE(Decode(json, R"({"A": 5})"));
    EXPECT_EQ(SetJson(json, "B", ToJson(json, 6)), 0);
    EXPECT_EQ(Encode(json), R"({"A": 5, "B": 6})");
    EXPECT_EQ(GetNumber(json, GetJson(json, "A", ~0U), -9), 5);
    EXPECT_NE(json[1], nullptr);
    EXPECT_EQ(json[2], &json);
    Slot<void(void*)>(json, 0)(json);
}

TEST(DropInClasses, MapClientIdentifiers) {
    EXPECT_STREQ(ClientName(GetMapper(), 4), "ZELTO_DISPATCHER");
}

TEST(DropInClasses, AnswerThatTheApplicationIsActive) {
    using TOnMethodCall = int(void*, const std::string&, const std::string&, std::string&);
    void* application = GetApplication();
    std::string output;
    EXPECT_EQ(Slot<TOnMethodCall>(application, 0)(application, "IS_APP_ACTIVE", "", output), 0);
    EXPECT_EQ(Slot<TOnMethodCall>(application, 0)(application, "OTHER", "", output), -1);
    EXPECT_FALSE(Field<bool>(application, POINTER));
    EXPECT_NE(Field<void*>(application, 2 * POINTER), nullptr);
    EXPECT_EQ(Field<void*>(application, 4 * POINTER), GetMapper());
}

std::string noticed;

void Notice(void*, const std::string& name, const std::string& value) {
    noticed = name + "=" + value;
}

// An observer has its destructor first.
TEST(DropInClasses, NotifyAHandMadeObserver) {
    handmade::TTable table;
    table.slots[2] = reinterpret_cast<void*>(&Notice);
    handmade::TObject observer{table.slots};
    AddObserver(GetApplication(), &observer);
    EXPECT_EQ(Field<size_t>(GetApplication(), At(68 + 20, 128 + 40)), 1U); // elements of the second set
    Notify(GetApplication(), "Device.X", "1");
    EXPECT_EQ(noticed, "Device.X=1");
    RemoveObserver(GetApplication(), &observer);
}

TEST(DropInClasses, WalkADirectoryInTwoWordsAndAText) {
    alignas(void*) char iterator[At(32, 48)];
    MakeIterator(iterator, "/proc/self");
    EXPECT_NE(Field<void*>(iterator, 0), nullptr);
    EXPECT_NE(Field<void*>(iterator, POINTER), nullptr);
    EXPECT_EQ(Field<std::string>(iterator, 2 * POINTER), "/proc/self/");
    DestroyIterator(iterator);
}

TEST(DropInClasses, ConvertIntegersIn32Bits) {
    int value = 0;
    EXPECT_TRUE(ToInteger("99999999999", value));
    EXPECT_EQ(value, 2147483647);
}

} // namespace
