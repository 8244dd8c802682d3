// Which peers a list of networks means.

#include "tools/zelto-remoted/Network.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using remoted::TAddress;
using remoted::TNetwork;

struct TMembership {
    const char* network;
    const char* address;
    bool isMember;
};

class Membership : public testing::TestWithParam<TMembership> {};

TEST_P(Membership, GoesByTheFirstBits) {
    EXPECT_EQ(TNetwork::Parse(GetParam().network).Contains(TAddress::Parse(GetParam().address)),
              GetParam().isMember);
}

INSTANTIATE_TEST_SUITE_P(
    Networks, Membership,
    testing::Values(
        TMembership{"10.1.2.3", "10.1.2.3", true}, TMembership{"10.1.2.3", "10.1.2.4", false},
        TMembership{"10.1.2.0/24", "10.1.2.255", true}, TMembership{"10.1.2.0/24", "10.1.3.0", false},
        TMembership{"10.1.2.77/24", "10.1.2.3", true}, TMembership{"10.1.2.128/25", "10.1.2.127", false},
        TMembership{"10.1.2.128/25", "10.1.2.128", true}, TMembership{"10.1.2.3/32", "10.1.2.2", false},
        TMembership{"0.0.0.0/0", "255.1.2.3", true}, TMembership{"0.0.0.0/0", "2001:db8::1", false},
        TMembership{"::/0", "10.1.2.3", true}, TMembership{"10.0.0.0/8", "::ffff:10.9.9.9", true},
        TMembership{"2001:db8::/33", "2001:db8:7fff::1", true},
        TMembership{"2001:db8::/33", "2001:db8:8000::1", false}, TMembership{"::1", "::1", true},
        TMembership{"::1", "::2", false}));

TEST(Network, RefusesWhatIsNone) {
    for (const char* text :
         {"", "/", "host", "10.1.2", "10.1.2.3/", "10.1.2.3/33", "10.1.2.3/-1", "10.1.2.3/8/8", "10.1.2.3/ 8",
          "10.1.2.3/0x8", "::1/129", "::1/9999999999", " 10.1.2.3"}) {
        EXPECT_THROW(TNetwork::Parse(text), std::runtime_error) << text;
    }
}

TEST(Address, KnowsLoopback) {
    for (const char* text : {"127.0.0.1", "127.255.1.2", "::1", "::ffff:127.0.0.1"}) {
        EXPECT_TRUE(TAddress::Parse(text).IsLoopback()) << text;
    }
    for (const char* text : {"0.0.0.0", "128.0.0.1", "::", "::2"}) {
        EXPECT_FALSE(TAddress::Parse(text).IsLoopback()) << text;
    }
}

TEST(Address, ComesBackFromASocketAddress) {
    for (const char* text : {"192.168.7.2", "2001:db8::1"}) {
        sockaddr_storage socketAddress{};
        EXPECT_GT(TAddress::Parse(text).ToSocketAddress(1, socketAddress), 0U);
        EXPECT_EQ(TAddress::From(socketAddress).Text(), text);
    }
}
