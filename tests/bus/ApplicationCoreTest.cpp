// The application as a party on the bus: its name, its answer to "IS_APP_ACTIVE", and events.
#include "bus/ScriptedManager.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <condition_variable>
#include <tuple>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

using testing::ElementsAre;

class ApplicationCore : public support::ManagedApplication {
protected:
    static constexpr const char* BUS_NAME = "com.Ulmet.Zelto.APP_UNDER_TEST";

    support::TRawPeer::TTarget Target(const std::string& method) const {
        return {BUS_NAME, "/com/Ulmet/Zelto/APP_UNDER_TEST", "com.Ulmet.Zelto.Zelto", method};
    }
};

// The bus tells a party of its name in its own time: nothing but events may have been logged.
bool HasOnlyHeardEvents() {
    const auto messages = LogSpy::Messages();
    return std::all_of(messages.begin(), messages.end(),
                       [](const LogSpy::TMessage& message) { return message.format == "\"'%s' - '%s'\""; });
}

TEST_F(ApplicationCore, OwnsTheNameOfItsIdentity) {
    EXPECT_TRUE(manager.Peer().HasOwner(BUS_NAME));
}

TEST_F(ApplicationCore, IgnoresASecondInitialize) {
    app.Initialize("ANOTHER_NAME");
    app.Initialize(ZELTO_KESTA);
    EXPECT_TRUE(manager.Peer().HasOwner(BUS_NAME));
    EXPECT_FALSE(manager.Peer().HasOwner("com.Ulmet.Zelto.ANOTHER_NAME"));
    EXPECT_FALSE(manager.Peer().HasOwner("com.Ulmet.Zelto.ZELTO_KESTA"));
    EXPECT_TRUE(HasOnlyHeardEvents()) << LogSpy::Dump();
}

TEST_F(ApplicationCore, AnswersThatItIsActive) {
    const auto answer = manager.Peer().Call(Target("IS_APP_ACTIVE"), {std::string()});
    ASSERT_TRUE(answer.has_value());
    EXPECT_TRUE(answer->IsReturn());
    EXPECT_EQ(answer->signature, "si");
    EXPECT_EQ(answer->Text(0), "");
    EXPECT_EQ(answer->Int(1), 0);
}

TEST_F(ApplicationCore, RefusesOtherMethods) {
    const auto answer = manager.Peer().Call(Target("GET_PARAM"), {std::string("{}")});
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->Int(1), -1);
}

class IsAppActive : public ApplicationCore {
protected:
    IsAppActive() : other(support::TBusEnvironment::Bus().Address()) {
        other.OwnName("com.Ulmet.Zelto.ZELTO_KESTA");
    }
    void AnswerWith(int32_t code) {
        other.ServeWith([code](const support::TRawMessage&) {
            return support::TRawArguments{std::string(), code};
        });
    }

    support::TRawPeer other;
    bool isActive = false;
};

TEST_F(IsAppActive, AsksThePartyItselfWithAnEmptyText) {
    AnswerWith(0);
    EXPECT_EQ(app.IsAppActive(ZELTO_KESTA, isActive), 0);
    EXPECT_TRUE(isActive);
    const auto calls = other.Received(&support::TRawMessage::IsCall);
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].member, "IS_APP_ACTIVE");
    EXPECT_EQ(calls[0].path, "/com/Ulmet/Zelto/ZELTO_KESTA");
    EXPECT_EQ(calls[0].signature, "s");
    EXPECT_EQ(calls[0].Text(0), "");
    EXPECT_EQ(manager.Requests(), "");
}

TEST_F(IsAppActive, TakesAnyOtherCodeForNotActive) {
    for (const int32_t code : {-1, 1, 3}) {
        AnswerWith(code);
        isActive = true;
        EXPECT_EQ(app.IsAppActive(ZELTO_KESTA, isActive), -1);
        EXPECT_FALSE(isActive);
    }
}

TEST_F(IsAppActive, TakesAnAbsentPartyForNotActive) {
    isActive = true;
    EXPECT_EQ(app.IsAppActive(ZELTO_LUMEN, isActive), -1);
    EXPECT_FALSE(isActive);
}

TEST_F(IsAppActive,
       GivesUpOnAPartyThatDoesNotAnswer) { // after one second, not after the sixty of other calls
    isActive = true;
    EXPECT_EQ(app.IsAppActive(ZELTO_KESTA, isActive), -1);
    EXPECT_FALSE(isActive);
}

TEST_F(IsAppActive, AsksNobodyForAnIdentifierWithoutAText) {
    isActive = true;
    EXPECT_EQ(app.IsAppActive(static_cast<tZeltoClientId>(5), isActive), -1);
    EXPECT_TRUE(isActive);
    EXPECT_TRUE(HasOnlyHeardEvents()) << LogSpy::Dump();
}

// Writes each event as one line.
class TEventLog : public IZeltoCpeClientStateObserver,
                  public IZeltoDataModelChangeObserver,
                  public IZeltoAppStateObserver {
public:
    void OnCpeClientStateChanged(TZeltoCpeClientState state, const std::string& macAddress,
                                 const std::string& hostName) override {
        Add("client " + std::to_string(state) + " " + macAddress + " " + hostName);
    }
    void OnDataModelChanged(const std::string& name, const std::string& value) override {
        Add("model " + name + " " + value);
    }
    void OnAppStateChanged(TZeltoAppState state, const std::string& appName) override {
        Add("app " + std::to_string(state) + " " + appName);
    }

    std::vector<std::string> WaitForLines(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait_for(lock, support::DEFAULT_TIMEOUT, [&] { return lines.size() >= count; });
        return lines;
    }

private:
    void Add(const std::string& line) {
        const std::lock_guard<std::mutex> lock(mutex);
        lines.push_back(line);
        changed.notify_all();
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> lines;
};

class ApplicationEvents : public ApplicationCore {
protected:
    ApplicationEvents() {
        app.AddCpeClientStateObserver(&log);
        app.AddDataModelChangeObserver(&log);
        app.AddAppStateChangeObserver(&log);
    }
    ~ApplicationEvents() override {
        app.RemoveCpeClientStateObserver(&log);
        app.RemoveDataModelChangeObserver(&log);
        app.RemoveAppStateChangeObserver(&log);
    }

    TEventLog log;
};

TEST_F(ApplicationEvents, ReachTheObserversInOrder) {
    manager.SendEvent("CLIENT_DISCONNECTED", R"({"HOST_NAME": "pc", "MAC_ADDRESS": "aa:bb"})");
    manager.SendEvent("UNKNOWN_EVENT", "{}");
    manager.SendEvent("DATA_MODEL_CHANGED", R"({"DATA_MODEL_NAME": "Device.A"})");
    manager.SendEvent("APP_CONNECTED", "ZELTO_KESTA");
    EXPECT_THAT(log.WaitForLines(3),
                ElementsAre("client 2 aa:bb pc", "model Device.A ", "app 0 ZELTO_KESTA"));
}

TEST_F(ApplicationEvents, WithBadDataDoNotStopTheNextOnes) {
    manager.SendEvent("DATA_MODEL_CHANGED", "not json");
    manager.SendEvent("CLIENT_CONNECTED", "[[[[");
    manager.SendEvent("DATA_MODEL_CHANGED", R"({"DATA_MODEL_NAME": "Device.A", "DATA_MODEL_VALUE": "1"})");
    EXPECT_THAT(log.WaitForLines(3), ElementsAre("model  ", "client 0  ", "model Device.A 1"));
}

TEST_F(ApplicationEvents, LetAnObserverMakeARequest) {
    class TAsking : public IZeltoDataModelChangeObserver {
    public:
        explicit TAsking(TZeltoApplication& askedApplication) : app(askedApplication) {
            app.AddDataModelChangeObserver(this);
        }
        ~TAsking() override { app.RemoveDataModelChangeObserver(this); }
        void OnDataModelChanged(const std::string& name, const std::string& /*value*/) override {
            std::string value;
            const int rc = app.GetParam(name, value);
            const std::lock_guard<std::mutex> lock(mutex);
            answer = std::to_string(rc) + " " + value;
            changed.notify_all();
        }
        std::string WaitForAnswer() {
            std::unique_lock<std::mutex> lock(mutex);
            changed.wait_for(lock, support::DEFAULT_TIMEOUT, [this] { return !answer.empty(); });
            return answer;
        }

    private:
        TZeltoApplication& app;
        std::mutex mutex;
        std::condition_variable changed;
        std::string answer;
    };
    manager.Answer(R"({"PARAMS": [{"NAME": "Device.A", "VALUE": "1"}]})");
    TAsking asking(app);
    manager.SendEvent("DATA_MODEL_CHANGED", R"({"DATA_MODEL_NAME": "Device.A"})");
    EXPECT_EQ(asking.WaitForAnswer(), "0 1");
}

} // namespace
