// What handlers are handed for the instances of a wildcard.

#include "Requests.h"
#include "ScriptedPlatform.h"

#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using scripted::Calls;
using scripted::DONE;
using scripted::ReportInstances;
using scripted::Request;
using scripted::Script;
using scripted::TAnswer;
using testing::ElementsAre;

class WildcardDispatch : public testing::Test {
protected:
    static void SetUpTestSuite() {
        using scripted::FullEntry;
        scripted::Install({FullEntry("Test.Table."), FullEntry("Test.Table.{i}.List"),
                           FullEntry("Device.Ethernet.Interface.{i}.VLAN."),
                           FullEntry("Device.Ethernet.Interface.{i}.VLAN.{i}.Enable")});
    }
    void SetUp() override { scripted::Reset(); }

    static std::vector<std::string> HandedNames() {
        std::vector<std::string> names;
        for (const scripted::TCall& call : Calls()) {
            names.push_back(call.paramName);
        }
        return names;
    }
};

// As strtok does.
TEST_F(WildcardDispatch, HandsEveryInstanceTheWholeValueWhateverAHandlerMadeOfIts) {
    ReportInstances({1, 2});
    Script(PLT_REQUEST_SET_PARAM, [](tZeltoPlatformRequest& request) {
        request.longValue[1] = '\0';
        return PLT_SUCCESS;
    });
    EXPECT_EQ(Request("SET_PARAM", R"({"VALUE": "a,b", "NAME": "Test.Table.*.List"})"), DONE);
    ASSERT_EQ(Calls().size(), 3U);
    EXPECT_EQ(Calls()[1].longValue, "a,b");
    EXPECT_EQ(Calls()[2].longValue, "a,b");
}

// Instances are listed under the name as it was given, and what the platform lists is not translated again.
TEST_F(WildcardDispatch, TakesTheNumbersBeforeTheWildcardForThePlatforms) {
    ReportInstances({3});
    EXPECT_EQ(Request("SET_PARAM", R"({"NAME": "Device.Ethernet.Interface.1.VLAN.*.Enable"})"), DONE);
    EXPECT_THAT(HandedNames(), ElementsAre("Device.Ethernet.Interface.1.VLAN.",
                                           "Device.Ethernet.Interface.1.VLAN.3.Enable"));
}

TEST_F(WildcardDispatch, AnswersTheNumbersBeforeTheWildcardInApplicationNumbering) {
    ReportInstances({3});
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Device.Ethernet.Interface.1.VLAN.*.Enable"})"),
              (TAnswer{0, R"({"PARAMS": [{"NAME": "Device.Ethernet.Interface.2.VLAN.3.Enable", )"
                          R"("VALUE": ""}]})"}));
}

} // namespace
