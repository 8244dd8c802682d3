// A bus that goes away is waited for; nothing is answered wrongly meanwhile and everything works when it is
// back.

#include "bus/Party.h"

#include "support/BusEnvironment.h"
#include "support/LogSpy.h"
#include "support/ProcessStats.h"
#include "support/RawPeer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using party::MakeParty;
using party::TParty;
using support::Eventually;
using support::TBusEnvironment;
using support::TRawPeer;

const bool BUS_READY = TBusEnvironment::Register();

enum class TOutcome { GOOD, FAILED, WRONG };

// An echo with a text of its own, so that an answer to another call would show.
TOutcome Echo(TZeltoIpc& caller, const std::string& text) {
    std::string result;
    try {
        const int code = caller.CallMethod("ECHO", text, result);
        if (code == -1) {
            return TOutcome::FAILED;
        }
        return code == static_cast<int>(text.size()) && result == text ? TOutcome::GOOD : TOutcome::WRONG;
    } catch (const std::runtime_error&) {
        return TOutcome::FAILED;
    }
}

bool CanEcho(TZeltoIpc& caller) {
    return Eventually([&] { return Echo(caller, "probe") == TOutcome::GOOD; });
}

class Reconnection : public testing::Test {
protected:
    Reconnection()
        : echo([](const std::string& request, std::string& result) {
              result = request;
              return static_cast<int>(request.size());
          }),
          listener([this](const std::string& name, const std::string&) { heard += name == "TICK" ? 1 : 0; }),
          server(MakeParty()),
          client(MakeParty(1, false, 2)) {
        server->AddMethodHandler("ECHO", &echo);
        server->Init("ECHO_SERVER");
        server->Run();
        client->AddEventLstener("", &listener);
        client->SetMethodServerId("*", "ECHO_SERVER");
        client->Init("ECHO_CLIENT");
        client->Run();
    }

    ~Reconnection() override {
        client->Stop();
        server->Stop();
    }

    bool HearsEvents() {
        const int before = heard;
        return Eventually([&] {
            try {
                server->SendEvent("TICK", "");
            } catch (const std::runtime_error&) {
            }
            return heard > before;
        });
    }

    static support::TPrivateBus& Bus() { return TBusEnvironment::Bus(); }

    party::THandler echo;
    party::TListener listener;
    std::atomic<int> heard{0};
    TParty server;
    TParty client;
};

TEST_F(Reconnection, BringsBackCallsAndEvents) {
    ASSERT_TRUE(CanEcho(*client));
    Bus().Restart();
    EXPECT_TRUE(CanEcho(*client));
    EXPECT_TRUE(HearsEvents());
}

TEST_F(Reconnection, WritesOneErrorLineForEachParty) {
    ASSERT_TRUE(CanEcho(*client));
    LogSpy::Clear();
    Bus().Kill();
    const std::string lost = "\"The bus connection of 'com.Ulmet.Zelto.ECHO_SERVER' is lost.\"";
    EXPECT_TRUE(LogSpy::WaitFor(3, lost));
    Bus().Restart();
    EXPECT_TRUE(CanEcho(*client));
    EXPECT_EQ(LogSpy::Count(3, lost), 1U);
    EXPECT_EQ(LogSpy::Count(3, "\"The bus connection of 'com.Ulmet.Zelto.ECHO_CLIENT' is lost.\""), 1U);
    EXPECT_TRUE(LogSpy::WaitFor(5, "\"The bus connection of 'com.Ulmet.Zelto.ECHO_SERVER' is back.\""));
    EXPECT_EQ(LogSpy::CountPart(3, "dbus_bus_get_private"), 0U) << LogSpy::Dump();
}

TEST_F(Reconnection, FailsCallsAndEventsAtOnceWhileTheBusIsAway) {
    ASSERT_TRUE(CanEcho(*client));
    Bus().Kill();
    ASSERT_TRUE(LogSpy::WaitForPart(3, "ECHO_CLIENT' is lost."));
    std::string result = "untouched";
    EXPECT_THROW(client->CallMethod("ECHO", "x", result), std::runtime_error);
    EXPECT_EQ(result, "untouched");
    EXPECT_TRUE(LogSpy::Contains(3, "\"dbus_connection_send_with_reply failed\""));
    EXPECT_THROW(client->SendEvent("TICK", "x"), std::runtime_error);
    EXPECT_TRUE(LogSpy::Contains(3, "\"dbus_connection_send failed\""));
    Bus().Restart();
    EXPECT_TRUE(CanEcho(*client));
}

TEST_F(Reconnection, FailsACallInFlightWithoutWaitingForItsTimeOut) {
    TRawPeer silent(Bus().Address());
    silent.OwnName("com.Ulmet.Zelto.SILENT");
    std::thread killer([&] {
        silent.WaitFor([](const auto& message) { return message.member == "WAIT"; });
        Bus().Kill();
    });
    TZeltoIpc::TMethodSettings settings{"SILENT", 60};
    std::string result = "untouched";
    EXPECT_EQ(client->CallMethod("WAIT", "", result, settings), -1);
    EXPECT_EQ(result, "untouched");
    killer.join();
    Bus().Restart();
    EXPECT_TRUE(CanEcho(*client));
}

TEST_F(Reconnection, UsesNoProcessorTimeWhileTheBusIsAway) {
    ASSERT_TRUE(CanEcho(*client));
    Bus().Kill();
    ASSERT_TRUE(LogSpy::WaitForPart(3, "ECHO_CLIENT' is lost."));
    const std::size_t before = support::ProcessorMs(getpid());
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(600);
    (void)Eventually([&] { return std::chrono::steady_clock::now() >= end; }, std::chrono::seconds(5));
    // The waiting itself looks at the clock a thousand times a second; two spinning threads would use 1200
    // ms.
    EXPECT_LT(support::ProcessorMs(getpid()) - before, 400U);
    Bus().Restart();
    EXPECT_TRUE(CanEcho(*client));
}

TEST_F(Reconnection, SurvivesABusThatHangsAndResumes) {
    ASSERT_TRUE(CanEcho(*client));
    Bus().Hang();
    TZeltoIpc::TMethodSettings settings{"ECHO_SERVER", 1};
    std::string result;
    EXPECT_EQ(client->CallMethod("ECHO", "x", result, settings), -1);
    Bus().Resume();
    EXPECT_TRUE(CanEcho(*client));
    EXPECT_TRUE(HearsEvents());
}

TEST_F(Reconnection, BringsBackAMonitor) {
    std::mutex mutex;
    std::vector<std::string> arrived;
    party::TListener watcher([&](const std::string& name, const std::string& data) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (name == "APP_CONNECTED") {
            arrived.push_back(data);
        }
    });
    const auto hasArrived = [&](const char* name) {
        const std::lock_guard<std::mutex> lock(mutex);
        return std::find(arrived.begin(), arrived.end(), name) != arrived.end();
    };
    const TParty monitor = MakeParty(1, true);
    monitor->AddEventLstener("", &watcher);
    monitor->Init("WATCHER");
    monitor->Run();
    Bus().Restart();
    ASSERT_TRUE(LogSpy::WaitForPart(5, "WATCHER' is back."));
    TRawPeer late(Bus().Address());
    late.OwnName("com.Ulmet.Zelto.LATE_COMER");
    EXPECT_TRUE(Eventually([&] { return hasArrived("LATE_COMER"); }));
    monitor->Stop();
}

TEST_F(Reconnection, LetsInitTakeANewIdentityOnceTheBusIsBack) {
    Bus().Kill();
    ASSERT_TRUE(LogSpy::WaitForPart(3, "ECHO_CLIENT' is lost."));
    EXPECT_THROW(client->Init("RENAMED"), std::runtime_error);
    Bus().Restart();
    EXPECT_TRUE(CanEcho(*client));
    EXPECT_TRUE(Eventually([&] {
        TRawPeer peer(Bus().Address());
        return peer.HasOwner("com.Ulmet.Zelto.ECHO_CLIENT");
    }));
    client->Init("RENAMED");
    TRawPeer peer(Bus().Address());
    EXPECT_TRUE(peer.HasOwner("com.Ulmet.Zelto.RENAMED"));
    EXPECT_FALSE(peer.HasOwner("com.Ulmet.Zelto.ECHO_CLIENT"));
    EXPECT_TRUE(HearsEvents());
}

TEST_F(Reconnection, WorksForAPartyWithoutDispatchThreads) {
    const TParty caller = MakeParty(0, false, 2);
    caller->SetMethodServerId("*", "ECHO_SERVER");
    caller->Init("THREADLESS");
    ASSERT_TRUE(CanEcho(*caller));
    Bus().Restart();
    EXPECT_TRUE(CanEcho(*caller));
    TRawPeer peer(Bus().Address());
    EXPECT_TRUE(peer.HasOwner("com.Ulmet.Zelto.THREADLESS"));
}

TEST_F(Reconnection, SurvivesTwentyKillsUnderLoad) {
    constexpr int KILLS = 20;
    std::atomic<bool> loading{true};
    std::atomic<long> good{0};
    std::atomic<long> wrong{0};
    std::vector<std::thread> load;
    for (int index = 0; index < 4; ++index) {
        load.emplace_back([&, index] {
            for (long number = 0; loading; ++number) {
                const TOutcome outcome = Echo(*client, std::to_string(index) + ":" + std::to_string(number));
                good += outcome == TOutcome::GOOD ? 1 : 0;
                wrong += outcome == TOutcome::WRONG ? 1 : 0;
            }
        });
    }
    load.emplace_back([&] {
        while (loading) {
            try {
                server->SendEvent("TICK", "");
            } catch (const std::runtime_error&) {
            }
            // Faster than they can be heard, events would only queue up before the calls.
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    LogSpy::SetRecording(false);
    std::vector<long> recoveries;
    for (int kill = 0; kill < KILLS; ++kill) {
        const long before = good;
        ASSERT_TRUE(Eventually([&] { return good > before + 20; }))
            << "after kill " << kill << ", " << good - before << " good calls";
        Bus().Restart();
        const auto back = std::chrono::steady_clock::now();
        const long atRestart = good;
        ASSERT_TRUE(Eventually([&] { return good > atRestart; }, std::chrono::seconds(20)));
        const auto recovery =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - back);
        recoveries.push_back(static_cast<long>(recovery.count()));
    }
    loading = false;
    for (std::thread& thread : load) {
        thread.join();
    }
    LogSpy::SetRecording(true);
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(CanEcho(*client));
    EXPECT_TRUE(HearsEvents());
    TRawPeer peer(Bus().Address());
    EXPECT_TRUE(peer.HasOwner("com.Ulmet.Zelto.ECHO_SERVER"));
    EXPECT_TRUE(peer.HasOwner("com.Ulmet.Zelto.ECHO_CLIENT"));
    std::sort(recoveries.begin(), recoveries.end());
    std::printf("%ld good calls; first good call after a restart: median %ld ms, longest %ld ms\n",
                good.load(), recoveries[recoveries.size() / 2], recoveries.back());
}

} // namespace
