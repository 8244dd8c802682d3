// The remote calls of the C interface. No bus is needed, and there is none.
#include "capi/CannedPeer.h"

#include "support/LogSpy.h"
#include "zelto/ZeltoAppLib.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

template <std::size_t Size>
void Fill(char (&field)[Size], const std::string& text) {
    ASSERT_LT(text.size(), Size);
    std::memcpy(field, text.c_str(), text.size() + 1);
}

class RemoteParam : public testing::Test {
protected:
    RemoteParam() {
        Fill(remote.remoteAddress, peer.Address());
        Fill(remote.request.param.name, "Device.A");
        Fill(remote.request.param.value, "before");
    }
    ~RemoteParam() override { zeltoAppLibReleaseParamRequest(&remote.request); }

    capi::TCannedPeer peer;
    tZeltoParamRemoteRequest remote = {};
};

TEST_F(RemoteParam, SetSendsTheRequestTypeInTheBody) {
    peer.AnswerWith("{\"STATUS\": \"OK\"}");
    EXPECT_EQ(zeltoAppLibSetParamRemote(&remote, true), ZELTO_APP_OK);
    EXPECT_THAT(
        peer.Requests(),
        ElementsAre(
            R"({"REQUEST_TYPE": "SET_PARAM", "NAME": "Device.A", "VALUE": "before", "COMMIT": true})"));
}

TEST_F(RemoteParam, SetFailsWithAnyOtherStatus) {
    for (const char* const answer : {"{\"STATUS\": \"ok\"}", "{\"STATUS\": 0}", "{}", "no JSON"}) {
        peer.AnswerWith(answer);
        EXPECT_EQ(zeltoAppLibSetParamRemote(&remote, false), ZELTO_APP_FAILED) << answer;
    }
}

TEST_F(RemoteParam, GetWritesNameAndValueOfOneResult) {
    peer.AnswerWith(R"({"STATUS": "OK", "PARAMS": [{"NAME": "Device.B", "VALUE": "v"}]})");
    ASSERT_EQ(zeltoAppLibGetParamRemote(&remote), ZELTO_APP_OK);
    EXPECT_THAT(peer.Requests(), ElementsAre(R"({"REQUEST_TYPE": "GET_PARAM", "NAME": "Device.A"})"));
    EXPECT_STREQ(remote.request.param.name, "Device.B");
    EXPECT_STREQ(remote.request.param.value, "v");
    EXPECT_FALSE(remote.request.isArray);
    EXPECT_EQ(remote.request.paramArray.params, nullptr);
}

TEST_F(RemoteParam, GetLeavesTheLastByteOfBothFieldsToTheCaller) {
    remote.request.param.name[255] = 'N';
    remote.request.param.value[255] = 'V';
    const std::string text(300, 't');
    peer.AnswerWith(R"({"STATUS": "OK", "PARAMS": [{"NAME": ")" + text + R"(", "VALUE": ")" + text + "\"}]}");
    ASSERT_EQ(zeltoAppLibGetParamRemote(&remote), ZELTO_APP_OK);
    EXPECT_EQ(std::string(remote.request.param.name, 256), text.substr(0, 255) + "N");
    EXPECT_EQ(std::string(remote.request.param.value, 256), text.substr(0, 255) + "V");
}

TEST_F(RemoteParam, GetPadsShortTextsWithZeros) {
    std::memset(remote.request.param.value, 'x', sizeof(remote.request.param.value));
    peer.AnswerWith(R"({"STATUS": "OK", "PARAMS": [{"NAME": "n", "VALUE": "v"}]})");
    ASSERT_EQ(zeltoAppLibGetParamRemote(&remote), ZELTO_APP_OK);
    EXPECT_EQ(std::string(remote.request.param.value, 256), "v" + std::string(254, '\0') + "x");
}

TEST_F(RemoteParam, GetGivesAnArrayForSeveralResults) {
    peer.AnswerWith(
        R"({"STATUS": "OK", "PARAMS": [{"NAME": "a", "VALUE": "1"}, {"NAME": "b", "VALUE": "2"}]})");
    ASSERT_EQ(zeltoAppLibGetParamRemote(&remote), ZELTO_APP_OK);
    EXPECT_TRUE(remote.request.isArray);
    ASSERT_EQ(remote.request.paramArray.count, 2U);
    EXPECT_STREQ(remote.request.paramArray.params[0].name, "a");
    EXPECT_STREQ(remote.request.paramArray.params[1].value, "2");
    EXPECT_STREQ(remote.request.param.name, "Device.A");
    EXPECT_STREQ(remote.request.param.value, "before");
}

TEST_F(RemoteParam, GetReleasesAnEarlierArrayForOneResult) {
    zeltoAppLibAllocateParamArray(&remote.request.paramArray, 3);
    remote.request.isArray = true;
    peer.AnswerWith(R"({"STATUS": "OK", "PARAMS": [{"NAME": "a", "VALUE": "1"}]})");
    ASSERT_EQ(zeltoAppLibGetParamRemote(&remote), ZELTO_APP_OK);
    EXPECT_FALSE(remote.request.isArray);
    EXPECT_EQ(remote.request.paramArray.params, nullptr);
    EXPECT_EQ(remote.request.paramArray.count, 0U);
}

TEST_F(RemoteParam, GetLeavesTheParameterWhenThereIsNoResult) {
    remote.request.isArray = true;
    peer.AnswerWith(R"({"STATUS": "OK"})");
    ASSERT_EQ(zeltoAppLibGetParamRemote(&remote), ZELTO_APP_OK);
    EXPECT_FALSE(remote.request.isArray);
    EXPECT_STREQ(remote.request.param.name, "Device.A");
    EXPECT_STREQ(remote.request.param.value, "before");
}

TEST_F(RemoteParam, GetLeavesTheRecordOnFailure) {
    zeltoAppLibAllocateParamArray(&remote.request.paramArray, 3);
    remote.request.isArray = true;
    const tZeltoParam* const earlier = remote.request.paramArray.params;
    peer.AnswerWith(R"({"STATUS": "NO", "PARAMS": [{"NAME": "a", "VALUE": "1"}]})");
    EXPECT_EQ(zeltoAppLibGetParamRemote(&remote), ZELTO_APP_FAILED);
    EXPECT_TRUE(remote.request.isArray);
    EXPECT_EQ(remote.request.paramArray.params, earlier);
    EXPECT_STREQ(remote.request.param.value, "before");
}

TEST_F(RemoteParam, AcceptsNoHostName) {
    Fill(remote.remoteAddress, "localhost");
    EXPECT_EQ(zeltoAppLibSetParamRemote(&remote, true), ZELTO_APP_FAILED);
    EXPECT_TRUE(LogSpy::Contains(3, "\"localhost is not a valid IP\""));
    EXPECT_THAT(peer.Requests(), IsEmpty());
}

TEST_F(RemoteParam, ReadsAnUnterminatedAddressToItsEnd) {
    std::memset(remote.remoteAddress, '1', sizeof(remote.remoteAddress));
    EXPECT_EQ(zeltoAppLibGetParamRemote(&remote), ZELTO_APP_FAILED);
    EXPECT_TRUE(LogSpy::Contains(3, "\"" + std::string(46, '1') + " is not a valid IP\""));
}

// A runtime error would end a C program if it left the call.
TEST_F(RemoteParam, RefusesTextsThatAreNotUtf8) {
    Fill(remote.request.param.value, "\xff");
    EXPECT_EQ(zeltoAppLibSetParamRemote(&remote, true), ZELTO_APP_NOT_SENT);
    EXPECT_TRUE(LogSpy::ContainsPart(3, "Device.A"));
    Fill(remote.request.param.name, "\xff");
    EXPECT_EQ(zeltoAppLibGetParamRemote(&remote), ZELTO_APP_NOT_SENT);
    EXPECT_EQ(LogSpy::Count(3), 2U);
    EXPECT_THAT(peer.Requests(), IsEmpty());
}

class RemoteFile : public testing::Test {
protected:
    RemoteFile() {
        Fill(remote.remoteAddress, peer.Address());
        Fill(remote.request.name, "/tmp/file");
    }
    ~RemoteFile() override { zeltoAppLibReleaseLongParamRemote(&remote); }

    std::string Content() const { return std::string(remote.request.value, remote.request.size); }

    capi::TCannedPeer peer;
    tZeltoLongParamRemoteRequest remote = {};
};

TEST_F(RemoteFile, IsGivenByteForByteWithoutANul) {
    const std::string content("a\0b\xff", 4);
    peer.AnswerWith("{\"STATUS\": \"OK\"}", content);
    ASSERT_EQ(zeltoAppLibGetFileRemote(&remote), ZELTO_APP_OK);
    EXPECT_THAT(peer.Requests(), ElementsAre(R"({"REQUEST_TYPE": "GET_FILE", "FILE_NAME": "/tmp/file"})"));
    EXPECT_EQ(remote.request.size, 4U);
    EXPECT_EQ(Content(), content);
}

TEST_F(RemoteFile, MayBeAsLargeAsAMebibyteLessOne) {
    const std::string content(1048575, 'c');
    peer.AnswerWith("{\"STATUS\": \"OK\"}", content);
    ASSERT_EQ(zeltoAppLibGetFileRemote(&remote), ZELTO_APP_OK);
    EXPECT_TRUE(Content() == content);
}

TEST_F(RemoteFile, GivesABufferThatIsNotNullWhenEmpty) {
    peer.AnswerWith("{\"STATUS\": \"OK\"}");
    ASSERT_EQ(zeltoAppLibGetFileRemote(&remote), ZELTO_APP_OK);
    EXPECT_EQ(remote.request.size, 0U);
    EXPECT_NE(remote.request.value, nullptr);
}

TEST_F(RemoteFile, HasZerosForWhatIsCutOff) {
    peer.AnswerWithPart("{\"STATUS\": \"OK\"}", "ab", 4);
    ASSERT_EQ(zeltoAppLibGetFileRemote(&remote), ZELTO_APP_OK);
    EXPECT_EQ(Content(), std::string("ab\0\0", 4));
}

TEST_F(RemoteFile, IsEmptyWhenAMebibyteIsAnnounced) {
    zeltoAppLibAllocateLongParamRequest(&remote.request, 100);
    peer.AnswerWithPart("{\"STATUS\": \"OK\"}", "ab", 1048576);
    ASSERT_EQ(zeltoAppLibGetFileRemote(&remote), ZELTO_APP_OK);
    EXPECT_EQ(remote.request.size, 0U);
    EXPECT_NE(remote.request.value, nullptr);
}

TEST_F(RemoteFile, ReplacesAnEarlierBuffer) {
    zeltoAppLibAllocateLongParamRequest(&remote.request, 100);
    peer.AnswerWith("{\"STATUS\": \"OK\"}", "new");
    ASSERT_EQ(zeltoAppLibGetFileRemote(&remote), ZELTO_APP_OK);
    EXPECT_EQ(Content(), "new");
}

TEST_F(RemoteFile, LeavesTheRecordOnFailure) {
    zeltoAppLibAllocateLongParamRequest(&remote.request, 100);
    const char* const earlier = remote.request.value;
    peer.AnswerWith("{\"STATUS\": \"NO\"}", "new");
    EXPECT_EQ(zeltoAppLibGetFileRemote(&remote), ZELTO_APP_FAILED);
    EXPECT_EQ(remote.request.value, earlier);
    EXPECT_EQ(remote.request.size, 100U);
}

TEST(RemoteCalls, LogTheirNameForANullRecord) {
    EXPECT_EQ(zeltoAppLibSetParamRemote(nullptr, true), ZELTO_APP_FAILED);
    EXPECT_EQ(zeltoAppLibGetParamRemote(nullptr), ZELTO_APP_FAILED);
    EXPECT_EQ(zeltoAppLibGetFileRemote(nullptr), ZELTO_APP_FAILED);
    EXPECT_THAT(
        LogSpy::Messages(),
        ElementsAre(
            testing::Field(&LogSpy::TMessage::text, "\"zeltoAppLibSetParamRemote: the request is NULL\""),
            testing::Field(&LogSpy::TMessage::text, "\"zeltoAppLibGetParamRemote: the request is NULL\""),
            testing::Field(&LogSpy::TMessage::text, "\"zeltoAppLibGetFileRemote: the request is NULL\"")));
    EXPECT_EQ(LogSpy::Count(3), 3U);
}

} // namespace
