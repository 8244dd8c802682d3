// Requests for objects and their instances, and for the index map.

#include "Requests.h"
#include "ScriptedPlatform.h"

#include "support/LogSpy.h"
#include "utils/FixedText.h"
#include "zelto/ZeltoPlatformNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using scripted::AnswerNumbers;
using scripted::Calls;
using scripted::DONE;
using scripted::FAILED;
using scripted::ReportInstances;
using scripted::Request;
using scripted::Script;
using scripted::ScriptObject;
using scripted::TAnswer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr int ERROR = 3;
constexpr int DEBUG = 7;

std::vector<std::string> ElementNames(const scripted::TCall& call) {
    std::vector<std::string> names;
    for (const scripted::TElement& element : call.elements) {
        names.push_back(element.paramName);
    }
    return names;
}

class ObjectDispatch : public testing::Test {
protected:
    static void SetUpTestSuite() {
        using scripted::FullEntry;
        scripted::Install({FullEntry("Device."), FullEntry("Device.WiFi.SSID."), FullEntry("."),
                           FullEntry("Device.WiFi.SSID.{i}."), FullEntry("Device.Ethernet.Interface."),
                           FullEntry("Device.Ethernet.Interface.{i}.")});
    }
    void SetUp() override {
        scripted::Reset();
        LogSpy::Clear();
    }
};

class GetObjectRequest : public ObjectDispatch {};
class SetObjectRequest : public ObjectDispatch {};
class InstanceRequest : public ObjectDispatch {};
class IndexMapRequest : public ObjectDispatch {};

TEST_F(GetObjectRequest, AnswersTheElementsAndLogsTheAnswer) {
    ScriptObject(PLT_REQUEST_GET_OBJECT, [](tZeltoPlatformObjectRequest& request) {
        zelto::CopyTerminated(request.params[0].value, "lan");
        zelto::CopyTerminated(request.params[1].value, "Device.Ethernet.Interface.5.");
        return PLT_SUCCESS;
    });
    const char* const answer = R"({"PARAMS": [{"NAME": "Device.Ethernet.Interface.1.Name", "VALUE": "lan"}, )"
                               R"({"NAME": "Lower", "VALUE": "Device.Ethernet.Interface.1."}]})";
    EXPECT_EQ(Request("GET_OBJECT", R"({"ROOT": "Device.Ethernet.Interface.1", "PARAMS": [)"
                                    R"({"NAME": "Device.Ethernet.Interface.1.Name"}, {"NAME": "Lower"}]})"),
              (TAnswer{0, answer}));
    EXPECT_EQ(Calls().at(0).paramName, "Device.Ethernet.Interface.5.");
    EXPECT_TRUE(LogSpy::Contains(DEBUG, std::string("\"Response Value: ") + answer + "\""));
}

TEST_F(GetObjectRequest, CompletesTheRoot) {
    const struct {
        const char* input;
        const char* root;
    } rows[] = {
        {"{}", "Device."},
        {"", "Device."},
        {"not json", "Device."},
        {R"({"ROOT": 5})", "Device."},
        {R"({"ROOT": ""})", "."},
        {R"({"ROOT": "Device.WiFi.SSID"})", "Device.WiFi.SSID."},
        {R"({"ROOT": "Device.WiFi.SSID."})", "Device.WiFi.SSID."},
        {R"({"ROOT": "@Device.Ethernet.Interface.1"})", "Device.Ethernet.Interface.1."},
    };
    for (const auto& row : rows) {
        scripted::Reset();
        EXPECT_EQ(Request("GET_OBJECT", row.input), (TAnswer{0, R"({"PARAMS": []})"})) << row.input;
        EXPECT_EQ(Calls().at(0).paramName, row.root) << row.input;
        EXPECT_THAT(Calls()[0].elements, IsEmpty());
    }
}

TEST_F(GetObjectRequest, ExpandsElementsInPlaceAndAnswersInApplicationNumbering) {
    ReportInstances({5, 1});
    EXPECT_EQ(
        Request("GET_OBJECT", R"({"ROOT": "Device.Ethernet.Interface.", "PARAMS": [{"NAME": "First"}, )"
                              R"({"NAME": "Device.Ethernet.Interface.*.Name"}, {"NAME": "Last"}]})")
            .text,
        R"({"PARAMS": [{"NAME": "First", "VALUE": ""}, )"
        R"({"NAME": "Device.Ethernet.Interface.1.Name", "VALUE": ""}, )"
        R"({"NAME": "Device.Ethernet.Interface.2.Name", "VALUE": ""}, {"NAME": "Last", "VALUE": ""}]})");
    EXPECT_THAT(ElementNames(Calls().back()), ElementsAre("First", "Device.Ethernet.Interface.5.Name",
                                                          "Device.Ethernet.Interface.1.Name", "Last"));
}

TEST_F(GetObjectRequest, TranslatesNothingWithAMark) {
    ReportInstances({5});
    const std::string elements = R"("PARAMS": [{"NAME": "Device.Ethernet.Interface.*.Name"}, )"
                                 R"({"NAME": "Device.Ethernet.Interface.1.Name"}]})";
    EXPECT_EQ(Request("GET_OBJECT", R"({"ROOT": "@Device.Ethernet.Interface.1.", )" + elements).text,
              R"({"PARAMS": [{"NAME": "Device.Ethernet.Interface.5.Name", "VALUE": ""}, )"
              R"({"NAME": "Device.Ethernet.Interface.1.Name", "VALUE": ""}]})");
    EXPECT_THAT(ElementNames(Calls().back()),
                ElementsAre("Device.Ethernet.Interface.5.Name", "Device.Ethernet.Interface.1.Name"));
    EXPECT_EQ(Request("GET_OBJECT", R"({"PARAMS": [{"NAME": "@Device.Ethernet.Interface.*.Name"}]})").text,
              R"({"PARAMS": [{"NAME": "@Device.Ethernet.Interface.5.Name", "VALUE": ""}]})");
}

TEST_F(GetObjectRequest, DoesNotExpandTheRoot) {
    ReportInstances({1, 2});
    EXPECT_EQ(Request("GET_OBJECT", R"({"ROOT": "Device.WiFi.SSID.*."})"), FAILED);
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"Device.WiFi.SSID.*. descriptor not found!\""));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetObjectRequest, HandsOnNoValueOfTheRequest) {
    EXPECT_EQ(Request("GET_OBJECT", R"({"PARAMS": [{"NAME": "A", "VALUE": "from the request"}, )"
                                    R"({"NAME": "B", "VALUE": "Device.Ethernet.Interface.5"}]})"),
              (TAnswer{0, R"({"PARAMS": [{"NAME": "A", "VALUE": ""}, {"NAME": "B", "VALUE": ""}]})"}));
    EXPECT_EQ(Calls().at(0).elements.at(0).value, "");
}

TEST_F(GetObjectRequest, FailsWhenAnElementExpandsToNothing) {
    ReportInstances({});
    EXPECT_EQ(Request("GET_OBJECT", R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.*.SSID"}, {"NAME": "A"}]})"),
              FAILED);
    EXPECT_EQ(Calls().size(), 1U); // of the instances
}

TEST_F(GetObjectRequest, AnswersNullForAValueThatIsNotUtf8) {
    ScriptObject(PLT_REQUEST_GET_OBJECT, [](tZeltoPlatformObjectRequest& request) {
        zelto::CopyTerminated(request.params[0].value, "\xc0\x80");
        zelto::CopyTerminated(request.params[1].value, "fine");
        return PLT_SUCCESS;
    });
    EXPECT_EQ(Request("GET_OBJECT", R"({"PARAMS": [{"NAME": "A"}, {"NAME": "B"}]})"),
              (TAnswer{0, R"({"PARAMS": [{"NAME": "A", "VALUE": null}, {"NAME": "B", "VALUE": "fine"}]})"}));
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"The value of A is not valid UTF-8\""));
}

TEST_F(GetObjectRequest, FailsWithTheHandler) {
    ScriptObject(PLT_REQUEST_GET_OBJECT, [](tZeltoPlatformObjectRequest&) { return PLT_FAILURE; });
    EXPECT_EQ(Request("GET_OBJECT", R"({"PARAMS": [{"NAME": "A"}]})"), FAILED);
}

TEST_F(SetObjectRequest, HandsOnElementsAndValues) {
    ReportInstances({3, 4});
    EXPECT_EQ(Request("SET_OBJECT",
                      R"({"ROOT": "Device.WiFi.SSID", "COMMIT": true, "PARAMS": [)"
                      R"({"NAME": "Device.WiFi.SSID.*.SSID", "VALUE": "home"}, )"
                      R"({"NAME": "Device.Ethernet.Interface.1.Name", "VALUE": "lan"}, {"NAME": "A"}]})"),
              DONE);
    const scripted::TCall& call = Calls().back();
    EXPECT_EQ(call.type, PLT_REQUEST_SET_OBJECT);
    EXPECT_EQ(call.paramName, "Device.WiFi.SSID.");
    EXPECT_THAT(ElementNames(call), ElementsAre("Device.WiFi.SSID.3.SSID", "Device.WiFi.SSID.4.SSID",
                                                "Device.Ethernet.Interface.5.Name", "A"));
    EXPECT_EQ(call.elements[1].value, "home");
    EXPECT_EQ(call.elements[2].value, "lan");
    EXPECT_EQ(call.elements[3].value, "");
}

TEST_F(SetObjectRequest, CallsTheHandlerForNoElementsToo) {
    EXPECT_EQ(Request("SET_OBJECT", R"({"ROOT": "Device.WiFi.SSID.", "PARAMS": null})"), DONE);
    EXPECT_EQ(Calls().size(), 1U);
}

TEST_F(SetObjectRequest, Fails) {
    ReportInstances({});
    EXPECT_EQ(Request("SET_OBJECT", R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.*.SSID", "VALUE": "x"}]})"),
              FAILED);
    EXPECT_EQ(Request("SET_OBJECT", R"({"ROOT": "Nobody.Here"})"), FAILED);
    ScriptObject(PLT_REQUEST_SET_OBJECT, [](tZeltoPlatformObjectRequest&) { return PLT_NONWRITABLE; });
    EXPECT_EQ(Request("SET_OBJECT", R"({"PARAMS": [{"NAME": "A", "VALUE": "x"}]})"), FAILED);
}

TEST_F(InstanceRequest, AddsUnderTheCompletedObjectName) {
    Script(PLT_REQUEST_ADD_OBJECT, [](tZeltoPlatformRequest& request) {
        AnswerNumbers(request, {17});
        return PLT_SUCCESS;
    });
    EXPECT_EQ(Request("ADD_OBJECT_INSTANCE", R"({"OBJ": "Device.WiFi.SSID"})"),
              (TAnswer{0, R"({"ID": 17})"}));
    EXPECT_EQ(Calls().at(0).paramName, "Device.WiFi.SSID.");
    EXPECT_EQ(Request("ADD_OBJECT_INSTANCE", "{}"), (TAnswer{0, R"({"ID": 17})"}));
    EXPECT_EQ(Calls().at(1).paramName, "Device.");
}

TEST_F(InstanceRequest, DeletesWithoutTranslation) {
    EXPECT_EQ(Request("DELETE_OBJECT_INSTANCE", R"({"OBJ": "Device.Ethernet.Interface.1"})"), DONE);
    EXPECT_EQ(Calls().at(0).paramName, "Device.Ethernet.Interface.1.");
    EXPECT_EQ(Calls()[0].type, PLT_REQUEST_DELETE_OBJECT);
}

TEST_F(InstanceRequest, ListsTheNumbersOfThePlatform) {
    ReportInstances({5, 1, 2});
    EXPECT_EQ(Request("GET_OBJECT_INSTANCES", R"({"OBJ": "Device.Ethernet.Interface"})"),
              (TAnswer{0, R"({"COUNT": 3, "IDS": [5, 1, 2]})"}));
}

TEST_F(InstanceRequest, AnswersAnEmptyArrayForNoInstances) {
    ReportInstances({});
    EXPECT_EQ(Request("GET_OBJECT_INSTANCES", R"({"OBJ": "Device.WiFi.SSID."})"),
              (TAnswer{0, R"({"COUNT": 0, "IDS": []})"}));
}

TEST_F(InstanceRequest, FailsWithTheHandlerAndWithoutOne) {
    const auto fail = [](tZeltoPlatformRequest&) { return PLT_FAILURE; };
    Script(PLT_REQUEST_ADD_OBJECT, fail);
    Script(PLT_REQUEST_DELETE_OBJECT, fail);
    Script(PLT_REQUEST_GET_OBJECT_IDS, fail);
    for (const char* const method :
         {"ADD_OBJECT_INSTANCE", "DELETE_OBJECT_INSTANCE", "GET_OBJECT_INSTANCES"}) {
        EXPECT_EQ(Request(method, R"({"OBJ": "Device.WiFi.SSID."})"), FAILED) << method;
        EXPECT_EQ(Request(method, R"({"OBJ": "Nobody.Here."})"), FAILED) << method;
        EXPECT_EQ(Request(method, R"({"OBJ": "Device.WiFi.SSID.99999999999."})"), FAILED) << method;
    }
    EXPECT_EQ(Calls().size(), 3U);
}

TEST_F(IndexMapRequest, AnswersTheBuiltInTableWhateverTheInput) {
    const TAnswer answer = Request("GET_INDEX_MAP", "");
    EXPECT_EQ(answer.status, 0);
    EXPECT_THAT(
        answer.text,
        StartsWith(R"({"DATA_MODELS": [{"NAME": "Device.WiFi.Radio.", "INDEX_MAP": )"
                   R"([{"APP_INDEX": 1, "PLATFORM_INDEX": 1}, {"APP_INDEX": 2, "PLATFORM_INDEX": 2}]}, )"
                   R"({"NAME": "Device.WiFi.SSID.", "INDEX_MAP": [{"APP_INDEX": 1, "PLATFORM_INDEX": 1}, )"));
    EXPECT_THAT(answer.text,
                HasSubstr(R"({"APP_INDEX": 16, "PLATFORM_INDEX": 16}]}, )"
                          R"({"NAME": "Device.WiFi.AccessPoint.", "INDEX_MAP": [{"APP_INDEX": 1, )"));
    EXPECT_THAT(answer.text,
                HasSubstr(R"({"NAME": "Device.Ethernet.Interface.", "INDEX_MAP": )"
                          R"([{"APP_INDEX": 1, "PLATFORM_INDEX": 5}, {"APP_INDEX": 2, "PLATFORM_INDEX": 1}, )"
                          R"({"APP_INDEX": 3, "PLATFORM_INDEX": 2}, {"APP_INDEX": 4, "PLATFORM_INDEX": 3}, )"
                          R"({"APP_INDEX": 5, "PLATFORM_INDEX": 4}]}]})"));
    for (const char* const input : {"{}", "not json", "[", R"({"DATA_MODELS": []})"}) {
        EXPECT_EQ(Request("GET_INDEX_MAP", input), answer) << input;
    }
}

TEST_F(IndexMapRequest, AnswersAnEmptyArrayWhenThereAreNoModels) {
    std::vector<std::string> roots;
    roots.swap(rootVector);
    const TAnswer answer = Request("GET_INDEX_MAP", "");
    roots.swap(rootVector);
    EXPECT_EQ(answer, (TAnswer{0, R"({"DATA_MODELS": []})"}));
}

} // namespace
