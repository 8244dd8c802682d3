// The request runner over a transport that is scripted in place.
#include "app/RequestRunner.h"

#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

class TScriptedIpc : public TZeltoIpc {
public:
    void SendEvent(const std::string& /*eventName*/, const std::string& /*eventData*/) override {}
    int CallMethod(const std::string& method, const std::string& request, std::string& result) override {
        ++calls;
        lastMethod = method;
        lastRequest = request;
        if (!error.empty()) {
            throw std::runtime_error(error);
        }
        result = answer;
        return code;
    }
    int CallMethod(const std::string& method, const std::string& request, std::string& result,
                   TMethodSettings& /*settings*/) override {
        return CallMethod(method, request, result);
    }

    int calls = 0;
    std::string lastMethod;
    std::string lastRequest;
    std::string answer;
    std::string error;
    int code = 0;

protected:
    void MainLoop() override {}
};

class RequestRunner : public testing::Test {
protected:
    int Run() {
        return zelto::RunRequest(
            ipc, zelto::METHOD_GET_LONG_PARAM,
            [](zelto::TPlainWriter& body) { body.Text(zelto::KEY_NAME, "Device.A", "name"); },
            [this](const std::string& answer) {
                ++reads;
                value = answer;
            });
    }

    TScriptedIpc ipc;
    int reads = 0;
    std::string value = "before";
};

TEST_F(RequestRunner, SendsTheBodyUnderTheNameOfTheMethod) {
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(ipc.lastMethod, "GET_LONG_PARAM");
    EXPECT_EQ(ipc.lastRequest, R"({"NAME": "Device.A"})");
}

TEST_F(RequestRunner, HandsOverTheAnswerOfASuccessAsItIs) {
    for (const char* answer : {R"({"VALUE": "1"})", "", "not json"}) {
        ipc.answer = answer;
        EXPECT_EQ(Run(), 0);
        EXPECT_EQ(value, answer);
    }
    EXPECT_EQ(reads, 3);
}

TEST_F(RequestRunner, FoldsEveryOtherCodeIntoMinusOneAndReadsNothing) {
    ipc.answer = R"({"VALUE": "1"})";
    for (const int code : {-1, 1, 3, 7, 11, 12, -5, INT32_MAX, INT32_MIN}) {
        ipc.code = code;
        EXPECT_EQ(Run(), -1) << code;
    }
    EXPECT_EQ(reads, 0);
    EXPECT_EQ(LogSpy::Count(3), 0U) << LogSpy::Dump();
}

TEST_F(RequestRunner, TurnsARuntimeErrorIntoALogLineAndThree) {
    ipc.error = "100% of the bus is gone";
    EXPECT_EQ(Run(), 3);
    EXPECT_EQ(reads, 0);
    EXPECT_EQ(LogSpy::Count(3, "\"100% of the bus is gone\""), 1U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Messages().back().format, "\"%s\"");
}

TEST_F(RequestRunner, SendsNothingWhenTheBodyCannotBeBuilt) {
    const int rc = zelto::RunRequest(ipc, zelto::METHOD_SET_PARAM,
                                     [](zelto::TPlainWriter&) { throw std::runtime_error("no body"); });
    EXPECT_EQ(rc, 3);
    EXPECT_EQ(ipc.calls, 0);
    EXPECT_TRUE(LogSpy::Contains(3, "\"no body\"")) << LogSpy::Dump();
}

TEST_F(RequestRunner, LetsOtherExceptionsPass) {
    const auto run = [this] {
        return zelto::RunRequest(ipc, zelto::METHOD_SET_PARAM,
                                 [](zelto::TPlainWriter&) { throw std::logic_error("wrong"); });
    };
    EXPECT_THROW(run(), std::logic_error);
    EXPECT_EQ(LogSpy::Count(3), 0U) << LogSpy::Dump();
}

TEST_F(RequestRunner, DoesNotLookAtTheAnswerOfARequestWithoutOne) {
    ipc.answer = "not json";
    EXPECT_EQ(zelto::RunRequest(ipc, zelto::METHOD_SET_PARAM, [](zelto::TPlainWriter&) {}), 0);
    EXPECT_EQ(ipc.lastRequest, "{}");
}

} // namespace
