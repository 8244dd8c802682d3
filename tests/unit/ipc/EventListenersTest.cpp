#include "PlainIpc.h"

#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <future>
#include <stdexcept>

using namespace plain;

namespace {

// Three listeners in one array: their addresses ascend. Each notes its place when it is called.
class ThreeListeners : public testing::Test {
protected:
    TListener::TReaction Noting(int place) {
        return [this, place](const std::string&, const std::string&) {
            called.push_back(place);
            if (reactions[static_cast<size_t>(place)]) {
                reactions[static_cast<size_t>(place)]();
            }
        };
    }

    void Add(size_t place) { ipc.AddEventLstener("", &listeners[place]); }

    TPlainIpc ipc;
    std::vector<int> called;
    std::array<std::function<void()>, 3> reactions;
    std::array<TListener, 3> listeners{TListener(Noting(0)), TListener(Noting(1)), TListener(Noting(2))};
};

} // namespace

TEST_F(ThreeListeners, AreCalledInAscendingOrderOfTheirAddresses) {
    Add(2);
    Add(0);
    Add(1);
    ipc.OnEvent("E", "");
    EXPECT_EQ((std::vector<int>{0, 1, 2}), called);
}

TEST_F(ThreeListeners, GetEveryEventWhateverNameTheyWereRegisteredUnder) {
    ipc.AddEventLstener("ONE", &listeners[0]);
    ipc.AddEventLstener("OTHER", &listeners[1]);
    ipc.OnEvent("THIRD", "");
    EXPECT_EQ((std::vector<int>{0, 1}), called);
}

TEST_F(ThreeListeners, CountOnceHoweverOftenTheyAreAdded) {
    ipc.AddEventLstener("ONE", &listeners[0]);
    ipc.AddEventLstener("OTHER", &listeners[0]);
    EXPECT_EQ(1, ipc.GetEventListenersNumber());
    ipc.OnEvent("E", "");
    EXPECT_EQ(std::vector<int>{0}, called);
    ipc.RemoveEventLstener(&listeners[0]);
    EXPECT_EQ(0, ipc.GetEventListenersNumber());
}

TEST_F(ThreeListeners, AreCounted) {
    EXPECT_EQ(0, ipc.GetEventListenersNumber());
    Add(0);
    Add(1);
    EXPECT_EQ(2, ipc.GetEventListenersNumber());
}

TEST_F(ThreeListeners, GetNothingAfterTheirRemoval) {
    Add(0);
    Add(1);
    ipc.RemoveEventLstener(&listeners[0]);
    ipc.OnEvent("E", "");
    EXPECT_EQ(std::vector<int>{1}, called);
}

TEST_F(ThreeListeners, MayBeRemovedThoughNeverAdded) {
    Add(0);
    ipc.RemoveEventLstener(&listeners[1]);
    ipc.RemoveEventLstener(nullptr);
    EXPECT_EQ(1, ipc.GetEventListenersNumber());
}

TEST_F(ThreeListeners, MayRemoveThemselvesWhenCalled) {
    reactions[0] = [this] { ipc.RemoveEventLstener(&listeners[0]); };
    Add(0);
    Add(1);
    ipc.OnEvent("E", "");
    ipc.OnEvent("E", "");
    EXPECT_EQ((std::vector<int>{0, 1, 1}), called);
}

TEST_F(ThreeListeners, AreNotCalledOnceAnEarlierOneHasRemovedThem) {
    reactions[0] = [this] { ipc.RemoveEventLstener(&listeners[1]); };
    Add(0);
    Add(1);
    Add(2);
    ipc.OnEvent("E", "");
    EXPECT_EQ((std::vector<int>{0, 2}), called);
}

TEST_F(ThreeListeners, MayAllBeRemovedByOneOfThem) {
    reactions[1] = [this] {
        for (TListener& listener : listeners) {
            ipc.RemoveEventLstener(&listener);
        }
    };
    Add(0);
    Add(1);
    Add(2);
    ipc.OnEvent("E", "");
    EXPECT_EQ((std::vector<int>{0, 1}), called);
    EXPECT_EQ(0, ipc.GetEventListenersNumber());
}

TEST_F(ThreeListeners, MayAddOneThatStillGetsTheEvent) {
    reactions[0] = [this] { Add(1); };
    Add(0);
    ipc.OnEvent("E", "");
    EXPECT_EQ((std::vector<int>{0, 1}), called);
}

TEST_F(ThreeListeners, MayAddOneOfALowerAddressForTheNextEvent) {
    reactions[1] = [this] { Add(0); };
    Add(1);
    ipc.OnEvent("E", "");
    EXPECT_EQ(std::vector<int>{1}, called);
    ipc.OnEvent("E", "");
    EXPECT_EQ((std::vector<int>{1, 0, 1}), called);
}

TEST_F(ThreeListeners, MayRaiseAnotherEventThemselves) {
    reactions[0] = [this] {
        reactions[0] = nullptr;
        ipc.OnEvent("INNER", "");
    };
    Add(0);
    Add(1);
    ipc.OnEvent("OUTER", "");
    EXPECT_EQ((std::vector<int>{0, 0, 1, 1}), called);
}

TEST_F(ThreeListeners, PassTheirExceptionOnAndKeepTheEventFromTheRest) {
    reactions[1] = [] { throw std::domain_error("broken listener"); };
    Add(0);
    Add(1);
    Add(2);
    EXPECT_THROW(ipc.OnEvent("E", ""), std::domain_error);
    EXPECT_EQ((std::vector<int>{0, 1}), called);
}

TEST_F(ThreeListeners, LeaveTheirLockFreeWhenOneThrows) {
    reactions[0] = [] { throw 42; };
    Add(0);
    EXPECT_THROW(ipc.OnEvent("E", ""), int);
    auto other = std::async(std::launch::async, [this] { return ipc.GetEventListenersNumber(); });
    EXPECT_EQ(1, other.get());
}

TEST(EventListener, GetsTheNameAndTheData) {
    TPlainIpc ipc;
    std::vector<std::string> got;
    TListener listener([&](const std::string& name, const std::string& data) { got = {name, data}; });
    ipc.AddEventLstener("", &listener);
    ipc.OnEvent("DATA_MODEL_CHANGED", R"({"NAME": "x"})");
    EXPECT_EQ((std::vector<std::string>{"DATA_MODEL_CHANGED", R"({"NAME": "x"})"}), got);
}

TEST(EventListener, HoldsTheLockOfTheListenersWhileItRuns) {
    TPlainIpc ipc;
    std::promise<void> entered;
    std::promise<void> mayLeave;
    bool left = false;
    TListener listener([&](const std::string&, const std::string&) {
        entered.set_value();
        mayLeave.get_future().wait();
        left = true;
    });
    ipc.AddEventLstener("", &listener);
    auto event = std::async(std::launch::async, [&] { ipc.OnEvent("E", ""); });
    entered.get_future().wait();
    auto removal = std::async(std::launch::async, [&] {
        ipc.RemoveEventLstener(&listener);
        return left;
    });
    EXPECT_EQ(std::future_status::timeout, removal.wait_for(std::chrono::milliseconds(20)));
    mayLeave.set_value();
    event.get();
    EXPECT_TRUE(removal.get());
}

TEST(EventListener, IsNotDeletedWithTheTransport) {
    int calls = 0;
    TListener listener([&](const std::string&, const std::string&) { ++calls; });
    {
        TPlainIpc ipc;
        ipc.AddEventLstener("", &listener);
    }
    listener.OnEvent("E", "");
    EXPECT_EQ(1, calls);
}

TEST(OnEvent, LogsTheNameAndTheDataBeforeAnyListenerRuns) {
    TPlainIpc ipc;
    bool wasLogged = false;
    TListener listener([&](const std::string&, const std::string&) {
        wasLogged = LogSpy::Contains(7, R"("'NAME' - 'data with %s and %n'")");
    });
    ipc.AddEventLstener("", &listener);
    ipc.OnEvent("NAME", "data with %s and %n");
    EXPECT_TRUE(wasLogged);
    EXPECT_EQ(1U, LogSpy::Messages().size());
}

TEST(OnEvent, ReachesTheListenersThroughTheListenerInterface) {
    TPlainIpc ipc;
    int calls = 0;
    TListener listener([&](const std::string&, const std::string&) { ++calls; });
    ipc.AddEventLstener("", &listener);
    IZeltoIpcEventListener& asListener = ipc;
    asListener.OnEvent("E", "");
    EXPECT_EQ(1, calls);
}
