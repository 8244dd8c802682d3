// Every verb prints JSON that parses: with -j one document, with -J one object on each line.

#include "cli/Golden.h"
#include "e2e/Programs.h"

#include "zelto/TZeltoJsonObject.h"

#include <sstream>

using cli::RunZelto;
using cli::TLine;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";
const std::string ENABLE_1 = "Device.WiFi.SSID.1.Enable";

// Quotes, a backslash, control bytes and letters of two and four bytes.
const std::string ODD_VALUE = "\"\\\n\t\x01\x7f\xc3\xa4\xf0\x9f\x98\x80{";

bool IsJson(const std::string& text) {
    return TZeltoJsonObject().DecodeFromString(text);
}

struct TVerb {
    TLine arguments;
    int exitCode;
};

class Json : public testing::TestWithParam<TVerb> {
protected:
    void SetUp() override {
        ASSERT_EQ(RunZelto({"set", SSID_1 + "=-"}, false, ODD_VALUE).exitCode, 0);
        ASSERT_EQ(RunZelto({"add", "Device.NAT.PortMapping."}).exitCode, 0);
    }

    static support::TRunResult RunWith(const char* format) {
        TLine line = {format};
        line.insert(line.end(), GetParam().arguments.begin(), GetParam().arguments.end());
        return RunZelto(line);
    }

    e2e::TGateway gateway;
};

} // namespace

TEST_P(Json, IsOneDocument) {
    const auto result = RunWith("-j");
    EXPECT_EQ(result.exitCode, GetParam().exitCode) << result.errors;
    EXPECT_TRUE(IsJson(result.output)) << result.output;
    EXPECT_EQ(result.output.back(), '\n');
}

TEST_P(Json, IsAnObjectOnEachLine) {
    const auto result = RunWith("-J");
    EXPECT_EQ(result.exitCode, GetParam().exitCode) << result.errors;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(IsJson(line)) << line;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Verbs, Json,
    testing::Values(
        TVerb{{"get", "Device.WiFi.SSID.*.SSID"}, 0}, TVerb{{"get", SSID_1, "Device.X"}, 7},
        TVerb{{"get", "--long", SSID_1}, 0}, TVerb{{"set", SSID_1 + "=\"\\"}, 0},
        TVerb{{"set", SSID_1 + "=x", ENABLE_1 + "=x"}, 7}, TVerb{{"set", "--dry-run", SSID_1 + "=\""}, 0},
        TVerb{{"set", "--rollback", SSID_1 + "=\""}, 0}, TVerb{{"getobj", "Device.WiFi.SSID.1.", "SSID"}, 0},
        TVerb{{"setobj", "Device.WiFi.SSID.1.", "SSID=\"\n"}, 0},
        TVerb{{"add", "Device.NAT.PortMapping."}, 0}, TVerb{{"del", "Device.NAT.PortMapping.1."}, 0},
        TVerb{{"ls", "Device.WiFi.SSID."}, 0}, TVerb{{"map"}, 0}, TVerb{{"map", "\"\\\n"}, 0},
        TVerb{{"call", "GET_PARAM", R"({"NAME": "Device.WiFi.SSID.1.SSID"})"}, 0},
        TVerb{{"call", "SING", "\""}, 1}, TVerb{{"emit", "LUNCH", "{ \"\n"}, 0},
        TVerb{{"watch", "--for", "1"}, 0}, TVerb{{"trace", "--for", "1"}, 0}, TVerb{{"apps"}, 0},
        TVerb{{"ping", "ZELTO_DISPATCHER"}, 0}, TVerb{{"wait", "ZELTO_DISPATCHER"}, 0}, TVerb{{"doctor"}, 0}),
    [](const auto& verb) { return verb.param.arguments[0] + std::to_string(verb.index); });
