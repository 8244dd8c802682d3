// A bus that does not read, as one does that waits for a slow subscriber, holds nobody up without a limit.

#include "BusParty.h"

#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <stdexcept>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

// Less than libdbus would wait.
constexpr std::chrono::seconds BOUND{10};
// More than a socket takes and more than may wait to be sent.
const std::string LARGE_TEXT(4U * 1024 * 1024, 'x');

class HungBus : public testing::Test {
protected:
    ~HungBus() override { TBusEnvironment::Bus().Resume(); }

    // Gives the text of the error, or nothing.
    std::string SendFailure(const std::string& data) {
        try {
            serving.party.SendEvent("EVENT", data);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }

    TServingParty serving{"PARTY"};
};

} // namespace

TEST_F(HungBus, TakesOneLargeEventAndThenFailsEveryOneAtOnce) {
    ASSERT_TRUE(BUS_READY);
    TBusEnvironment::Bus().Hang();
    EXPECT_EQ("", SendFailure(LARGE_TEXT));
    LogSpy::Clear();
    for (std::size_t number = 1; number <= 100; ++number) {
        ASSERT_EQ("dbus_connection_send failed", SendFailure("small"));
        EXPECT_EQ(number, LogSpy::Count(3, "\"dbus_connection_send failed\""));
    }
}

TEST_F(HungBus, FailsACallBehindTheLargeEventAtOnce) {
    TBusEnvironment::Bus().Hang();
    ASSERT_EQ("", SendFailure(LARGE_TEXT));
    TZeltoIpc::TMethodSettings settings{"PARTY", 3600};
    std::string result = "before";
    EXPECT_THROW(serving.party.CallMethod("ECHO", "", result, settings), std::runtime_error);
    EXPECT_EQ("before", result);
    EXPECT_TRUE(LogSpy::Contains(3, "\"dbus_connection_send_with_reply failed\""));
}

TEST_F(HungBus, RefusesAnotherIdentitySoon) {
    TBusEnvironment::Bus().Hang();
    auto renaming = std::async(
        std::launch::async, [this] { EXPECT_THROW(serving.party.Init("OTHER_PARTY"), std::runtime_error); });
    EXPECT_EQ(renaming.wait_for(BOUND), std::future_status::ready);
    TBusEnvironment::Bus().Resume();
}

TEST_F(HungBus, RefusesToWatchAnewSoon) {
    TAccessParty monitor;
    monitor.Configure({1, 10, true});
    monitor.Init("WATCHER");
    monitor.Run();
    TBusEnvironment::Bus().Hang();
    auto running =
        std::async(std::launch::async, [&monitor] { EXPECT_THROW(monitor.Run(), std::runtime_error); });
    EXPECT_EQ(running.wait_for(BOUND), std::future_status::ready);
    TBusEnvironment::Bus().Resume();
}

TEST_F(HungBus, LetsStopEndWhileACallbackWantsAnotherIdentity) {
    std::promise<void> entered;
    THandler handler([&](const std::string&, std::string&) {
        TBusEnvironment::Bus().Hang();
        entered.set_value();
        EXPECT_THROW(serving.party.Init("OTHER_PARTY"), std::runtime_error);
        return 0;
    });
    serving.party.AddMethodHandler("RENAME", &handler);
    TRawPeer caller(BusAddress());
    caller.Post(PartyTarget("PARTY", "RENAME"), {std::string()});
    ASSERT_EQ(entered.get_future().wait_for(BOUND), std::future_status::ready);
    auto stopping = std::async(std::launch::async, [this] { serving.party.Stop(); });
    EXPECT_EQ(stopping.wait_for(BOUND), std::future_status::ready);
    TBusEnvironment::Bus().Resume();
}
