// What a request text means, and what may be set.

#include "tools/zelto-remoted/Request.h"

#include "tools/zelto-remoted/Service.h"

#include <gtest/gtest.h>

#include <string>

using remoted::DecodeRequest;
using remoted::Describe;
using remoted::IsBelow;
using remoted::TRequest;

TEST(DecodeRequest, ReadsASet) {
    TRequest request;
    EXPECT_EQ(
        DecodeRequest(R"({"REQUEST_TYPE": "SET_PARAM", "NAME": "N", "VALUE": "V", "COMMIT": true})", request),
        "");
    EXPECT_EQ(request.type, TRequest::SET_PARAM);
    EXPECT_EQ(request.name, "N");
    EXPECT_EQ(request.value, "V");
    EXPECT_TRUE(request.commit);
}

TEST(DecodeRequest, TakesAnEmptyValueAndAMissingCommit) {
    TRequest request;
    EXPECT_EQ(DecodeRequest(R"({"REQUEST_TYPE": "SET_PARAM", "NAME": "N", "VALUE": ""})", request), "");
    EXPECT_EQ(request.value, "");
    EXPECT_FALSE(request.commit);
}

TEST(DecodeRequest, ReadsAGet) {
    TRequest request;
    EXPECT_EQ(DecodeRequest(R"({"NAME": "N", "REQUEST_TYPE": "GET_PARAM", "MORE": 1})", request), "");
    EXPECT_EQ(request.type, TRequest::GET_PARAM);
    EXPECT_EQ(request.name, "N");
}

TEST(DecodeRequest, ReadsTheNameOfAFile) {
    TRequest request;
    EXPECT_EQ(DecodeRequest(R"({"REQUEST_TYPE": "GET_FILE", "FILE_NAME": "a/b"})", request), "");
    EXPECT_EQ(request.type, TRequest::GET_FILE);
    EXPECT_EQ(request.name, "a/b");
}

struct TFault {
    const char* text;
    const char* fault;
};

class FaultyRequest : public testing::TestWithParam<TFault> {};

TEST_P(FaultyRequest, IsRefusedWithTheReason) {
    TRequest request;
    EXPECT_EQ(DecodeRequest(GetParam().text, request), GetParam().fault);
}

constexpr char NO_JSON[] = "the request is no JSON text";
constexpr char NO_TYPE[] = "REQUEST_TYPE is missing or not known";

INSTANTIATE_TEST_SUITE_P(
    Texts, FaultyRequest,
    testing::Values(TFault{"", NO_JSON}, TFault{"{]", NO_JSON}, TFault{"{\"a\":\"\xff\"}", NO_JSON},
                    TFault{R"({"REQUEST_TYPE": "GET_PARAM", "NAME": "a\u0000b"})", NO_JSON},
                    TFault{"{}", NO_TYPE}, TFault{R"({"REQUEST_TYPE": 1})", NO_TYPE},
                    TFault{R"({"REQUEST_TYPE": "get_param", "NAME": "N"})", NO_TYPE},
                    TFault{R"({"REQUEST_TYPE": "ADD_OBJECT_INSTANCE", "OBJ": "N"})", NO_TYPE},
                    TFault{R"({"REQUEST_TYPE": "GET_PARAM"})", "NAME is missing"},
                    TFault{R"({"REQUEST_TYPE": "GET_PARAM", "NAME": ""})", "NAME is missing"},
                    TFault{R"({"REQUEST_TYPE": "GET_PARAM", "NAME": ["N"]})", "NAME is missing"},
                    TFault{R"({"REQUEST_TYPE": "GET_FILE", "NAME": "N"})", "FILE_NAME is missing"},
                    TFault{R"({"REQUEST_TYPE": "SET_PARAM", "NAME": "N"})", "VALUE is missing or no text"},
                    TFault{R"({"REQUEST_TYPE": "SET_PARAM", "NAME": "N", "VALUE": 1})",
                           "VALUE is missing or no text"},
                    TFault{R"({"REQUEST_TYPE": "SET_PARAM", "NAME": "N", "VALUE": "", "COMMIT": "true"})",
                           "COMMIT is no boolean"}));

TEST(DecodeRequest, SurvivesDeepNesting) {
    TRequest request;
    const std::string text = "{\"a\":" + std::string(30000, '[') + std::string(30000, ']') + "}";
    EXPECT_EQ(DecodeRequest(text, request), NO_JSON);
}

TEST(Describe, KeepsANameOnOneLine) {
    TRequest request;
    request.name = "a\nb\\\x7f";
    EXPECT_EQ(Describe(request), "GET_PARAM a\\012b\\\\\\177");
}

TEST(Describe, CutsAVeryLongName) {
    TRequest request;
    request.name = std::string(1000, 'n');
    EXPECT_EQ(Describe(request), "GET_PARAM " + std::string(256, 'n') + "...");
}

TEST(IsBelow, TakesWholeComponents) {
    EXPECT_TRUE(IsBelow("Device.A.1.", "Device.A.1.X"));
    EXPECT_TRUE(IsBelow("Device.A.1", "Device.A.1.X"));
    EXPECT_TRUE(IsBelow("Device.A.1.X", "Device.A.1.X"));
    EXPECT_FALSE(IsBelow("Device.A.1", "Device.A.10.X"));
    EXPECT_FALSE(IsBelow("Device.A.1.", "Device.A.1"));
    EXPECT_FALSE(IsBelow("Device.A.1.", "Device.A.*.X"));
    EXPECT_FALSE(IsBelow("Device.A.", "@Device.A.1.X"));
    EXPECT_FALSE(IsBelow("Device.A.", "device.a.1.X"));
}
