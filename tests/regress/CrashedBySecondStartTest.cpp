// The manager may start the platform side again while applications ask it. A second start with an index-map
// file used to free the tables that the dispatch threads were reading.

#include "bus/BusParty.h"
#include "unit/platform/ScriptedPlatform.h"

#include "support/Eventually.h"
#include "support/LogSpy.h"
#include "support/ProcessStats.h"
#include "zelto/TZeltoIpc.h"
#include "zelto/ZeltoPlatformNames.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include <unistd.h>

using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

constexpr const char* MAPS = R"({"DATA_MODELS": [)"
                             R"({"NAME": "Device.Ethernet.Interface.", "INDEX_MAP": [{"1": "5"}]}, )"
                             R"({"NAME": "Device.WiFi.SSID.", "INDEX_MAP": [{"1": "2"}, {"2": "1"}]}]})";

const tZeltoPlatformLibTable* startedByHandler = nullptr;

// Answers with a reference to itself, which comes back in the application's numbering.
int32_t Get(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    (void)std::strcpy(request.value, request.paramName);
    return PLT_SUCCESS;
}

int32_t GetAndStart(void* record) {
    zeltoPlatformLibInit(startedByHandler);
    return Get(record);
}

tZeltoPltFunctionTable Entry(const char* name, tZeltoPltHandler get) {
    tZeltoPltFunctionTable entry{};
    entry.name = name;
    entry.handlerName = "handler";
    entry.handlers[0] = {PLT_REQUEST_GET_PARAM, get};
    return entry;
}

std::string List(const std::string& entry, int count) {
    std::string list = R"({"PARAMS": [)" + entry;
    for (int i = 1; i < count; ++i) {
        list += ", " + entry;
    }
    return list + "]}";
}

// "code text".
std::string Ask(TZeltoIpc& client, const std::string& server, const std::string& request) {
    TZeltoIpc::TMethodSettings settings{server, 30};
    std::string text;
    const int code = client.CallMethod("GET_PARAM_ARRAY", request, text, settings);
    return std::to_string(code) + " " + text;
}

class SecondStart : public testing::Test {
protected:
    SecondStart() {
        startedByHandler = &table;
        zeltoPlatformLibInit(&table);
    }

    std::string AskFor(const std::string& name, int count, const std::string& server = "ZELTO_DISPATCHER") {
        return Ask(*client, server, List(R"({"NAME": ")" + name + R"("})", count));
    }
    static std::string AnswerOf(const std::string& name, int count) {
        return "0 " + List(R"({"NAME": ")" + name + R"(", "VALUE": ")" + name + R"("})", count);
    }

    // Asks until it is told to stop.
    void KeepAsking(const std::atomic<bool>& isOver, int& right, int& wrong) {
        constexpr int COUNT = 3000;
        const std::string expected = AnswerOf(PARAM, COUNT);
        while (!isOver) {
            ++(AskFor(PARAM, COUNT) == expected ? right : wrong);
        }
    }

    static constexpr const char* PARAM = "Device.Ethernet.Interface.1.Enable";
    static constexpr const char* STARTING = "Device.Ethernet.Interface.1.Start";
    const scripted::THelperScript helper{"exit 0"};
    const std::string maps = helper.Directory().Write("maps.json", MAPS);
    const tZeltoPltFunctionTable entries[2] = {Entry("Device.Ethernet.Interface.{i}.Enable", Get),
                                               Entry("Device.Ethernet.Interface.{i}.Start", GetAndStart)};
    const tZeltoPlatformLibTable table{entries, 2, maps.c_str()};
    const std::unique_ptr<TZeltoIpc> client{newZeltoIpcInstance()};
};

} // namespace

TEST_F(SecondStart, LosesNoRequestThatArrivesMeanwhile) {
    ASSERT_TRUE(BUS_READY);
    constexpr int STARTS = 50;
    std::atomic<bool> isOver{false};
    int right = 0;
    int wrong = 0;
    LogSpy::SetRecording(false); // of millions of lines
    std::thread asking([&] { KeepAsking(isOver, right, wrong); });
    for (int start = 0; start < STARTS; ++start) {
        zeltoPlatformLibInit(&table);
    }
    isOver = true;
    asking.join();
    LogSpy::SetRecording(true);
    EXPECT_EQ(0, wrong);
    EXPECT_LT(0, right);
}

TEST_F(SecondStart, WorksInAHandler) {
    for (int start = 0; start < 3; ++start) {
        EXPECT_EQ(AnswerOf(STARTING, 2), AskFor(STARTING, 2));
        EXPECT_EQ(AnswerOf(PARAM, 1), AskFor(PARAM, 1));
    }
    EXPECT_EQ(0U, LogSpy::Count(3));
}

TEST_F(SecondStart, LeavesNoMoreThreadsThanTheFirst) {
    const std::size_t before = Threads(getpid());
    for (int start = 0; start < 5; ++start) {
        zeltoPlatformLibInit(&table);
        EXPECT_EQ(AnswerOf(STARTING, 1), AskFor(STARTING, 1));
    }
    EXPECT_TRUE(Eventually([before] { return Threads(getpid()) <= before; }))
        << before << " became " << Threads(getpid());
}

// The name cannot be taken without a bus, and the party goes on under the one that it had.
TEST_F(SecondStart, ServesAsBeforeWhenItFails) {
    TZeltoIpc& party = *getZeltoIpcInstance();
    party.Init("ANOTHER_NAME");
    ASSERT_EQ(AnswerOf(PARAM, 1), AskFor(PARAM, 1, "ANOTHER_NAME"));
    TBusEnvironment::Bus().Kill();
    const tZeltoPltFunctionTable later = Entry("Device.WiFi.SSID.{i}.Later", Get);
    const std::string laterMaps = helper.Directory().Write(
        "later.json", R"({"DATA_MODELS": [{"NAME": "Device.WiFi.SSID.", "INDEX_MAP": [{"1": "7"}]}]})");
    const tZeltoPlatformLibTable laterTable{&later, 1, laterMaps.c_str()};
    zeltoPlatformLibInit(&laterTable);
    TBusEnvironment::Bus().Restart();
    EXPECT_TRUE(Eventually([] { return busparty::Answers("ANOTHER_NAME"); }));
    EXPECT_FALSE(busparty::HasOwner("ZELTO_DISPATCHER"));
    // Its tables had changed before.
    const std::unique_ptr<TZeltoIpc> laterClient(newZeltoIpcInstance());
    EXPECT_EQ(AnswerOf("Device.WiFi.SSID.1.Later", 1),
              Ask(*laterClient, "ANOTHER_NAME", List(R"({"NAME": "Device.WiFi.SSID.1.Later"})", 1)));
    EXPECT_EQ("Device.WiFi.SSID.7", DataModelRequestIndexMap["Device.WiFi.SSID.1"]);
    zeltoPlatformLibInit(&table);
    EXPECT_TRUE(busparty::Answers("ZELTO_DISPATCHER"));
}
