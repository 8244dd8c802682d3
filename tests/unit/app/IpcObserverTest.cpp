// What each event becomes. No bus is needed: the listener is called as the transport calls it.
#include "app/IpcObserver.h"

#include "zelto/TZeltoApplication.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class IpcObserver : public testing::Test,
                    private IZeltoCpeClientStateObserver,
                    private IZeltoDataModelChangeObserver,
                    private IZeltoAppStateObserver {
protected:
    IpcObserver() : app(TZeltoApplication::GetInstance()), listener(&app) {
        app.AddCpeClientStateObserver(this);
        app.AddDataModelChangeObserver(this);
        app.AddAppStateChangeObserver(this);
    }
    ~IpcObserver() override {
        app.RemoveCpeClientStateObserver(this);
        app.RemoveDataModelChangeObserver(this);
        app.RemoveAppStateChangeObserver(this);
    }

    void ExpectNothing() const {
        EXPECT_THAT(clients, IsEmpty());
        EXPECT_THAT(changes, IsEmpty());
        EXPECT_THAT(applications, IsEmpty());
    }

    TZeltoApplication& app;
    TZeltoIpcObserver listener;
    std::vector<std::tuple<int, std::string, std::string>> clients;
    std::vector<std::pair<std::string, std::string>> changes;
    std::vector<std::pair<int, std::string>> applications;
    bool refuse = false;

private:
    void OnCpeClientStateChanged(TZeltoCpeClientState state, const std::string& macAddress,
                                 const std::string& hostName) override {
        clients.emplace_back(state, macAddress, hostName);
    }
    void OnDataModelChanged(const std::string& name, const std::string& value) override {
        changes.emplace_back(name, value);
        if (refuse) {
            throw std::runtime_error("refused");
        }
    }
    void OnAppStateChanged(TZeltoAppState state, const std::string& appName) override {
        applications.emplace_back(state, appName);
    }
};

TEST_F(IpcObserver, GivesTheMacAddressBeforeTheHostName) {
    listener.OnEvent("CLIENT_DISCONNECTED", R"({"HOST_NAME": "pc", "MAC_ADDRESS": "aa:bb"})");
    EXPECT_THAT(clients, ElementsAre(std::make_tuple(2, "aa:bb", "pc")));
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(IpcObserver, KnowsTheFiveClientEvents) {
    for (const char* name : {"CLIENT_CONNECTED", "CLIENT_RECONNECTED", "CLIENT_DISCONNECTED",
                             "CLIENT_UNAUTH_ATTEMPT", "CLIENT_BLOCKED_ATTEMPT"}) {
        listener.OnEvent(name, "{}");
    }
    EXPECT_THAT(clients, ElementsAre(std::make_tuple(0, "", ""), std::make_tuple(1, "", ""),
                                     std::make_tuple(2, "", ""), std::make_tuple(3, "", ""),
                                     std::make_tuple(4, "", "")));
}

TEST_F(IpcObserver, GivesTheNameOfAChangedParameterBeforeItsValue) {
    listener.OnEvent("DATA_MODEL_CHANGED", R"({"DATA_MODEL_VALUE": "1", "DATA_MODEL_NAME": "Device.A"})");
    EXPECT_THAT(changes, ElementsAre(std::make_pair("Device.A", "1")));
}

TEST_F(IpcObserver, ReadsAMissingValueAsTheEmptyText) {
    listener.OnEvent("DATA_MODEL_CHANGED", R"({"DATA_MODEL_NAME": "Device.A"})");
    EXPECT_THAT(changes, ElementsAre(std::make_pair("Device.A", "")));
}

TEST_F(IpcObserver, ReadsAValueOfAnotherKindAsTheEmptyText) {
    listener.OnEvent("DATA_MODEL_CHANGED", R"({"DATA_MODEL_NAME": ["Device.A"], "DATA_MODEL_VALUE": 5})");
    EXPECT_THAT(changes, ElementsAre(std::make_pair("", "")));
}

TEST_F(IpcObserver, ReadsAPayloadThatIsNoJsonAsEmpty) {
    for (const char* payload : {"", "not json", "[1]", "7", "{\"DATA_MODEL_NAME\": \"Dev"}) {
        listener.OnEvent("DATA_MODEL_CHANGED", payload);
    }
    EXPECT_THAT(changes, testing::SizeIs(5));
    EXPECT_THAT(changes, testing::Each(std::make_pair("", "")));
}

TEST_F(IpcObserver, PassesThePayloadOfPresenceEventsOnAsItIs) {
    listener.OnEvent("APP_CONNECTED", "ZELTO_KESTA");
    listener.OnEvent("APP_DISCONNECTED", "{\"NAME\": 1");
    EXPECT_THAT(applications,
                ElementsAre(std::make_pair(0, "ZELTO_KESTA"), std::make_pair(1, "{\"NAME\": 1")));
    EXPECT_THAT(clients, IsEmpty());
}

TEST_F(IpcObserver, IgnoresOtherEvents) {
    for (const char* name : {"", "NameAcquired", "client_connected", "CLIENT_CONNECTED ", "IS_APP_ACTIVE"}) {
        listener.OnEvent(name, R"({"MAC_ADDRESS": "aa:bb"})");
    }
    ExpectNothing();
}

TEST_F(IpcObserver, LetsAnExceptionOfAnObserverPass) {
    refuse = true;
    EXPECT_THROW(listener.OnEvent("DATA_MODEL_CHANGED", "{}"), std::runtime_error);
}

} // namespace
