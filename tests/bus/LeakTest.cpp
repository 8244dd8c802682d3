// What a party holds, it gives back.

#include "BusParty.h"

#include "support/ChildProcess.h"
#include "support/ProcessStats.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include <unistd.h>

using namespace busparty;
using namespace support;
using testing::HasSubstr;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

void ExpectNothingLeft(const std::function<void()>& body) {
    body();
    const std::size_t descriptors = OpenDescriptors(getpid());
    const std::size_t threads = Threads(getpid());
    for (int turn = 0; turn < 50; ++turn) {
        body();
    }
    EXPECT_EQ(descriptors, OpenDescriptors(getpid()));
    EXPECT_EQ(threads, Threads(getpid()));
}

void TryInit(TZeltoIpc& party, const std::string& identity) {
    try {
        party.Init(identity);
    } catch (const std::runtime_error&) {
    }
}

} // namespace

TEST(Descriptors, AreGivenBackByAServingParty) {
    ASSERT_TRUE(BUS_READY);
    ExpectNothingLeft([] {
        TServingParty serving("PARTY", 2);
        serving.party.SendEvent("E", "");
    });
}

TEST(Descriptors, AreGivenBackByAPartyThatIsNeverStopped) {
    ExpectNothingLeft([] {
        const std::unique_ptr<TZeltoIpc> party(newZeltoIpcInstance());
        party->Init("PARTY");
        party->Run();
    });
}

TEST(Descriptors, AreGivenBackByALazilyConnectedParty) {
    ExpectNothingLeft([] { TAccessParty().SendEvent("E", ""); });
}

TEST(Descriptors, AreGivenBackByAMonitor) {
    ExpectNothingLeft([] {
        TAccessParty party;
        party.Configure({1, 10, true});
        party.Init("PARTY");
        party.Run();
        party.Run();
        party.Init("OTHER");
    });
}

TEST(Descriptors, AreGivenBackByRenaming) {
    TServingParty serving("PARTY");
    ExpectNothingLeft([&] {
        serving.party.Init("OTHER");
        serving.party.Init("PARTY");
    });
}

TEST(Descriptors, AreGivenBackByStopAndRun) {
    TServingParty serving("PARTY");
    ExpectNothingLeft([&] {
        serving.party.Stop();
        serving.party.Run();
    });
}

TEST(Descriptors, AreGivenBackByInitsThatFail) {
    TServingParty serving("PARTY");
    ExpectNothingLeft([&] {
        TryInit(serving.party, "FORBIDDEN");
        TAccessParty fresh;
        TryInit(fresh, "FORBIDDEN");
        TryInit(fresh, "A-B");
    });
}

TEST(Descriptors, AreGivenBackByDisconnect) {
    TAccessParty party;
    ExpectNothingLeft([&] {
        party.Connect();
        party.Disconnect();
    });
}

TEST(Memory, IsGivenBackToTheLastBlock) {
    if (std::string(VALGRIND).empty()) {
        GTEST_SKIP() << "valgrind is not there or not for this build";
    }
    const TRunResult run =
        RunProgram({VALGRIND, "--leak-check=full", "--show-leak-kinds=all", TRANSPORT_CYCLE_PATH}, {},
                   std::chrono::seconds(50));
    EXPECT_EQ(0, run.exitCode) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("All heap blocks were freed"));
    EXPECT_THAT(run.errors, HasSubstr("ERROR SUMMARY: 0 errors"));
}
