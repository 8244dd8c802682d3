// The test support tried on itself: a failure here explains failures elsewhere.

#include "support/BusEnvironment.h"
#include "support/BusRecorder.h"
#include "support/ChildProcess.h"
#include "support/LogSpy.h"
#include "support/ProcessStats.h"
#include "support/RawPeer.h"
#include "support/TempDir.h"
#include "utils/Log.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <thread>

using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

const std::string ECHO_NAME = "test.support.Echo";
const TRawPeer::TTarget ECHO{ECHO_NAME, "/test/Echo", "test.support.Echo", "Echo"};

const std::string& Address() {
    return TBusEnvironment::Bus().Address();
}

// Owns the name and sends the arguments back.
class TEchoServer {
public:
    explicit TEchoServer(const std::string& address = Address()) : peer(address) {
        peer.ServeWith([](const TRawMessage& call) { return call.arguments; });
        EXPECT_EQ(static_cast<uint32_t>(DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER), peer.OwnName(ECHO_NAME));
    }

    TRawPeer peer;
};

} // namespace

TEST(TestSupport, StartsItsBusBeforeTheTestsAndPointsLibdbusAtIt) {
    ASSERT_TRUE(BUS_READY);
    EXPECT_EQ(Address(), std::getenv("DBUS_SYSTEM_BUS_ADDRESS"));
}

TEST(TestSupport, LoadsTheLogSpyInPlaceOfTheLoggingLibrary) {
    const std::string text = "outside";
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"%s %d\"", text.c_str(), 7);
    const std::vector<LogSpy::TMessage> expected{{7, "\"%s %d\"", "\"outside 7\""}};
    EXPECT_EQ(expected, LogSpy::Messages());
    EXPECT_TRUE(LogSpy::Contains(7, "\"outside 7\""));
    EXPECT_FALSE(LogSpy::Contains(3, "\"outside 7\""));
}

TEST(TestSupport, BeginsEachTestWithAnEmptyLog) {
    EXPECT_TRUE(LogSpy::Messages().empty());
}

TEST(TestSupport, WaitsForAMessageOfAnotherThread) {
    std::thread logger([] { qvLogging_log(zelto::LOG_LEVEL_NOTICE, "\"later\""); });
    EXPECT_TRUE(LogSpy::WaitFor(5, "\"later\""));
    logger.join();
    EXPECT_FALSE(LogSpy::WaitFor(5, "\"never\"", std::chrono::milliseconds(1)));
}

TEST(RawPeer, CarriesEveryBasicTypeThereAndBack) {
    TEchoServer server;
    TRawPeer client(Address());
    const TRawArguments arguments{std::string("text"), int32_t{-1}, uint32_t{2}, true,        1.5,
                                  uint8_t{3},          int16_t{-4}, uint16_t{5}, int64_t{-6}, uint64_t{7}};
    const std::optional<TRawMessage> reply = client.Call(ECHO, arguments);
    ASSERT_TRUE(reply);
    EXPECT_EQ("siubdynqxt", reply->signature);
    EXPECT_EQ(arguments, reply->arguments);
}

TEST(RawPeer, SeesContainersByTheirSignature) {
    TRawPeer server(Address());
    ASSERT_NE(0U, server.OwnName(ECHO_NAME));
    TRawPeer client(Address());
    (void)client.Call(
        ECHO,
        [](DBusMessageIter& iter) {
            DBusMessageIter inner;
            ASSERT_TRUE(dbus_message_iter_open_container(&iter, DBUS_TYPE_ARRAY, "s", &inner));
            ASSERT_TRUE(dbus_message_iter_close_container(&iter, &inner));
        },
        std::chrono::milliseconds(0));
    const auto call = server.WaitFor([](const TRawMessage& message) { return message.member == "Echo"; });
    ASSERT_TRUE(call);
    EXPECT_EQ(TRawArguments{TContainer{"as"}}, call->arguments);
}

TEST(RawPeer, GivesNothingWhenNobodyAnswersInTime) {
    TRawPeer silent(Address());
    ASSERT_NE(0U, silent.OwnName(ECHO_NAME));
    TRawPeer client(Address());
    EXPECT_FALSE(client.Call(ECHO, TRawArguments{}, std::chrono::milliseconds(20)));
}

TEST(RawPeer, AnswersWithAnError) {
    TRawPeer server(Address());
    server.Serve(
        [](TRawPeer& peer, const TRawMessage& call) { peer.ReplyError(call, "test.Error", "refused"); });
    ASSERT_NE(0U, server.OwnName(ECHO_NAME));
    const std::optional<TRawMessage> reply = TRawPeer(Address()).Call(ECHO, TRawArguments{});
    ASSERT_TRUE(reply);
    EXPECT_TRUE(reply->IsError());
    EXPECT_EQ("test.Error", reply->errorName);
    EXPECT_EQ("refused", reply->Text(0));
}

TEST(RawPeer, ReceivesTheSignalsThatItMatches) {
    TRawPeer listener(Address());
    ASSERT_TRUE(listener.AddMatch("type='signal',interface='test.support.News'"));
    TRawPeer sender(Address());
    sender.Signal({"", "/news", "test.support.News", "Arrived"}, {std::string("data")});
    const auto signal =
        listener.WaitFor([](const TRawMessage& message) { return message.member == "Arrived"; });
    ASSERT_TRUE(signal);
    EXPECT_EQ("data", signal->Text(0));
    EXPECT_EQ(sender.UniqueName(), signal->sender);
}

TEST(BusRecorder, ShowsAnExactSequenceOfMessages) {
    TEchoServer server;
    TRawPeer client(Address());
    TBusRecorder recorder(Address());
    ASSERT_TRUE(client.Call(ECHO, {std::string("hello"), int32_t{1}}));
    const std::string callerName = client.UniqueName();
    const std::string serverName = server.peer.UniqueName();
    std::vector<std::string> seen;
    for (const TRawMessage& message : recorder.Messages()) {
        seen.push_back(Describe(message));
    }
    const std::vector<std::string> expected{
        "call " + callerName + " -> test.support.Echo /test/Echo test.support.Echo.Echo(\"hello\", 1)",
        "return " + serverName + " -> " + callerName + "(\"hello\", 1)"};
    EXPECT_EQ(expected, seen);
}

TEST(PrivateBus, ComesBackOnTheSameAddressAfterACrash) {
    TPrivateBus bus;
    const std::string address = bus.Address();
    TRawPeer before(address);
    bus.Kill();
    EXPECT_TRUE(Eventually([&] { return !before.IsConnected(); }));
    EXPECT_THROW(TRawPeer{address}, std::runtime_error);
    bus.Restart();
    EXPECT_EQ(address, bus.Address());
    EXPECT_TRUE(TRawPeer(address).IsConnected());
}

TEST(PrivateBus, AnswersNothingWhileItHangs) {
    TPrivateBus bus;
    TRawPeer peer(bus.Address());
    const TRawPeer::TTarget getId{"org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetId"};
    bus.Hang();
    EXPECT_FALSE(peer.Call(getId, TRawArguments{}, std::chrono::milliseconds(20)));
    bus.Resume();
    EXPECT_TRUE(peer.Call(getId, TRawArguments{}));
}

TEST(PrivateBus, TakesLimits) {
    TPrivateBus bus({{"max_replies_per_connection", 1}});
    TEchoServer silent(bus.Address());
    silent.peer.Serve(nullptr);
    TRawPeer client(bus.Address());
    (void)client.Post(ECHO, {});
    const std::optional<TRawMessage> refused = client.Call(ECHO, TRawArguments{});
    ASSERT_TRUE(refused);
    EXPECT_EQ(DBUS_ERROR_LIMITS_EXCEEDED, refused->errorName);
}

TEST(PrivateBus, LeavesNoProcessAndNoFileBehind) {
    pid_t pid = 0;
    std::string socketPath;
    {
        const TPrivateBus bus;
        pid = bus.Pid();
        socketPath = bus.Address().substr(sizeof("unix:path=") - 1);
        EXPECT_EQ(0, access(socketPath.c_str(), F_OK));
    }
    EXPECT_EQ(-1, kill(pid, 0));
    EXPECT_EQ(-1, access(socketPath.substr(0, socketPath.rfind('/')).c_str(), F_OK));
}

TEST(ChildProcess, GivesOutputErrorsAndExitCode) {
    const TRunResult result = RunProgram({"sh", "-c", "echo out; echo err >&2; exit 3"});
    EXPECT_EQ(3, result.exitCode);
    EXPECT_EQ("out\n", result.output);
    EXPECT_EQ("err\n", result.errors);
}

TEST(ChildProcess, TellsTheSignalThatEndedIt) {
    TChildProcess child({"cat"});
    EXPECT_TRUE(child.IsRunning());
    child.Signal(SIGTERM);
    EXPECT_EQ(128 + SIGTERM, child.WaitForExit());
}

TEST(ChildProcess, TakesInputAndEnvironmentAndDirectory) {
    const TTempDir directory;
    TChildProcess child({"sh", "-c", "read line; echo \"$line $ZELTO_TEST_WORD\"; pwd"},
                        {{{"ZELTO_TEST_WORD", "there"}}, directory.Path()});
    child.WriteInput("hello\n");
    EXPECT_EQ(0, child.WaitForExit());
    EXPECT_EQ("hello there\n" + directory.Path() + "\n", child.Output());
}

TEST(ChildProcess, EndsWith127WhenThereIsNoSuchProgram) {
    EXPECT_EQ(127, RunProgram({"/nonexistent/program"}).exitCode);
}

TEST(ChildProcess, DiesWithItsParent) {
    TChildProcess starter({CHILD_STARTER_PATH});
    ASSERT_TRUE(starter.WaitForOutput("\n"));
    const auto grandchild = static_cast<pid_t>(std::stol(starter.Output()));
    ASSERT_GT(ResidentKib(grandchild), 0U);
    starter.Kill();
    EXPECT_TRUE(Eventually([&] { return ResidentKib(grandchild) == 0; }));
}

TEST(ProcessStats, CountsWhatAProcessHolds) {
    TChildProcess child({"cat"});
    EXPECT_GE(OpenDescriptors(child.Pid()), 3U);
    EXPECT_GT(ResidentKib(child.Pid()), 0U);
    EXPECT_EQ(1U, Threads(child.Pid()));
}

TEST(ProcessStats, AreZeroForAProcessThatIsGone) {
    TChildProcess child({"cat"});
    child.Kill();
    EXPECT_EQ(0U, ResidentKib(child.Pid()));
    EXPECT_EQ(0U, OpenDescriptors(child.Pid()));
    EXPECT_EQ(0U, Threads(child.Pid()));
}
