// A lost bus is looked for at intervals that double, so that many parties do not fall upon one that is just
// starting.

#include "BusParty.h"

#include "utils/UniqueFd.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

using TClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Listens where the bus was, and closes every connection at once.
class TFalseBus {
public:
    TFalseBus() : listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const std::string path = BusAddress().substr(std::strlen("unix:path="));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        (void)path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        (void)unlink(path.c_str()); // left by the bus that was killed
        EXPECT_EQ(0, bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
        EXPECT_EQ(0, listen(listener.Get(), 16));
    }

    // When the next one tries to connect.
    TClock::time_point WaitForAttempt() const {
        pollfd polled{listener.Get(), POLLIN, 0};
        EXPECT_EQ(1, poll(&polled, 1, static_cast<int>(milliseconds(DEFAULT_TIMEOUT).count())));
        const zelto::TUniqueFd connection(accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        return TClock::now();
    }

private:
    zelto::TUniqueFd listener;
};

} // namespace

TEST(BackOff, DoublesTheIntervalFrom100MsOn) {
    ASSERT_TRUE(BUS_READY);
    {
        const TServingParty serving("PARTY");
        TBusEnvironment::Bus().Kill();
        const TFalseBus bus;
        // The first attempts may have come before it listened: wherever it begins, the next interval is
        // longer.
        TClock::time_point last = bus.WaitForAttempt();
        for (const int leastMs : {100, 200, 400, 800}) {
            const TClock::time_point next = bus.WaitForAttempt();
            // This process may have seen the last one late, so half of it is asked for.
            EXPECT_GE(next - last, milliseconds(leastMs / 2));
            last = next;
        }
    }
    TBusEnvironment::Bus().Restart();
}
