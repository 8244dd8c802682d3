// The three requests to a peer gateway. No bus is needed.
#include "support/LogSpy.h"
#include "support/TcpPeer.h"
#include "zelto/TZeltoApplication.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using support::Frame;
using support::TTcpPeer;
using TParams = std::vector<TZeltoApplication::TZeltoAppParam>;

const std::string NAME = "Device.WiFi.SSID.1.SSID";
const std::string OK = R"({"STATUS": "OK"})";

TZeltoApplication& App() {
    return TZeltoApplication::GetInstance();
}

std::string Written(const TParams& params) {
    std::string text;
    for (const auto& param : params) {
        text += param.name + "=" + param.value + ";";
    }
    return text;
}

std::string Text(const std::vector<char>& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

TEST(SetParamRemote, SendsTheRequestTypeInTheBody) {
    TTcpPeer peer(Frame(OK));
    EXPECT_EQ(App().SetParamRemote(peer.Address(), NAME, "guest", true), 0);
    EXPECT_EQ(peer.Request(), R"({"REQUEST_TYPE": "SET_PARAM", "NAME": "Device.WiFi.SSID.1.SSID", )"
                              R"("VALUE": "guest", "COMMIT": true})");
}

TEST(SetParamRemote, SendsTheFlagAsABoolean) {
    TTcpPeer peer(Frame(OK));
    EXPECT_EQ(App().SetParamRemote(peer.Address(), "A", "1", false), 0);
    EXPECT_EQ(peer.Request(), R"({"REQUEST_TYPE": "SET_PARAM", "NAME": "A", "VALUE": "1", "COMMIT": false})");
}

TEST(SetParamRemote, RefusesAHostNameWithoutAnyTraffic) {
    EXPECT_EQ(App().SetParamRemote("localhost", NAME, "guest", true), -1);
    ASSERT_EQ(LogSpy::Messages().size(), 1U) << LogSpy::Dump();
    EXPECT_TRUE(LogSpy::Contains(3, "\"localhost is not a valid IP\""));
}

TEST(SetParamRemote, RaisesForAValueThatIsNotUtf8) {
    EXPECT_THROW(App().SetParamRemote("127.0.0.1", NAME, "\xff", true), std::runtime_error);
    EXPECT_TRUE(LogSpy::Messages().empty()) << LogSpy::Dump();
}

TEST(GetFileRemote, RaisesForANameThatIsNotUtf8AndShowsItsBeginning) {
    std::vector<char> data;
    try {
        (void)App().GetFileRemote("127.0.0.1", "/etc/\xff", data);
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "file name beginning with '/etc/': the text is not valid UTF-8");
    }
}

TEST(GetParamRemote, SendsTheRequestTypeInTheBody) {
    TTcpPeer peer(Frame(OK));
    TParams params;
    EXPECT_EQ(App().GetParamRemote(peer.Address(), NAME, params), 0);
    EXPECT_EQ(peer.Request(), R"({"REQUEST_TYPE": "GET_PARAM", "NAME": "Device.WiFi.SSID.1.SSID"})");
}

TEST(GetParamRemote, ReplacesTheListByTheAnswer) {
    TTcpPeer peer(Frame(R"({"STATUS": "OK", "PARAMS": [{"NAME": "A", "VALUE": "1"}, {"NAME": "B"}]})"));
    TParams params{{"old", "old"}, {"old", "old"}, {"old", "old"}};
    EXPECT_EQ(App().GetParamRemote(peer.Address(), NAME, params), 0);
    EXPECT_EQ(Written(params), "A=1;B=;");
}

TEST(GetParamRemote, EmptiesTheListWhenASuccessHasNoParameters) {
    TTcpPeer peer(Frame(OK));
    TParams params{{"old", "old"}};
    EXPECT_EQ(App().GetParamRemote(peer.Address(), NAME, params), 0);
    EXPECT_EQ(Written(params), "");
}

TEST(GetParamRemote, DoesNotReadABlob) {
    TTcpPeer peer(Frame(R"({"STATUS": "OK", "PARAMS": [{"NAME": "A", "VALUE": "1"}]})", "blob"));
    TParams params;
    EXPECT_EQ(App().GetParamRemote(peer.Address(), NAME, params), 0);
    EXPECT_EQ(Written(params), "A=1;");
}

TEST(GetFileRemote, SendsTheRequestTypeInTheBody) {
    TTcpPeer peer(Frame(OK, "content"));
    std::vector<char> data;
    EXPECT_EQ(App().GetFileRemote(peer.Address(), "/etc/motd", data), 0);
    EXPECT_EQ(peer.Request(), R"({"REQUEST_TYPE": "GET_FILE", "FILE_NAME": "/etc/motd"})");
    EXPECT_EQ(Text(data), "content");
}

TEST(GetFileRemote, LeavesTheDataAsItWasForAnEmptyFile) {
    TTcpPeer peer(Frame(OK));
    std::vector<char> data{'o', 'l', 'd'};
    EXPECT_EQ(App().GetFileRemote(peer.Address(), "/etc/empty", data), 0);
    EXPECT_EQ(Text(data), "old");
}

TEST(GetFileRemote, LeavesTheTailOfAFileThatIsCutOffAsItWas) {
    TTcpPeer peer(Frame(static_cast<uint32_t>(OK.size()), 5, OK + "n"));
    std::vector<char> data{'o', 'l', 'd'};
    EXPECT_EQ(App().GetFileRemote(peer.Address(), "/etc/motd", data), 0);
    EXPECT_EQ(Text(data), std::string("nld\0\0", 5));
}

TEST(GetFileRemote, LeavesTheDataAsItWasForAFileAboveTheLargestSize) {
    TTcpPeer peer(Frame(static_cast<uint32_t>(OK.size()), 1048576, OK + "new"));
    std::vector<char> data{'o', 'l', 'd'};
    EXPECT_EQ(App().GetFileRemote(peer.Address(), "/etc/motd", data), 0);
    EXPECT_EQ(Text(data), "old");
    EXPECT_EQ(LogSpy::Count(3), 0U) << LogSpy::Dump();
}

TEST(GetFileRemote, LogsAnAnswerThatCannotBeParsedAndCarriesOn) {
    TTcpPeer peer(Frame("100%s of it", "content"));
    std::vector<char> data;
    EXPECT_EQ(App().GetFileRemote(peer.Address(), "/etc/motd", data), -1);
    EXPECT_EQ(LogSpy::Count(3, "\"Failed to parse response: 100%s of it\""), 1U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3, R"("Remote Zelto has failed with ''. \n\n 100%s of it\n")"), 1U)
        << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3), 2U) << LogSpy::Dump();
}

TEST(GetFileRemote, WritesBackslashesIntoTheLogNotLineBreaks) {
    const std::string answer = R"({"STATUS": "NOT_FOUND"})";
    TTcpPeer peer(Frame(answer));
    std::vector<char> data{'o', 'l', 'd'};
    EXPECT_EQ(App().GetFileRemote(peer.Address(), "/none", data), -1);
    EXPECT_EQ(LogSpy::Count(3, R"("Remote Zelto has failed with 'NOT_FOUND'. \n\n )" + answer + R"(\n")"), 1U)
        << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3), 1U) << LogSpy::Dump();
    EXPECT_EQ(Text(data), "old");
}

struct TFailure {
    const char* answer;
    const char* status;
};

void PrintTo(const TFailure& failure, std::ostream* out) {
    *out << failure.answer;
}

class FailureOfThePeer : public testing::TestWithParam<TFailure> {
protected:
    static void ExpectLogged() {
        const std::string message =
            std::string("\"Remote Zelto has failed with '") + GetParam().status + "'\"";
        EXPECT_EQ(LogSpy::Count(3, message), 1U) << LogSpy::Dump();
        EXPECT_EQ(LogSpy::Count(3), 1U) << LogSpy::Dump();
    }
};

TEST_P(FailureOfThePeer, IsLoggedWithItsStatusBySetParamRemote) {
    TTcpPeer peer(Frame(GetParam().answer));
    EXPECT_EQ(App().SetParamRemote(peer.Address(), NAME, "guest", true), -1);
    ExpectLogged();
}

TEST_P(FailureOfThePeer, IsLoggedWithItsStatusByGetParamRemote) {
    TTcpPeer peer(Frame(GetParam().answer));
    TParams params{{"old", "old"}};
    EXPECT_EQ(App().GetParamRemote(peer.Address(), NAME, params), -1);
    EXPECT_EQ(Written(params), "old=old;");
    ExpectLogged();
}

INSTANTIATE_TEST_SUITE_P(RemoteRequests, FailureOfThePeer,
                         testing::Values(TFailure{R"({"STATUS": "ok"})", "ok"},
                                         TFailure{R"({"STATUS": "OK "})", "OK "},
                                         TFailure{R"({"STATUS": "100%s"})", "100%s"},
                                         TFailure{R"({"STATUS": true})", ""}, TFailure{"{}", ""},
                                         TFailure{R"({"PARAMS": []})", ""}, TFailure{"not json", ""},
                                         TFailure{R"({"STATUS": "OK")", ""}, TFailure{R"(["OK"])", ""}));

TEST(RemoteRequests, FailWhenThePeerClosesAtAnyByte) {
    const std::string frame = Frame(OK);
    for (std::size_t size = 0; size < frame.size(); ++size) {
        LogSpy::Clear();
        TTcpPeer peer(frame.substr(0, size));
        EXPECT_EQ(App().SetParamRemote(peer.Address(), NAME, "guest", true), -1) << size;
        EXPECT_EQ(LogSpy::Count(3, "\"Remote Zelto has failed with ''\""), 1U) << size << LogSpy::Dump();
    }
}

TEST(RemoteRequests, FailWithoutAConnection) {
    const support::TAbsentPeer absent;
    const std::string address = absent.Address();
    TParams params{{"old", "old"}};
    std::vector<char> data{'o', 'l', 'd'};
    EXPECT_EQ(App().SetParamRemote(address, NAME, "guest", true), -1);
    EXPECT_EQ(App().GetParamRemote(address, NAME, params), -1);
    EXPECT_EQ(App().GetFileRemote(address, "/etc/motd", data), -1);
    EXPECT_EQ(Written(params), "old=old;");
    EXPECT_EQ(Text(data), "old");
    EXPECT_EQ(LogSpy::Count(3, "\"Failed to connect to " + address + ":42042\""), 3U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3), 3U) << LogSpy::Dump();
}

} // namespace
