// Parameter requests: the exact bodies on the bus, and what becomes of the answers.
#include "bus/ScriptedManager.h"

#include "zelto/TZeltoJsonObject.h"

#include <gmock/gmock.h>

#include <thread>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

using TResults = std::vector<std::vector<std::pair<std::string, std::string>>>;

constexpr const char* DISPATCHER_NAME = "com.Ulmet.Zelto.ZELTO_DISPATCHER";

class ParamRequests : public support::ManagedApplication {};

TEST_F(ParamRequests, TravelAsOneTextToTheDispatcher) {
    std::string value;
    app.GetParam("Device.A", value);
    const auto calls = manager.Peer().Received(&support::TRawMessage::IsCall);
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].destination, "com.Ulmet.Zelto.ZELTO_DISPATCHER");
    EXPECT_EQ(calls[0].path, "/com/Ulmet/Zelto/ZELTO_DISPATCHER");
    EXPECT_EQ(calls[0].interface, "com.Ulmet.Zelto.Zelto");
    EXPECT_EQ(calls[0].signature, "s");
}

TEST_F(ParamRequests, GetParamSendsTheNameAndReplacesTheList) {
    manager.Answer(R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "home"},)"
                   R"( {"NAME": "Device.WiFi.SSID.2.SSID", "VALUE": "guest"}]})");
    TParams params{{"old", "old"}, {"old", "old"}, {"old", "old"}};
    EXPECT_EQ(app.GetParam("Device.WiFi.SSID.*.SSID", params), 0);
    EXPECT_EQ(manager.Requests(), R"(GET_PARAM {"NAME": "Device.WiFi.SSID.*.SSID"})");
    EXPECT_EQ(Written(params), "Device.WiFi.SSID.1.SSID=home;Device.WiFi.SSID.2.SSID=guest;");
}

TEST_F(ParamRequests, GetParamGivesTheFirstValue) {
    manager.Answer(R"({"PARAMS": [{"NAME": "Device.A", "VALUE": "1"}, {"NAME": "Device.A", "VALUE": "2"}]})");
    std::string value = "before";
    EXPECT_EQ(app.GetParam("Device.A", value), 0);
    EXPECT_EQ(value, "1");
}

TEST_F(ParamRequests, GetParamLeavesTheValueAsItWasWhenNoneIsReturned) {
    for (const char* answer : {R"({"PARAMS": []})", "{}", "", "not json"}) {
        manager.Answer(answer);
        std::string value = "before";
        EXPECT_EQ(app.GetParam("Device.A", value), 0);
        EXPECT_EQ(value, "before");
    }
}

TEST_F(ParamRequests, GetParamCopiesTheEntriesIntoAnObjectAndKeepsItsOtherKeys) {
    manager.Answer(R"({"PARAMS": [{"NAME": "A", "VALUE": "1", "MORE": [1]}, 5, {}], "OTHER": 1})");
    TZeltoJsonObject result;
    ASSERT_TRUE(result.DecodeFromString(R"({"KEPT": 1, "PARAMS": [1, 2]})"));
    EXPECT_EQ(app.GetParam("Device.A", result), 0);
    EXPECT_EQ(manager.Requests(), R"(GET_PARAM {"NAME": "Device.A"})");
    EXPECT_EQ(result.EncodeToString(),
              R"({"KEPT": 1, "PARAMS": [{"NAME": "A", "VALUE": "1", "MORE": [1]}, {}, {}]})");
}

TEST_F(ParamRequests, GetParamSetsNullInAnObjectWhenNoneIsReturned) {
    for (const char* answer : {R"({"PARAMS": []})", "{}", "not json"}) {
        manager.Answer(answer);
        TZeltoJsonObject result;
        EXPECT_EQ(app.GetParam("Device.A", result), 0);
        EXPECT_EQ(result.EncodeToString(), R"({"PARAMS": null})");
    }
}

TEST_F(ParamRequests, GetParamSucceedsForADocumentThatIsNoObjectAndLeavesIt) {
    manager.Answer(R"({"PARAMS": [{"NAME": "A", "VALUE": "1"}]})");
    TZeltoJsonObject result;
    ASSERT_FALSE(result.DecodeFromString("not json"));
    EXPECT_EQ(app.GetParam("Device.A", result), 0);
    EXPECT_EQ(result.EncodeToString(), "");
}

TEST_F(ParamRequests, SetParamSendsTheFlagAsABoolean) {
    EXPECT_EQ(app.SetParam("Device.A", "1", false), 0);
    EXPECT_EQ(app.SetParam("Device.A", "\"\\\xc3\xbc\n", true), 0);
    EXPECT_EQ(manager.Requests(), R"(SET_PARAM {"NAME": "Device.A", "VALUE": "1", "COMMIT": false})"
                                  "\n"
                                  R"(SET_PARAM {"NAME": "Device.A", "VALUE": "\"\\)"
                                  "\xc3\xbc"
                                  R"(\n", "COMMIT": true})");
}

TEST_F(ParamRequests, SetParamDoesNotLookAtTheAnswer) {
    manager.Answer("not json");
    EXPECT_EQ(app.SetParam("Device.A", "1", false), 0);
}

TEST_F(ParamRequests, GetParamArraySendsTheNamesOnly) {
    manager.Answer(R"({"PARAMS": [{"NAME": "B", "VALUE": "2"}]})");
    TParams params{{"A", "ignored"}, {"B", ""}};
    EXPECT_EQ(app.GetParamArray(params), 0);
    EXPECT_EQ(manager.Requests(), R"(GET_PARAM_ARRAY {"PARAMS": [{"NAME": "A"}, {"NAME": "B"}]})");
    EXPECT_EQ(Written(params), "B=2;");
}

TEST_F(ParamRequests, SendAnEmptyListAsNull) {
    TParams params;
    TResults results;
    app.GetParamArray(params);
    app.GetParamArray({}, results);
    app.SetParamArray({}, true);
    EXPECT_EQ(manager.Requests(), "GET_PARAM_ARRAY {\"PARAMS\": null}\n"
                                  "GET_PARAM_ARRAY {\"PARAMS\": null}\n"
                                  "SET_PARAM_ARRAY {\"PARAMS\": null, \"COMMIT\": true}");
}

TEST_F(ParamRequests, SetParamArraySendsTheFlagBesideTheList) {
    EXPECT_EQ(app.SetParamArray({{"A", "1"}, {"B", ""}}, true), 0);
    EXPECT_EQ(manager.Requests(), R"(SET_PARAM_ARRAY {"PARAMS": [{"NAME": "A", "VALUE": "1"}, )"
                                  R"({"NAME": "B", "VALUE": ""}], "COMMIT": true})");
}

TEST_F(ParamRequests, GetParamArraySortsTheAnswersByRequestedName) {
    manager.Answer(R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "home"},)"
                   R"( {"NAME": "Device.A", "VALUE": "a"}, {"NAME": "Device.Unasked", "VALUE": "x"},)"
                   R"( {"NAME": "Device.WiFi.SSID.2.SSID", "VALUE": "guest"}]})");
    TResults results;
    EXPECT_EQ(app.GetParamArray({"Device.A", "Device.WiFi.SSID.*.SSID", "Device.None"}, results), 0);
    EXPECT_EQ(manager.Requests(), R"(GET_PARAM_ARRAY {"PARAMS": [{"NAME": "Device.A"}, )"
                                  R"({"NAME": "Device.WiFi.SSID.*.SSID"}, {"NAME": "Device.None"}]})");
    const TResults expected{
        {{"Device.A", "a"}}, {{"Device.WiFi.SSID.1.SSID", "home"}, {"Device.WiFi.SSID.2.SSID", "guest"}}, {}};
    EXPECT_EQ(results, expected);
}

TEST_F(ParamRequests, GetParamArrayGivesAParameterToTheFirstNameThatMatches) {
    manager.Answer(R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "home"},)"
                   R"( {"NAME": "Device.WiFi.SSID.2.SSID", "VALUE": "guest"}]})");
    TResults results;
    EXPECT_EQ(app.GetParamArray({"Device.WiFi.SSID.*.SSID", "Device.WiFi.SSID.1.SSID", ""}, results), 0);
    const TResults expected{
        {{"Device.WiFi.SSID.1.SSID", "home"}, {"Device.WiFi.SSID.2.SSID", "guest"}}, {}, {}};
    EXPECT_EQ(results, expected);
}

TEST_F(ParamRequests, GetParamArrayKeepsWhatTheInnerListsHeld) {
    manager.Answer(R"({"PARAMS": [{"NAME": "A", "VALUE": "1"}]})");
    TResults results{{{"kept", "kept"}}, {{"surplus", ""}}};
    EXPECT_EQ(app.GetParamArray({"A"}, results), 0);
    const TResults expected{{{"kept", "kept"}, {"A", "1"}}};
    EXPECT_EQ(results, expected);
}

TEST_F(ParamRequests, GetParamArrayGivesEmptyListsForAnAnswerThatIsNoJson) {
    manager.Answer("not json");
    TResults results;
    EXPECT_EQ(app.GetParamArray({"A", "B"}, results), 0);
    EXPECT_EQ(results, TResults(2));
    TParams params{{"A", ""}};
    EXPECT_EQ(app.GetParamArray(params), 0);
    EXPECT_EQ(Written(params), "");
}

class ParamFailure : public ParamRequests {
protected:
    // Every request, each time with outputs that must stay as they are.
    void ExpectEach(int rc, const std::string& name, const std::string& text) {
        TParams params{{name, text}};
        std::string value = "before";
        TZeltoJsonObject object;
        TResults results{{{"kept", "kept"}}, {}, {}};
        EXPECT_EQ(app.GetParam(name, params), rc);
        EXPECT_EQ(app.GetParam(name, value), rc);
        EXPECT_EQ(app.GetParam(name, object), rc);
        EXPECT_EQ(app.SetParam(name, text, true), rc);
        EXPECT_EQ(app.GetParamArray(params), rc);
        EXPECT_EQ(app.GetParamArray({name}, results), rc);
        EXPECT_EQ(app.SetParamArray(params, true), rc);
        EXPECT_EQ(Written(params), name + "=" + text + ";");
        EXPECT_EQ(value, "before");
        EXPECT_EQ(object.EncodeToString(), "{}");
        EXPECT_EQ(results, (TResults{{{"kept", "kept"}}, {}, {}}));
    }
};

TEST_F(ParamFailure, OfTheManagerGivesMinusOneWhateverItsCodeAndLogsNothing) {
    for (const int32_t code : {-1, 1, 3, 7, 12, INT32_MIN, INT32_MAX}) {
        manager.Answer(R"({"PARAMS": [{"NAME": "A", "VALUE": "1"}]})", code);
        ExpectEach(-1, "Device.A", "1");
    }
    EXPECT_EQ(LogSpy::Count(3), 0U) << LogSpy::Dump();
}

TEST_F(ParamFailure, OfAnAbsentManagerGivesMinusOne) {
    manager.Peer().ReleaseName("com.Ulmet.Zelto.ZELTO_DISPATCHER");
    ExpectEach(-1, "Device.A", "1");
}

TEST_F(ParamFailure, OfAManagerThatAnswersWithoutACodeGivesMinusOne) {
    const support::TRawArguments answers[] = {
        {std::string(R"({"PARAMS": [{"NAME": "A", "VALUE": "1"}]})")},
        {std::string(R"({"PARAMS": [{"NAME": "A", "VALUE": "1"}]})"), uint32_t{0}},
        {},
    };
    for (const support::TRawArguments& answer : answers) {
        LogSpy::Clear();
        manager.Peer().ServeWith([&](const support::TRawMessage&) { return answer; });
        ExpectEach(-1, "Device.A", "1");
        EXPECT_EQ(LogSpy::Count(5), 7U) << LogSpy::Dump();
    }
}

TEST_F(ParamRequests, TakeAnAnswerWithoutATextForAnEmptyOne) {
    manager.Peer().ServeWith([](const support::TRawMessage&) { return support::TRawArguments{int32_t{0}}; });
    std::string value = "before";
    TParams params{{"A", "1"}};
    EXPECT_EQ(app.GetParam("Device.A", value), 0);
    EXPECT_EQ(app.GetParamArray(params), 0);
    EXPECT_EQ(app.SetParam("Device.A", "1", true), 0);
    EXPECT_EQ(value, "before");
    EXPECT_EQ(Written(params), "");
    EXPECT_EQ(LogSpy::CountPart(5, " is 'i' instead of a text and a code."), 3U) << LogSpy::Dump();
}

TEST_F(ParamFailure, OfAManagerThatDiesInTheMiddleGivesMinusOneAndTheNextOneIsAsked) {
    auto dying = std::make_unique<support::TRawPeer>(support::TBusEnvironment::Bus().Address());
    manager.Peer().ReleaseName(DISPATCHER_NAME);
    dying->OwnName(DISPATCHER_NAME);
    std::thread killer([&dying] {
        EXPECT_TRUE(dying->WaitFor(&support::TRawMessage::IsCall));
        dying.reset();
    });
    std::string value = "before";
    EXPECT_EQ(app.GetParam("Device.A", value), -1);
    EXPECT_EQ(value, "before");
    EXPECT_EQ(LogSpy::Count(3), 1U) << LogSpy::Dump();
    killer.join();
    support::TScriptedManager next(support::TBusEnvironment::Bus().Address());
    next.Answer(R"({"PARAMS": [{"NAME": "Device.A", "VALUE": "1"}]})");
    EXPECT_EQ(app.GetParam("Device.A", value), 0);
    EXPECT_EQ(value, "1");
}

TEST_F(ParamFailure, ByANameThatIsNotUtf8GivesThreeAndSendsNothing) {
    ExpectEach(3, "Device.\xff", "1");
    EXPECT_EQ(manager.Requests(), "");
    EXPECT_EQ(LogSpy::Count(3, "\"parameter name beginning with 'Device.': the text is not valid UTF-8\""),
              7U)
        << LogSpy::Dump();
}

TEST_F(ParamFailure, ByAValueThatIsNotUtf8GivesThreeNamesTheParameterAndSendsNothing) {
    EXPECT_EQ(app.SetParam("Device.A", "\xc3(", true), 3);
    EXPECT_EQ(app.SetParamArray({{"Device.B", "good"}, {"Device.C", "\xff"}}, true), 3);
    EXPECT_EQ(manager.Requests(), "");
    EXPECT_EQ(LogSpy::Count(3, "\"Device.A: the text is not valid UTF-8\""), 1U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3, "\"Device.C: the text is not valid UTF-8\""), 1U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3), 2U) << LogSpy::Dump();
}

TEST_F(ParamFailure, IsFollowedByTheNextRequest) {
    EXPECT_EQ(app.SetParam("Device.A", "\xff", true), 3);
    EXPECT_EQ(app.SetParam("Device.A", "1", true), 0);
}

TEST_F(ParamRequests, MayBeMadeOnSeveralThreadsAtOnce) {
    manager.Peer().ServeWith([](const support::TRawMessage& call) {
        return support::TRawArguments{"{\"PARAMS\": [" + call.Text(0) + "]}", int32_t{0}};
    });
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (std::size_t caller = 0; caller < wrong.size(); ++caller) {
        threads.emplace_back([this, &wrong, caller] {
            for (int round = 0; round < 100; ++round) {
                const std::string name = "Device." + std::to_string(caller) + "." + std::to_string(round);
                TParams params;
                const int rc = app.GetParam(name, params);
                wrong[caller] += rc == 0 && params.size() == 1 && params[0].name == name ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(wrong, testing::Each(0));
}

} // namespace
