// Small requests for answers that are too long to be sent, and long ones that are not.

#include "ipc/TextLimit.h"

#include "Requests.h"
#include "ScriptedPlatform.h"

#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <vector>

namespace {

using scripted::AnswerNumbers;
using scripted::Calls;
using scripted::FAILED;
using scripted::Request;
using scripted::Script;
using scripted::ScriptObject;
using scripted::TAnswer;
using zelto::MAX_TEXT_LENGTH;

constexpr int ERROR = 3;
constexpr std::size_t MIB = std::size_t{1024} * 1024;
constexpr std::size_t ENTRY_FRAME = 27; // of {"NAME": "", "VALUE": ""} and the comma and space behind it
constexpr std::size_t LIST_FRAME = 12;  // of {"PARAMS": []}, less what does not stand behind the last entry
constexpr std::size_t PREFIX = 7;       // of "Device."
constexpr std::size_t DIGITS = 9 + 2 * 54; // of the numbers from 1 to 63

std::string Named(const std::string& name) {
    return R"({"NAME": ")" + name + R"(", "VALUE": ""})";
}

// A request with an element, and so many times another one behind it.
std::string Repeated(std::size_t count, const std::string& element, const std::string& first) {
    std::string list = R"({"PARAMS": [)" + first;
    list.reserve(list.size() + count * (element.size() + 1) + 2);
    for (std::size_t i = 0; i < count; ++i) {
        list += ',';
        list += element;
    }
    return list + "]}";
}

std::string Repeated(std::size_t count, const std::string& element) {
    return Repeated(count - 1, element, element);
}

std::size_t CallsOf(tZeltoPltRequestType type) {
    return static_cast<std::size_t>(std::count_if(
        Calls().begin(), Calls().end(), [type](const scripted::TCall& call) { return call.type == type; }));
}

// Every get is answered with a value of the next of these lengths, the last one for all that follow.
void AnswerLengths(std::vector<std::size_t> lengths) {
    const auto next = std::make_shared<std::size_t>(0); // a script is copied for every call
    Script(PLT_REQUEST_GET_PARAM, [lengths, next](tZeltoPlatformRequest& request) {
        scripted::AnswerLong(request, std::string(lengths.at(*next), 'v'));
        *next = std::min(*next + 1, lengths.size() - 1);
        return PLT_SUCCESS;
    });
}

void ReportInstances(int32_t count) {
    Script(PLT_REQUEST_GET_OBJECT_IDS, [count](tZeltoPlatformRequest& request) {
        std::vector<int32_t> numbers(static_cast<std::size_t>(count) + 1);
        std::iota(numbers.begin(), numbers.end(), 0);
        numbers.front() = count;
        AnswerNumbers(request, numbers);
        return PLT_SUCCESS;
    });
}

// No answer is shown: it may be of megabytes.
bool Fails(const char* method, const std::string& input) {
    return Request(method, input) == FAILED;
}

// Texts of 16 MiB are not recorded as often as they are logged.
class TUnrecorded {
public:
    TUnrecorded() { LogSpy::SetRecording(false); }
    ~TUnrecorded() { LogSpy::SetRecording(true); }
    TUnrecorded(const TUnrecorded&) = delete;
    TUnrecorded& operator=(const TUnrecorded&) = delete;
};

class TextLimit : public testing::Test {
protected:
    static void SetUpTestSuite() {
        using scripted::FullEntry;
        scripted::Install({FullEntry("Device."), FullEntry("Device.{i}.Name"), FullEntry("Test.Value")});
    }
    void SetUp() override {
        scripted::Reset();
        ReportInstances(ZELTO_MAX_OBJECT_IDS);
    }
    void TearDown() override { LogSpy::Clear(); } // of megabytes, which a failed test would show

    // The only error line since the last look, but for the one that tells of a name without room in its
    // record.
    static std::string Complaint() {
        const std::vector<LogSpy::TMessage> messages = LogSpy::Messages();
        const auto isError = [](const LogSpy::TMessage& message) {
            return message.level == ERROR && message.text.find(" is cut to 255 bytes") == std::string::npos;
        };
        const auto first = std::find_if(messages.begin(), messages.end(), isError);
        EXPECT_EQ(std::count_if(messages.begin(), messages.end(), isError), 1);
        LogSpy::Clear();
        return first == messages.end() ? std::string() : first->text;
    }
};

class TextLimitOfObjects : public TextLimit, public testing::WithParamInterface<const char*> {
protected:
    TAnswer Ask(const std::string& input) const { return Request(GetParam(), input); }
    bool IsSet() const { return GetParam() == std::string("SET_OBJECT"); }
    std::size_t ObjectCalls() const {
        return CallsOf(IsSet() ? PLT_REQUEST_SET_OBJECT : PLT_REQUEST_GET_OBJECT);
    }
    std::string TooLong() const {
        return std::string("\"The elements of ") + GetParam() + " are longer than 16 MiB\"";
    }
};

INSTANTIATE_TEST_SUITE_P(Both, TextLimitOfObjects, testing::Values("GET_OBJECT", "SET_OBJECT"));

TEST_F(TextLimit, EndsAListOfParametersAtTheFirstThatIsTooMuch) {
    AnswerLengths({MIB});
    EXPECT_TRUE(Fails("GET_PARAM_ARRAY", Repeated(40, Named("Test.Value"))));
    EXPECT_EQ(Complaint(), "\"The answer of GET_PARAM_ARRAY is longer than 16 MiB\"");
    EXPECT_EQ(CallsOf(PLT_REQUEST_GET_PARAM), 16U);
}

TEST_F(TextLimit, EndsAWildcardAtTheFirstInstanceThatIsTooMuch) {
    AnswerLengths({MIB});
    EXPECT_TRUE(Fails("GET_PARAM", Named("Device.*.Name")));
    EXPECT_EQ(Complaint(), "\"The answer of GET_PARAM is longer than 16 MiB\"");
    EXPECT_EQ(CallsOf(PLT_REQUEST_GET_PARAM), 16U);
}

TEST_F(TextLimit, LetsTheLongestAnswerPass) {
    const TUnrecorded unrecorded;
    ReportInstances(2);
    const struct {
        const char* method;
        std::string input;
    } rows[] = {{"GET_PARAM_ARRAY", Repeated(2, Named("Test.Value"))}, {"GET_PARAM", Named("Device.*.Name")}};
    for (const auto& row : rows) {
        AnswerLengths({0});
        const std::size_t left = MAX_TEXT_LENGTH - Request(row.method, row.input).text.size();
        AnswerLengths({MIB, left - MIB});
        const TAnswer longest = Request(row.method, row.input);
        EXPECT_EQ(longest.status, 0) << row.method;
        EXPECT_EQ(longest.text.size(), MAX_TEXT_LENGTH) << row.method;
        AnswerLengths({MIB, left - MIB + 1});
        EXPECT_TRUE(Fails(row.method, row.input)) << row.method;
    }
}

TEST_F(TextLimit, EndsTheAnswerOfAnObjectThatIsTooMuch) {
    constexpr std::size_t SUFFIX = 130000;
    constexpr std::size_t LONG_NAMES = 2 * (63 * (PREFIX + SUFFIX) + DIGITS);
    constexpr std::size_t ENTRY = ENTRY_FRAME + 255;
    constexpr std::size_t MOST = (MAX_TEXT_LENGTH - LIST_FRAME - LONG_NAMES) / ENTRY;
    constexpr std::size_t OTHERS = MOST - 2 * 63;
    ScriptObject(PLT_REQUEST_GET_OBJECT, [](tZeltoPlatformObjectRequest& request) {
        for (int32_t i = 0; i < request.paramCount; ++i) {
            std::fill_n(request.params[i].value, 255, 'v');
        }
        return PLT_SUCCESS;
    });
    const std::string wildcard = Named("Device.*" + std::string(SUFFIX, 'n'));
    const std::string wildcards = wildcard + ", " + wildcard;
    {
        const TUnrecorded unrecorded;
        const TAnswer longest = Request("GET_OBJECT", Repeated(OTHERS, "{}", wildcards));
        EXPECT_EQ(longest.status, 0);
        EXPECT_EQ(longest.text.size(), LIST_FRAME + LONG_NAMES + MOST * ENTRY);
    }
    EXPECT_TRUE(Fails("GET_OBJECT", Repeated(OTHERS + 1, "{}", wildcards)));
    EXPECT_EQ(Complaint(), "\"The answer of GET_OBJECT is longer than 16 MiB\"");
}

TEST_P(TextLimitOfObjects, RefusesTooManyElementsBeforeAnyIsExpanded) {
    EXPECT_TRUE(Fails(GetParam(), Repeated(MAX_TEXT_LENGTH / ENTRY_FRAME, "{}", Named("*"))));
    EXPECT_EQ(Complaint(), TooLong());
    EXPECT_TRUE(Calls().empty());
}

TEST_P(TextLimitOfObjects, EndsTheExpansionAtTheFirstElementThatIsTooMuch) {
    const std::string name = "Device.*." + std::string(6000, 'n');
    EXPECT_TRUE(Fails(GetParam(), Repeated(100, Named(name))));
    EXPECT_EQ(Complaint(), TooLong());
    EXPECT_EQ(ObjectCalls(), 0U);
    EXPECT_EQ(CallsOf(PLT_REQUEST_GET_OBJECT_IDS), MAX_TEXT_LENGTH / (63 * (6000 + 37)) + 1);
}

TEST_P(TextLimitOfObjects, LetsAlmostSoLongElementsPass) {
    constexpr std::size_t SUFFIX = (MAX_TEXT_LENGTH - DIGITS - LIST_FRAME) / 63 - ENTRY_FRAME - PREFIX;
    const std::string name = "Device.*" + std::string(SUFFIX, 'n');
    {
        const TUnrecorded unrecorded;
        EXPECT_EQ(Ask(Repeated(1, Named(name))).status, 0);
    }
    ASSERT_EQ(ObjectCalls(), 1U);
    EXPECT_EQ(Calls().back().elements.size(), 63U);
    EXPECT_TRUE(Fails(GetParam(), Repeated(1, Named(name + "nn"))));
    EXPECT_EQ(Complaint(), TooLong());
    EXPECT_EQ(ObjectCalls(), 1U);
}

TEST_P(TextLimitOfObjects, CountsTheValuesOfASetOnly) {
    const std::string value(300000, 'v');
    const TAnswer answer = Ask(R"({"PARAMS": [{"NAME": "Device.*.Name", "VALUE": ")" + value + R"("}]})");
    EXPECT_EQ(answer.status, IsSet() ? -1 : 0);
    EXPECT_EQ(LogSpy::Count(ERROR, TooLong()), IsSet() ? 1U : 0U);
}

} // namespace
