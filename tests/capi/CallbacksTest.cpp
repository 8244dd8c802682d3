// The callbacks of the C interface, with events notified by hand: no bus is needed, and there is none.
#include "capi/EventRecorder.h"

#include "support/Eventually.h"
#include "support/LogSpy.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/ZeltoAppLib.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using TState = IZeltoCpeClientStateObserver::TZeltoCpeClientState;

void NotifyState(int state, const std::string& mac = "aa:bb", const std::string& host = "pc") {
    TZeltoApplication::GetInstance().NotifyCpeClientStateObservers(static_cast<TState>(state), mac, host);
}

void NotifyChange(const std::string& name = "Device.A", const std::string& value = "1") {
    TZeltoApplication::GetInstance().NotifyDataModelChangeObservers(name, value);
}

class Callbacks : public testing::Test {
protected:
    void SetUp() override {
        zeltoAppLibInitWithString("CALLBACKS_TEST"); // finds no bus, which does not matter here
        ClearRecorded();
    }

    void TearDown() override {
        zeltoAppLibTerm();
        zeltoAppLibUnsubscribe();
    }
};

TEST_F(Callbacks, GetEachOfTheFiveClientStates) {
    zeltoAppLibSubscribe(RecordClientState, RecordDataModelChange);
    for (int state = CLIENT_CONNECTED; state <= CLIENT_BLOCKED_ATTEMPT; ++state) {
        NotifyState(state);
        ASSERT_EQ(recordedCount, state + 1);
        EXPECT_EQ(recordedEvents[state].state, state);
        EXPECT_STREQ(recordedEvents[state].first, "aa:bb");
        EXPECT_STREQ(recordedEvents[state].second, "pc");
    }
}

TEST_F(Callbacks, GetNoStateOutsideTheFive) {
    zeltoAppLibSubscribe(RecordClientState, RecordDataModelChange);
    for (const int state : {-1, 5, 6, 1000}) {
        NotifyState(state);
    }
    EXPECT_EQ(recordedCount, 0);
}

TEST_F(Callbacks, GetNameAndValueOfAChange) {
    zeltoAppLibSubscribe(RecordClientState, RecordDataModelChange);
    NotifyChange("Device.WiFi.SSID.1.SSID", "home");
    ASSERT_EQ(recordedCount, 1);
    EXPECT_EQ(recordedEvents[0].state, -1);
    EXPECT_STREQ(recordedEvents[0].first, "Device.WiFi.SSID.1.SSID");
    EXPECT_STREQ(recordedEvents[0].second, "home");
}

TEST_F(Callbacks, GetEmptyTextsAndNotNull) {
    zeltoAppLibSubscribe(RecordClientState, RecordDataModelChange);
    NotifyState(CLIENT_CONNECTED, "", "");
    NotifyChange("", "");
    ASSERT_EQ(recordedCount, 2);
    EXPECT_STREQ(recordedEvents[0].first, "");
    EXPECT_STREQ(recordedEvents[1].second, "");
}

TEST_F(Callbacks, AreNotCalledBeforeTheyAreSubscribed) {
    NotifyState(CLIENT_CONNECTED);
    NotifyChange();
    EXPECT_EQ(recordedCount, 0);
}

TEST_F(Callbacks, GetOnlyChangesWhenTheOtherIsNull) {
    zeltoAppLibSubscribe(nullptr, RecordDataModelChange);
    NotifyState(CLIENT_CONNECTED);
    NotifyChange();
    ASSERT_EQ(recordedCount, 1);
    EXPECT_EQ(recordedEvents[0].state, -1);
}

TEST_F(Callbacks, GetOnlyStatesWhenTheOtherIsNull) {
    zeltoAppLibSubscribe(RecordClientState, nullptr);
    NotifyState(CLIENT_CONNECTED);
    NotifyChange();
    ASSERT_EQ(recordedCount, 1);
    EXPECT_EQ(recordedEvents[0].state, CLIENT_CONNECTED);
}

TEST_F(Callbacks, AreNotCalledAfterUnsubscribe) {
    zeltoAppLibSubscribe(RecordClientState, RecordDataModelChange);
    zeltoAppLibUnsubscribe();
    NotifyState(CLIENT_CONNECTED);
    NotifyChange();
    EXPECT_EQ(recordedCount, 0);
}

TEST_F(Callbacks, StayStoredOverTermAndComeBackWithInit) {
    zeltoAppLibSubscribe(RecordClientState, RecordDataModelChange);
    zeltoAppLibTerm();
    NotifyState(CLIENT_CONNECTED);
    NotifyChange();
    EXPECT_EQ(recordedCount, 0);
    zeltoAppLibInitWithString("CALLBACKS_TEST");
    NotifyState(CLIENT_CONNECTED);
    NotifyChange();
    EXPECT_EQ(recordedCount, 2);
}

TEST_F(Callbacks, MayBeSubscribedBeforeInit) {
    zeltoAppLibTerm();
    zeltoAppLibSubscribe(RecordClientState, RecordDataModelChange);
    zeltoAppLibInitWithString("CALLBACKS_TEST");
    NotifyChange();
    EXPECT_EQ(recordedCount, 1);
}

TEST_F(Callbacks, GetAnEventOnceHoweverOftenInitIsCalled) {
    zeltoAppLibInitWithString("CALLBACKS_TEST");
    zeltoAppLibInitWithString("CALLBACKS_TEST");
    zeltoAppLibSubscribe(RecordClientState, RecordDataModelChange);
    NotifyState(CLIENT_CONNECTED);
    NotifyChange();
    EXPECT_EQ(recordedCount, 2);
}

TEST_F(Callbacks, MayUnsubscribeThemselves) {
    zeltoAppLibSubscribe(nullptr, RecordAndUnsubscribe);
    NotifyChange();
    NotifyChange();
    EXPECT_EQ(recordedCount, 1);
}

TEST_F(Callbacks, MaySubscribeOthers) {
    zeltoAppLibSubscribe(nullptr, RecordAndSubscribeClientState);
    NotifyChange();
    NotifyChange();
    NotifyState(CLIENT_BLOCKED_ATTEMPT);
    ASSERT_EQ(recordedCount, 2);
    EXPECT_EQ(recordedEvents[1].state, CLIENT_BLOCKED_ATTEMPT);
}

TEST_F(Callbacks, MayDetachTheLibrary) {
    zeltoAppLibSubscribe(nullptr, [](const char*, const char*) {
        ++recordedCount;
        zeltoAppLibTerm();
    });
    NotifyChange();
    NotifyChange();
    EXPECT_EQ(recordedCount, 1);
}

TEST_F(Callbacks, LeaveNoLockBehindWhenTheyThrow) {
    zeltoAppLibSubscribe([](int, const char*, const char*) { throw std::domain_error("state"); },
                         [](const char*, const char*) { throw std::domain_error("change"); });
    EXPECT_THROW(NotifyState(CLIENT_CONNECTED), std::domain_error);
    EXPECT_THROW(NotifyChange(), std::domain_error);
    auto other = std::async(std::launch::async, zeltoAppLibUnsubscribe);
    ASSERT_EQ(other.wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

std::promise<void>* entered = nullptr;
std::atomic<bool> left{false};

TEST_F(Callbacks, HaveReturnedWhenUnsubscribeOrTermReturns) {
    for (void (*const end)() : {zeltoAppLibUnsubscribe, zeltoAppLibTerm}) {
        std::promise<void> enteredPromise;
        entered = &enteredPromise;
        left = false;
        zeltoAppLibSubscribe(nullptr, [](const char*, const char*) {
            entered->set_value();
            // Long enough for a call that does not wait to overtake it.
            for (int turn = 0; turn < 1000; ++turn) {
                std::this_thread::yield();
            }
            left = true;
        });
        std::thread deliverer([] { NotifyChange(); });
        enteredPromise.get_future().wait();
        end();
        EXPECT_TRUE(left);
        deliverer.join();
    }
}

std::atomic<int> inside{0};
std::atomic<int> overlaps{0};
std::atomic<int> deliveries{0};
std::atomic<int> generation{0};
std::atomic<int> stale{0};

template <int Generation>
void CountDelivery(const char*, const char*) {
    overlaps += inside.fetch_add(1) != 0 ? 1 : 0;
    stale += generation != Generation ? 1 : 0;
    ++deliveries;
    --inside;
}

TEST_F(Callbacks, AreReplacedSafelyWhileEventsComeIn) {
    constexpr int DELIVERERS = 4;
    constexpr int ROUNDS = 2000;
    std::atomic<bool> stop{false};
    deliveries = 0;
    std::vector<std::thread> deliverers;
    for (int i = 0; i < DELIVERERS; ++i) {
        deliverers.emplace_back([&stop] {
            while (!stop) {
                NotifyChange();
            }
        });
    }
    for (int round = 0; round < ROUNDS; ++round) {
        zeltoAppLibUnsubscribe();
        generation = round % 2;
        zeltoAppLibSubscribe(nullptr, round % 2 == 0 ? CountDelivery<0> : CountDelivery<1>);
    }
    EXPECT_TRUE(support::Eventually([] { return deliveries > 0; }));
    stop = true;
    for (std::thread& deliverer : deliverers) {
        deliverer.join();
    }
    EXPECT_EQ(overlaps, 0);
    EXPECT_EQ(stale, 0);
}

TEST_F(Callbacks, AreAttachedEvenWhenTheNameIsNull) {
    zeltoAppLibTerm();
    zeltoAppLibSubscribe(RecordClientState, RecordDataModelChange);
    try {
        zeltoAppLibInitWithString(nullptr);
        FAIL() << "a null name was taken";
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), "basic_string::_M_construct null not valid");
    }
    NotifyState(CLIENT_CONNECTED);
    NotifyChange();
    EXPECT_EQ(recordedCount, 2);
}

// No initialisation succeeds in this process, and it is what says who answers the requests.
TEST(CallsBeforeInit, FailAndAreLogged) {
    tZeltoLongParamRequest longParam = {};
    tZeltoParamRequest param = {};
    EXPECT_EQ(zeltoAppLibGetLongParam(&longParam), ZELTO_APP_FAILED);
    EXPECT_TRUE(LogSpy::Contains(3, "\"No server ID provided for 'GET_LONG_PARAM' method!\""));
    EXPECT_EQ(zeltoAppLibGetParam(&param), ZELTO_APP_FAILED);
    EXPECT_TRUE(LogSpy::Contains(3, "\"No server ID provided for 'GET_PARAM' method!\""));
    EXPECT_EQ(longParam.value, nullptr);
    EXPECT_FALSE(param.isArray);
}

// Initialisation succeeds once in a process, so these two have a process each.

// The emulator cannot start its program anew, and nothing has started a thread yet.
#ifdef ZELTO_EMULATED
constexpr char DEATH_TEST_STYLE[] = "fast";
#else
constexpr char DEATH_TEST_STYLE[] = "threadsafe";
#endif

TEST(InitDeathTest, TakesTheEmptyNameForANumberWithoutAText) {
    GTEST_FLAG_SET(death_test_style, DEATH_TEST_STYLE);
    EXPECT_EXIT(
        {
            zeltoAppLibInit(static_cast<tZeltoClientId>(5));
            std::exit(LogSpy::Contains(5, "\"The same ID (), do nothing.\"") ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(InitDeathTest, TakesTheTextOfANumber) {
    GTEST_FLAG_SET(death_test_style, DEATH_TEST_STYLE);
    EXPECT_EXIT(
        {
            zeltoAppLibInit(ZELTO_KESTA);
            std::exit(LogSpy::Contains(7, "\"ZELTO_KESTA\"") && LogSpy::Count(3) > 0 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
