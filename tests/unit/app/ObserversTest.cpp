// The three observer sets of the application. No bus is needed.
#include "zelto/TZeltoApplication.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>
#include <tuple>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TZeltoApplication& App() {
    return TZeltoApplication::GetInstance();
}

class TClientObserver : public IZeltoCpeClientStateObserver {
public:
    void OnCpeClientStateChanged(TZeltoCpeClientState state, const std::string& macAddress,
                                 const std::string& hostName) override {
        calls.emplace_back(state, macAddress, hostName);
    }
    std::vector<std::tuple<int, std::string, std::string>> calls;
};

class TModelObserver : public IZeltoDataModelChangeObserver {
public:
    TModelObserver() { App().AddDataModelChangeObserver(this); }
    ~TModelObserver() override { App().RemoveDataModelChangeObserver(this); }
    void OnDataModelChanged(const std::string& name, const std::string& value) override {
        calls.emplace_back(name, value);
        if (onCall) {
            onCall();
        }
    }
    std::vector<std::pair<std::string, std::string>> calls;
    std::function<void()> onCall;
};

class TStateObserver : public IZeltoAppStateObserver {
public:
    void OnAppStateChanged(TZeltoAppState state, const std::string& appName) override {
        calls.emplace_back(state, appName);
    }
    std::vector<std::pair<int, std::string>> calls;
};

TEST(Observers, OfClientStatesGetTheArgumentsUnchanged) {
    TClientObserver observer;
    App().AddCpeClientStateObserver(&observer);
    App().NotifyCpeClientStateObservers(IZeltoCpeClientStateObserver::STATE_DISCONNECTED, "aa:bb", "pc");
    App().RemoveCpeClientStateObserver(&observer);
    EXPECT_THAT(observer.calls, ElementsAre(std::make_tuple(2, "aa:bb", "pc")));
}

TEST(Observers, OfApplicationStatesGetTheArgumentsUnchanged) {
    TStateObserver observer;
    App().AddAppStateChangeObserver(&observer);
    App().NotifyAppStateChangeObservers(IZeltoAppStateObserver::APP_DISCONNECTED, "ZELTO_KESTA");
    App().RemoveAppStateChangeObserver(&observer);
    EXPECT_THAT(observer.calls, ElementsAre(std::make_pair(1, "ZELTO_KESTA")));
}

TEST(Observers, OfTheDataModelGetTheArgumentsUnchanged) {
    TModelObserver observer;
    App().NotifyDataModelChangeObservers("Device.A", "1");
    EXPECT_THAT(observer.calls, ElementsAre(std::make_pair("Device.A", "1")));
}

TEST(Observers, AreCalledOnceHoweverOftenTheyWereAdded) {
    TModelObserver observer;
    App().AddDataModelChangeObserver(&observer);
    App().NotifyDataModelChangeObservers("Device.A", "1");
    EXPECT_EQ(observer.calls.size(), 1U);
}

TEST(Observers, AddedTwiceAndRemovedOnceAreGone) {
    TClientObserver client;
    App().AddCpeClientStateObserver(&client);
    App().AddCpeClientStateObserver(&client);
    App().RemoveCpeClientStateObserver(&client);
    App().NotifyCpeClientStateObservers(IZeltoCpeClientStateObserver::STATE_CONNECTED, "", "");
    EXPECT_THAT(client.calls, IsEmpty());

    TStateObserver state;
    App().AddAppStateChangeObserver(&state);
    App().AddAppStateChangeObserver(&state);
    App().RemoveAppStateChangeObserver(&state);
    App().NotifyAppStateChangeObservers(IZeltoAppStateObserver::APP_CONNECTED, "");
    EXPECT_THAT(state.calls, IsEmpty());
}

TEST(Observers, ThatWereNeverAddedMayBeRemoved) {
    TModelObserver observer;
    TClientObserver absent;
    App().RemoveCpeClientStateObserver(&absent);
    App().RemoveDataModelChangeObserver(nullptr);
    App().NotifyDataModelChangeObservers("Device.A", "1");
    EXPECT_EQ(observer.calls.size(), 1U);
}

TEST(Observers, AreCalledInAscendingOrderOfTheirAddresses) {
    TModelObserver observers[3];
    std::vector<const TModelObserver*> order;
    for (TModelObserver& observer : observers) {
        App().RemoveDataModelChangeObserver(&observer);
        observer.onCall = [&order, &observer] { order.push_back(&observer); };
    }
    for (const int index : {1, 2, 0}) {
        App().AddDataModelChangeObserver(&observers[index]);
    }
    App().NotifyDataModelChangeObservers("Device.A", "1");
    EXPECT_THAT(order, ElementsAre(&observers[0], &observers[1], &observers[2]));
}

TEST(Observers, MayHoldANullThatIsNotCalled) {
    App().AddDataModelChangeObserver(nullptr);
    TModelObserver observer;
    App().NotifyDataModelChangeObservers("Device.A", "1");
    App().RemoveDataModelChangeObserver(nullptr);
    EXPECT_EQ(observer.calls.size(), 1U);
}

TEST(Observers, MayAddOthersWhileTheyAreCalled) {
    TModelObserver observers[2]; // the second has the higher address and so is still reached
    App().RemoveDataModelChangeObserver(&observers[1]);
    observers[0].onCall = [&] { App().AddDataModelChangeObserver(&observers[1]); };
    App().NotifyDataModelChangeObservers("Device.A", "1");
    EXPECT_EQ(observers[1].calls.size(), 1U);
}

TEST(Observers, MayRemoveThemselvesWhileTheyAreCalled) {
    TModelObserver observers[2];
    observers[0].onCall = [&] { App().RemoveDataModelChangeObserver(&observers[0]); };
    App().NotifyDataModelChangeObservers("Device.A", "1");
    App().NotifyDataModelChangeObservers("Device.A", "2");
    EXPECT_EQ(observers[0].calls.size(), 1U);
    EXPECT_EQ(observers[1].calls.size(), 2U);
}

TEST(Observers, MayRemoveTheOnesAfterThem) {
    TModelObserver observers[3];
    observers[0].onCall = [&] { App().RemoveDataModelChangeObserver(&observers[1]); };
    App().NotifyDataModelChangeObservers("Device.A", "1");
    EXPECT_THAT(observers[1].calls, IsEmpty());
    EXPECT_EQ(observers[2].calls.size(), 1U);
}

TEST(Observers, ThatThrowKeepTheOthersFromBeingCalledAndReleaseTheLock) {
    TModelObserver observers[2];
    observers[0].onCall = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(App().NotifyDataModelChangeObservers("Device.A", "1"), std::runtime_error);
    EXPECT_THAT(observers[1].calls, IsEmpty());
    std::thread other(
        [&] { App().RemoveDataModelChangeObserver(&observers[0]); }); // waits for ever otherwise
    other.join();
}

TEST(Observers, AreNotCalledOnceRemovingHasReturned) {
    TModelObserver observer;
    std::atomic<bool> removed{false};
    std::atomic<bool> running{false};
    std::atomic<bool> calledAfterwards{false};
    observer.onCall = [&] {
        running = true;
        calledAfterwards = calledAfterwards || removed;
    };
    std::atomic<bool> stop{false};
    std::thread notifier([&] {
        while (!stop) {
            App().NotifyDataModelChangeObservers("Device.A", "1");
        }
    });
    while (!running) {
        std::this_thread::yield();
    }
    App().RemoveDataModelChangeObserver(&observer);
    removed = true;
    App().NotifyDataModelChangeObservers("Device.A", "1");
    stop = true;
    notifier.join();
    EXPECT_FALSE(calledAfterwards);
}

} // namespace
