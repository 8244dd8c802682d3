// Input that libdbus would end the process over: each kind is refused with a reason, and the party goes on.

#include "BusParty.h"

#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

using namespace busparty;
using namespace support;
using testing::AllOf;
using testing::HasSubstr;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

constexpr std::size_t LONGEST_TEXT = 16U * 1024 * 1024;

template <typename TBody>
std::string Failure(TBody body) {
    try {
        body();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no exception";
}

// The reason is logged as it is thrown, once.
void ExpectLogged(const std::string& failure) {
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::ContainsPart(3, failure)) << failure;
    LogSpy::Clear();
}

// A running party that calls another one.
class Caller : public testing::Test {
protected:
    std::string CallFailure(const std::string& serverId, const std::string& method,
                            const std::string& request) {
        TZeltoIpc::TMethodSettings settings{serverId, 10};
        std::string result = "before";
        const std::string failure =
            Failure([&] { (void)caller.party.CallMethod(method, request, result, settings); });
        EXPECT_EQ("before", result);
        return failure;
    }

    void ExpectNextCallWorks() {
        TZeltoIpc::TMethodSettings settings{"SERVER", 10};
        std::string result;
        EXPECT_EQ(0, caller.party.CallMethod("ECHO", "next", result, settings));
        EXPECT_EQ("next", result);
        caller.party.SendEvent("NEXT", "event");
        EXPECT_TRUE(caller.events.WaitFor({"NEXT", "event"}));
    }

    const TServingParty server{"SERVER"};
    TServingParty caller{"CALLER"};
};

// A bad text and how the reason shows it.
struct TBadName {
    TBadName(const char* plain) : text(plain), shown(plain) {}
    TBadName(std::string badText, std::string shownText)
        : text(std::move(badText)), shown(std::move(shownText)) {}
    std::string text;
    std::string shown;
};

void PrintTo(const TBadName& name, std::ostream* out) {
    *out << name.shown;
}

class BadIdentity : public Caller, public testing::WithParamInterface<TBadName> {};
class BadMember : public Caller, public testing::WithParamInterface<TBadName> {};
class BadText : public Caller, public testing::WithParamInterface<std::string> {};

} // namespace

TEST_P(BadIdentity, IsRefusedByInit) {
    ASSERT_TRUE(BUS_READY);
    LogSpy::Clear();
    const std::string failure = Failure([this] { caller.party.Init(GetParam().text); });
    EXPECT_THAT(failure, AllOf(HasSubstr("'" + GetParam().shown + "'"),
                               HasSubstr("1 to 200 letters, digits and '_', not beginning with a digit")));
    ExpectLogged(failure);
    EXPECT_EQ("CALLER", caller.party.identity);
    EXPECT_EQ("com.Ulmet.Zelto.CALLER", caller.party.busName);
    EXPECT_TRUE(caller.party.running);
    EXPECT_TRUE(HasOwner("CALLER"));
    ExpectNextCallWorks();
}

TEST_P(BadIdentity, IsRefusedAsAServer) {
    LogSpy::Clear();
    const std::string failure = CallFailure(GetParam().text, "GET", "request");
    EXPECT_THAT(failure, HasSubstr("'" + GetParam().shown + "'"));
    ExpectLogged(failure);
    ExpectNextCallWorks();
}

INSTANTIATE_TEST_SUITE_P(Identities, BadIdentity,
                         testing::Values("A-B", "A.B", "A..B", ".A", "1A", "1", "my app", " ", "A/B", "A:B",
                                         "*", TBadName("\xC3\x84", R"(\xc3\x84)"),
                                         TBadName("\xff", R"(\xff)"),
                                         TBadName(std::string("A\0B", 3), R"(A\x00B)"),
                                         TBadName(std::string(201, 'A'), std::string(201, 'A')),
                                         TBadName(std::string(5000, 'A'), std::string(256, 'A') + "...")));

TEST(GoodIdentity, IsAnyOfLettersDigitsAndUnderscores) {
    for (const std::string& identity :
         {std::string("a"), std::string("_"), std::string("A1_b2"), std::string(200, 'A')}) {
        TServingParty serving(identity);
        EXPECT_TRUE(HasOwner(identity)) << identity;
        serving.party.Init("NEXT");
        EXPECT_TRUE(HasOwner("NEXT"));
    }
}

TEST_F(Caller, RefusesToGiveUpItsIdentityForAnEmptyOne) {
    LogSpy::Clear();
    ExpectLogged(Failure([this] { caller.party.Init(""); }));
    EXPECT_EQ("CALLER", caller.party.identity);
    ExpectNextCallWorks();
}

TEST_F(Caller, RefusesABadServerOfTheTable) {
    caller.party.SetMethodServerId("*", "A-B");
    std::string result;
    EXPECT_THROW(caller.party.CallMethod("GET", "request", result), std::runtime_error);
    EXPECT_TRUE(LogSpy::ContainsPart(3, "'A-B'"));
    ExpectNextCallWorks();
}

TEST_P(BadMember, IsRefusedAsAMethod) {
    LogSpy::Clear();
    const std::string failure = CallFailure("SERVER", GetParam().text, "request");
    EXPECT_THAT(failure, AllOf(HasSubstr("'" + GetParam().shown + "'"), HasSubstr("method"),
                               HasSubstr("1 to 255 letters, digits and '_', not beginning with a digit")));
    ExpectLogged(failure);
    ExpectNextCallWorks();
}

TEST_P(BadMember, IsRefusedAsAnEvent) {
    LogSpy::Clear();
    const std::string failure = Failure([this] { caller.party.SendEvent(GetParam().text, "data"); });
    EXPECT_THAT(failure, AllOf(HasSubstr("'" + GetParam().shown + "'"), HasSubstr("event"),
                               HasSubstr("1 to 255 letters, digits and '_', not beginning with a digit")));
    ExpectLogged(failure);
    ExpectNextCallWorks();
}

INSTANTIATE_TEST_SUITE_P(Members, BadMember,
                         testing::Values("", " ", "GET PARAM", "GET-PARAM", "GET.PARAM", "1GET",
                                         TBadName("GET\n", R"(GET\x0a)"), TBadName("\xC3\x84", R"(\xc3\x84)"),
                                         TBadName("GET\xff", R"(GET\xff)"),
                                         TBadName(std::string("GET\0SET", 7), R"(GET\x00SET)"),
                                         TBadName(std::string(256, 'A'), std::string(256, 'A')),
                                         TBadName(std::string(100000, 'A'), std::string(256, 'A') + "...")));

TEST_F(Caller, TakesAMemberOf255Characters) {
    const std::string name(255, 'A');
    TZeltoIpc::TMethodSettings settings{"SERVER", 10};
    std::string result;
    EXPECT_EQ(-1, caller.party.CallMethod(name, "", result, settings));
    caller.party.SendEvent(name, "data");
    EXPECT_TRUE(caller.events.WaitFor({name, "data"}));
}

TEST_P(BadText, IsRefusedAsARequest) {
    LogSpy::Clear();
    const std::string failure = CallFailure("SERVER", "GET", GetParam());
    EXPECT_EQ("the request of 'GET' is not valid UTF-8", failure);
    ExpectLogged(failure);
    ExpectNextCallWorks();
}

TEST_P(BadText, IsRefusedAsTheDataOfAnEvent) {
    LogSpy::Clear();
    const std::string failure = Failure([this] { caller.party.SendEvent("CHANGED", GetParam()); });
    EXPECT_EQ("the data of 'CHANGED' is not valid UTF-8", failure);
    ExpectLogged(failure);
    ExpectNextCallWorks();
}

// A lone byte, a cut character, an overlong form, a surrogate, a code point beyond the last one.
INSTANTIATE_TEST_SUITE_P(Texts, BadText,
                         testing::Values("\xff", "abc\x80", "\xC3", "\xC0\x80", "\xED\xA0\x80",
                                         "\xF4\x90\x80\x80", "eight or\xff", "\xff before eight",
                                         "sixteen or a few characters \xC3 more"));

TEST_F(Caller, RefusesTextsAbove16MiB) {
    const std::string text(LONGEST_TEXT + 1, 'x');
    EXPECT_EQ("the request of 'GET' is longer than 16 MiB", CallFailure("SERVER", "GET", text));
    EXPECT_EQ("the data of 'CHANGED' is longer than 16 MiB",
              Failure([&] { caller.party.SendEvent("CHANGED", text); }));
    EXPECT_TRUE(LogSpy::Contains(3, "\"the request of 'GET' is longer than 16 MiB\""));
    EXPECT_TRUE(LogSpy::Contains(3, "\"the data of 'CHANGED' is longer than 16 MiB\""));
    ExpectNextCallWorks();
}

TEST_F(Caller, CarriesATextOf16MiBThereAndBack) {
    const std::string text(LONGEST_TEXT, 'x');
    TZeltoIpc::TMethodSettings settings{"SERVER", 10};
    std::string result;
    EXPECT_EQ(0, caller.party.CallMethod("ECHO", text, result, settings));
    EXPECT_TRUE(text == result) << result.size();
    ExpectNextCallWorks();
}

TEST_F(Caller, CarriesEveryCharacterOfUtf8) {
    const std::string text = "\x01\x7F\xC2\x80\xEF\xBF\xBF\xF4\x8F\xBF\xBF %s %n \"\\";
    TZeltoIpc::TMethodSettings settings{"SERVER", 10};
    std::string result;
    EXPECT_EQ(0, caller.party.CallMethod("ECHO", text, result, settings));
    EXPECT_EQ(text, result);
}

TEST(BadInputBeforeTheFirstConnect, ConnectsNothing) {
    TAccessParty party;
    TZeltoIpc::TMethodSettings settings{"SERVER", 10};
    std::string result;
    EXPECT_THROW(party.Init("A-B"), std::runtime_error);
    EXPECT_THROW(party.SendEvent("A-B", ""), std::runtime_error);
    EXPECT_THROW(party.CallMethod("A-B", "", result, settings), std::runtime_error);
    EXPECT_FALSE(party.connected);
    EXPECT_EQ("", party.identity);
}

// Its address is made of its process number, which is no element of a bus name.
TEST(UnnamedParty, MayBeAskedToRegisterAndToReleaseItsName) {
    TAccessParty party;
    party.RegisterBusName();
    party.ReleaseBusName();
    party.Connect();
    EXPECT_THROW(party.RegisterBusName(), std::runtime_error);
    EXPECT_NO_THROW(party.ReleaseBusName());
    party.Init("PARTY");
    EXPECT_TRUE(HasOwner("PARTY"));
}
