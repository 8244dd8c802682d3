// Events from the bus to the callbacks of a C program.
#include "capi/CannedManager.h"
#include "capi/EventRecorder.h"

#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

std::mutex mutex;
std::condition_variable arrived;
std::vector<std::string> events;

void Keep(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex);
    events.push_back(text);
    arrived.notify_all();
}

void OnState(int state, const char* mac, const char* host) {
    Keep("state " + std::to_string(state) + " " + mac + " " + host);
}

void OnChange(const char* name, const char* value) {
    Keep(std::string("change ") + name + " " + value);
}

class Events : public capi::TWithManager {
protected:
    Events() {
        events.clear();
        zeltoAppLibSubscribe(OnState, OnChange);
    }
    ~Events() override {
        zeltoAppLibUnsubscribe();
        zeltoAppLibTerm();
    }

    // The event after which everything sent before has been delivered.
    std::vector<std::string> Delivered() {
        manager.SendEvent("DATA_MODEL_CHANGED", R"({"DATA_MODEL_NAME": "LAST"})");
        std::unique_lock<std::mutex> lock(mutex);
        const bool came = arrived.wait_for(lock, support::DEFAULT_TIMEOUT,
                                           [] { return !events.empty() && events.back() == "change LAST "; });
        EXPECT_TRUE(came);
        std::vector<std::string> delivered = events;
        delivered.pop_back();
        return delivered;
    }
};

TEST_F(Events, ReachTheCallbacksWithTheMacAddressFirst) {
    const char* const body = R"({"HOST_NAME": "pc", "MAC_ADDRESS": "aa:bb"})";
    for (const char* const name : {"CLIENT_CONNECTED", "CLIENT_RECONNECTED", "CLIENT_DISCONNECTED",
                                   "CLIENT_UNAUTH_ATTEMPT", "CLIENT_BLOCKED_ATTEMPT"}) {
        manager.SendEvent(name, body);
    }
    const std::vector<std::string> expected = {"state 0 aa:bb pc", "state 1 aa:bb pc", "state 2 aa:bb pc",
                                               "state 3 aa:bb pc", "state 4 aa:bb pc"};
    EXPECT_EQ(Delivered(), expected);
}

TEST_F(Events, WithoutTextsGiveEmptyOnes) {
    manager.SendEvent("CLIENT_CONNECTED", "{}");
    manager.SendEvent("DATA_MODEL_CHANGED", "no JSON");
    manager.SendEvent("DATA_MODEL_CHANGED", R"({"DATA_MODEL_NAME": 7, "DATA_MODEL_VALUE": null})");
    const std::vector<std::string> expected = {"state 0  ", "change  ", "change  "};
    EXPECT_EQ(Delivered(), expected);
}

TEST_F(Events, OfUnknownNamesReachNoCallback) {
    manager.SendEvent("CLIENT_UNKNOWN", "{}");
    manager.SendEvent("APP_CONNECTED", "ZELTO_KESTA");
    EXPECT_TRUE(Delivered().empty());
}

TEST(EventsUnderWay, MeetNothingThatIsGoneWhenMainReturns) {
    for (const char* const busy : {"observer", "listener"}) {
        const support::TRunResult run = support::RunProgram({EXIT_DURING_EVENTS_PATH, busy});
#ifdef ZELTO_EMULATED
        if (run.exitCode == 77) {
            GTEST_SKIP() << "an emulator has an order of addresses of its own";
        }
#endif
        EXPECT_EQ(run.exitCode, 0) << busy << ": " << run.errors;
    }
}

} // namespace
