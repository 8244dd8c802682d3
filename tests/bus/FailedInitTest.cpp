// Init that fails leaves the party as it was, and may be repeated.

#include "BusParty.h"

#include "support/LogSpy.h"
#include "support/ProcessStats.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include <unistd.h>

using namespace busparty;
using namespace support;
using testing::HasSubstr;

namespace {

std::string InitFailure(TZeltoIpc& party, const std::string& identity) {
    try {
        party.Init(identity);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

} // namespace

TEST(FailedInit, OfARefusedNameLeavesAFreshPartyAsItWas) {
    const std::size_t descriptors = OpenDescriptors(getpid());
    TAccessParty party;
    EXPECT_THAT(InitFailure(party, "FORBIDDEN"), HasSubstr("dbus_bus_request_name - "));
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::ContainsPart(3, "\"dbus_bus_request_name - "));
    EXPECT_EQ("", party.identity);
    EXPECT_EQ("com.Ulmet.Zelto.", party.busName);
    EXPECT_EQ("/com/Ulmet/Zelto/", party.objectPath);
    EXPECT_FALSE(party.connected);
    EXPECT_EQ(descriptors, OpenDescriptors(getpid()));
    EXPECT_NE("", InitFailure(party, "FORBIDDEN"));
    EXPECT_EQ("", InitFailure(party, "ALLOWED"));
    EXPECT_TRUE(HasOwner("ALLOWED"));
}

TEST(FailedInit, OfARefusedNameLeavesARunningPartyServingUnderItsOldOne) {
    TServingParty serving("PARTY");
    const std::size_t descriptors = OpenDescriptors(getpid());
    EXPECT_NE("", InitFailure(serving.party, "FORBIDDEN"));
    EXPECT_EQ("PARTY", serving.party.identity);
    EXPECT_EQ("com.Ulmet.Zelto.PARTY", serving.party.busName);
    EXPECT_EQ("/com/Ulmet/Zelto/PARTY", serving.party.objectPath);
    EXPECT_TRUE(serving.party.running);
    EXPECT_TRUE(Answers("PARTY"));
    EXPECT_EQ(descriptors, OpenDescriptors(getpid()));
}

TEST(FailedInit, OfARefusedNameLeavesALazilyConnectedPartyConnected) {
    TAccessParty party;
    party.Connect();
    const std::string lazyName = party.busName;
    EXPECT_NE("", InitFailure(party, "FORBIDDEN"));
    EXPECT_TRUE(party.connected);
    EXPECT_EQ(lazyName, party.busName);
    EXPECT_EQ("", InitFailure(party, "PARTY"));
    EXPECT_TRUE(HasOwner("PARTY"));
}

TEST(FailedInit, WithoutABusMayBeRepeatedUntilThereIsOne) {
    TBusEnvironment::Bus().Kill();
    const std::size_t descriptors = OpenDescriptors(getpid());
    TAccessParty party;
    for (int attempt = 0; attempt < 3; ++attempt) {
        LogSpy::Clear();
        EXPECT_THAT(InitFailure(party, "PARTY"), HasSubstr("dbus_bus_get_private - "));
        EXPECT_EQ(1U, LogSpy::Count(3));
        EXPECT_EQ("", party.identity);
        EXPECT_FALSE(party.connected);
    }
    EXPECT_EQ(descriptors, OpenDescriptors(getpid()));
    TBusEnvironment::Bus().Restart();
    EXPECT_EQ("", InitFailure(party, "PARTY"));
    EXPECT_TRUE(HasOwner("PARTY"));
}

TEST(FailedInit, WithoutABusLeavesARunningPartyWaiting) {
    TBusEnvironment::Bus().Kill();
    TAccessParty party;
    party.Run();
    EXPECT_NE("", InitFailure(party, "PARTY"));
    EXPECT_TRUE(party.running);
    TBusEnvironment::Bus().Restart();
    EXPECT_EQ("", InitFailure(party, "PARTY"));
    EXPECT_TRUE(Answers("PARTY"));
    party.Stop();
}

TEST(LazyConnect, WithoutABusRaisesAndIsTriedAgain) {
    TBusEnvironment::Bus().Kill();
    TAccessParty party;
    party.SetMethodServerId("*", "SERVER");
    std::string result = "before";
    EXPECT_THROW(party.SendEvent("E", ""), std::runtime_error);
    EXPECT_THROW(party.CallMethod("GET", "", result), std::runtime_error);
    EXPECT_EQ("before", result);
    TBusEnvironment::Bus().Restart();
    EXPECT_NO_THROW(party.SendEvent("E", ""));
}
