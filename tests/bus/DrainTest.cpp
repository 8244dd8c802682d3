// What arrives on a party's client connection without anybody waiting for it: it is taken in and dropped, and
// disturbs no call.

#include "BusParty.h"

#include "support/LogSpy.h"
#include "support/ProcessStats.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include <unistd.h>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

const std::string TEN_KILOBYTES(10000, 'x');

// Sanitizers keep freed memory, so that what is resident says nothing.
#ifdef ZELTO_SANITIZED
constexpr bool COUNTS_MEMORY = false;
#else
constexpr bool COUNTS_MEMORY = true;
#endif

class Draining : public testing::Test {
protected:
    Draining() {
        caller.Configure({1, 10, false});
        caller.Init("CALLER");
        caller.Run();
        ExpectCallWorks();
        clientName = dbus_bus_get_unique_name(caller.clientConnection);
    }
    ~Draining() override { caller.Stop(); }

    void ExpectCallWorks() {
        TZeltoIpc::TMethodSettings settings{"SERVER", 10};
        std::string result;
        EXPECT_EQ(0, caller.CallMethod("ECHO", "request", result, settings));
        EXPECT_EQ("request", result);
    }

    // Sends signals to the client connection alone, as anybody on the bus may.
    void Flood(int signals) {
        for (int number = 0; number < signals; ++number) {
            stranger.Signal({clientName, "/", "test.Flood", "Flood"}, {TEN_KILOBYTES});
        }
    }

    // Gives the answer to a ping, which the client connection can only give once it has read all before it.
    std::future<bool> Ping() {
        return std::async(std::launch::async, [this] {
            const auto answer =
                stranger.Call({clientName, "/", "org.freedesktop.DBus.Peer", "Ping"}, TRawArguments{});
            return answer && answer->IsReturn();
        });
    }

    static bool IsReady(const std::future<bool>& future) {
        return future.wait_for(std::chrono::milliseconds(0)) == std::future_status::ready;
    }

    const std::unique_ptr<TRawPeer> server = MakeRawServerWith("SERVER", [](const TRawMessage& call) {
        return TRawArguments{call.member == "ECHO" ? call.Text(0) : TEN_KILOBYTES, int32_t{0}};
    });
    TAccessParty caller;
    std::string clientName;
    TRawPeer stranger{BusAddress()};
};

} // namespace

TEST_F(Draining, DropsLateAnswers) {
    ASSERT_TRUE(BUS_READY);
    LogSpy::SetRecording(false);
    server->SetRecording(false);
    const std::size_t before = ResidentKib(getpid());
    TZeltoIpc::TMethodSettings noTime{"SERVER", 0};
    int late = 0;
    for (int number = 0; number < 3000; ++number) {
        std::string result = "before";
        const bool isLate = caller.CallMethod("LATE", "", result, noTime) == -1;
        // On a busy machine an answer can be there by the time it is looked for.
        EXPECT_EQ(isLate ? "before" : TEN_KILOBYTES, result);
        late += isLate ? 1 : 0;
        if (number % 50 == 0) {
            ExpectCallWorks();
        }
    }
    EXPECT_GT(late, 2000);
    ExpectCallWorks();
    LogSpy::SetRecording(true);
    if (COUNTS_MEMORY) {
        EXPECT_LT(ResidentKib(getpid()), before + 10000);
    }
}

TEST_F(Draining, DropsSignalsToTheClientConnection) {
    stranger.SetRecording(false);
    Flood(100);
    ExpectCallWorks();
    const std::size_t before = ResidentKib(getpid());
    for (int round = 0; round < 30; ++round) {
        Flood(100);
        ExpectCallWorks();
    }
    if (COUNTS_MEMORY) {
        EXPECT_LT(ResidentKib(getpid()), before + 10000);
    }
}

TEST_F(Draining, RefusesCallsToTheClientConnection) {
    for (int number = 0; number < 100; ++number) {
        (void)stranger.Post({clientName, "/p", "com.Ulmet.Zelto.Zelto", "GET"}, {TEN_KILOBYTES});
    }
    const auto isError = [](const TRawMessage& message) { return message.IsError(); };
    EXPECT_TRUE(Eventually([&] {
        ExpectCallWorks();
        return stranger.Received(isError).size() == 100;
    }));
}

TEST_F(Draining, IsDoneByAPartyThatOnlySendsEvents) {
    Flood(500);
    std::future<bool> answered = Ping();
    EXPECT_TRUE(Eventually([&] {
        caller.SendEvent("E", "");
        return IsReady(answered);
    }));
    EXPECT_TRUE(answered.get());
}

TEST_F(Draining, IsDoneByADispatchThreadThatIsBusy) {
    Flood(500);
    std::future<bool> answered = Ping();
    EXPECT_TRUE(Eventually([&] {
        stranger.Signal(EventTarget("X", "E"), {std::string("data")});
        return IsReady(answered);
    }));
    EXPECT_TRUE(answered.get());
}

// Looks after its client connection every few seconds.
TEST_F(Draining, IsDoneByAnIdleParty) {
    Flood(20);
    EXPECT_TRUE(Ping().get());
}

TEST_F(Draining, LosesNoAnswerOfConcurrentCallers) {
    std::atomic<bool> isOver{false};
    stranger.SetRecording(false);
    auto flood = std::async(std::launch::async, [&] {
        while (!isOver) {
            Flood(20);
            EXPECT_TRUE(stranger.HasOwner(BusName("SERVER"))); // once the bus has taken the flood
        }
    });
    const auto callOften = [&](const std::string& prefix) {
        for (int number = 0; number < 150; ++number) {
            TZeltoIpc::TMethodSettings settings{"SERVER", 10};
            const std::string request = prefix + std::to_string(number);
            std::string result;
            EXPECT_EQ(0, caller.CallMethod("ECHO", request, result, settings));
            EXPECT_EQ(request, result);
            caller.SendEvent("E", "");
        }
    };
    auto one = std::async(std::launch::async, callOften, "one ");
    auto other = std::async(std::launch::async, callOften, "other ");
    callOften("third ");
    one.get();
    other.get();
    isOver = true;
    flood.get();
}

// Otherwise a few hundred messages would use up every descriptor of the process.
TEST_F(Draining, TakesInAtMost64FilesAtATime) {
    EXPECT_EQ(64, dbus_connection_get_max_received_unix_fds(caller.serverConnection));
    EXPECT_EQ(64, dbus_connection_get_max_received_unix_fds(caller.clientConnection));
}
