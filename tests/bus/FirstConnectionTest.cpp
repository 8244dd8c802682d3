// The first connection of a process to a bus that hangs: nobody knows yet whether it is only being started.
// The order of the tests counts, since the second one connects.

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

// What the bus is given, and some more; twice as long if each thread asked it anew.
constexpr std::chrono::seconds BOUND{40};

class FirstConnection : public testing::Test {
protected:
    FirstConnection() { TBusEnvironment::Bus().Hang(); }
    ~FirstConnection() override { TBusEnvironment::Bus().Resume(); }

    // Gives the text of the error, or nothing.
    std::future<std::string> StartSending() {
        return std::async(std::launch::async, [this]() -> std::string {
            try {
                party.SendEvent("EVENT", "");
            } catch (const std::runtime_error& error) {
                return error.what();
            }
            return "";
        });
    }

    TAccessParty party;
};

} // namespace

TEST_F(FirstConnection, FailsForAllThreadsTogetherWhenTheBusDoesNotAnswer) {
    ASSERT_TRUE(BUS_READY);
    auto one = StartSending();
    auto other = StartSending();
    const auto deadline = std::chrono::steady_clock::now() + BOUND;
    ASSERT_EQ(one.wait_until(deadline), std::future_status::ready);
    ASSERT_EQ(other.wait_until(deadline), std::future_status::ready);
    EXPECT_EQ("dbus_bus_get_private - The bus does not answer.", one.get());
    EXPECT_EQ("dbus_bus_get_private - The bus does not answer.", other.get());
}

TEST_F(FirstConnection, IsMadeOnceASlowBusAnswers) {
    auto sending = StartSending();
    // Longer than a bus is waited for that has answered before.
    EXPECT_EQ(sending.wait_for(std::chrono::milliseconds(1500)), std::future_status::timeout);
    TBusEnvironment::Bus().Resume();
    EXPECT_EQ("", sending.get());
}
