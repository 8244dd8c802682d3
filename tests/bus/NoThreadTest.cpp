// The process can have no more threads.

#include "BusParty.h"
#include "NoThreads.h"

#include "support/BusEnvironment.h"
#include "support/Eventually.h"
#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

class NoThread : public testing::Test {
protected:
    bool CanCall(const std::string& identity) {
        TZeltoIpc::TMethodSettings settings{identity, 10};
        std::string result;
        try {
            return caller.CallMethod("ECHO", "request", result, settings) == 0;
        } catch (const std::runtime_error&) {
            return false;
        }
    }

    bool CanSendEvent() {
        try {
            caller.SendEvent("E", "data");
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }

    TServingParty server{"SERVER"};
    TAccessParty caller;
};

TEST_F(NoThread, ForGettingTheBusBackIsLoggedAndAskedForAgain) {
    ASSERT_TRUE(BUS_READY);
    ASSERT_TRUE(CanCall("SERVER"));
    TBusEnvironment::Bus().Kill();
    {
        const TNoThreads none;
        EXPECT_TRUE(Eventually([this] { return !CanSendEvent(); }));
        EXPECT_TRUE(LogSpy::WaitForPart(3, "Resource temporarily unavailable"));
    }
    TBusEnvironment::Bus().Restart();
    // Each party asks again at intervals of its own.
    EXPECT_TRUE(Eventually([this] { return CanCall("SERVER"); }, 3 * DEFAULT_TIMEOUT));
}

TEST_F(NoThread, ForServingUnderANewNameLeavesItToTheNextInit) {
    {
        const TNoThreads none;
        EXPECT_THROW(server.party.Init("NEW"), std::runtime_error);
    }
    server.party.Init("NEW");
    EXPECT_TRUE(CanCall("NEW"));
}

} // namespace
