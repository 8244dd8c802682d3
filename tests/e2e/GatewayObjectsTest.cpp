// Objects and the table with add and delete.

#include "e2e/Programs.h"

#include <gtest/gtest.h>

using e2e::TGateway;

namespace {

std::string Add(TGateway& gateway) {
    return gateway.Request("ADD_OBJECT_INSTANCE", R"({"OBJ": "Device.NAT.PortMapping."})").text;
}

int32_t Delete(TGateway& gateway, const std::string& object) {
    return gateway.Request("DELETE_OBJECT_INSTANCE", "{\"OBJ\": \"" + object + "\"}").code;
}

} // namespace

TEST(GatewayTable, GivesEachInstanceANumberOfItsOwn) {
    TGateway gateway;
    EXPECT_EQ(Add(gateway), R"({"ID": 1})");
    EXPECT_EQ(Add(gateway), R"({"ID": 2})");
    EXPECT_EQ(Delete(gateway, "Device.NAT.PortMapping.2."), 0);
    EXPECT_EQ(Add(gateway), R"({"ID": 3})");
    auto ids = gateway.Request("GET_OBJECT_INSTANCES", R"({"OBJ": "Device.NAT.PortMapping."})");
    EXPECT_EQ(ids.text, R"({"COUNT": 2, "IDS": [1, 3]})");
}

TEST(GatewayTable, RefusesToDeleteWhatIsNotThere) {
    TGateway gateway;
    EXPECT_EQ(Delete(gateway, "Device.NAT.PortMapping.1."), -1);
    Add(gateway);
    EXPECT_EQ(Delete(gateway, "Device.NAT.PortMapping.1."), 0);
    EXPECT_EQ(Delete(gateway, "Device.NAT.PortMapping.1."), -1);
}

TEST(GatewayTable, IsFullAtTheMostIdsThatARequestCanCarry) {
    TGateway gateway;
    for (int i = 1; i <= 63; ++i) {
        ASSERT_EQ(Add(gateway), "{\"ID\": " + std::to_string(i) + "}");
    }
    EXPECT_EQ(Add(gateway), "");
    EXPECT_TRUE(gateway.Process().WaitForErrors("'PLT_RESOURCES_EXCEEDED'"));
}

struct TValue {
    const char* name;
    const char* value;
    bool accepted;
};

TEST(GatewayTable, TakesOnlyValuesThatFitTheParameter) {
    const TValue values[] = {
        {"Enable", "true", true},
        {"Enable", "on", false},
        {"ExternalPort", "65535", true},
        {"ExternalPort", "65536", false},
        {"ExternalPort", "-1", false},
        {"ExternalPort", "", false},
        {"InternalPort", "80", true},
        {"InternalPort", "80 ", false},
        {"InternalClient", "192.168.1.2", true},
        {"InternalClient", "fe80::1", true},
        {"InternalClient", "", true},
        {"InternalClient", "a host", false},
        {"Protocol", "UDP", true},
        {"Protocol", "udp", false},
        {"Description", "", true},
    };
    TGateway gateway;
    Add(gateway);
    for (const TValue& row : values) {
        std::string name = std::string("Device.NAT.PortMapping.1.") + row.name;
        EXPECT_EQ(gateway.Set(name, row.value), row.accepted ? 0 : -1) << row.name << "=" << row.value;
        EXPECT_EQ(gateway.Get(name) == row.value, row.accepted) << row.name << "=" << row.value;
    }
    EXPECT_EQ(gateway.Set("Device.NAT.PortMapping.1.Description", std::string(254, 'd')), 0);
    EXPECT_EQ(gateway.Set("Device.NAT.PortMapping.1.Description", std::string(255, 'd')), -1);
}

TEST(GatewayObject, IsWrittenAndReadInOneRequest) {
    TGateway gateway;
    Add(gateway);
    auto set =
        gateway.Request("SET_OBJECT", R"({"ROOT": "Device.NAT.PortMapping.1.", "COMMIT": true, "PARAMS": [)"
                                      R"({"NAME": "Device.NAT.PortMapping.1.ExternalPort", "VALUE": "8080"},)"
                                      R"({"NAME": "Device.NAT.PortMapping.1.Protocol", "VALUE": "UDP"}]})");
    EXPECT_EQ(set.code, 0);
    auto get = gateway.Request("GET_OBJECT", R"({"ROOT": "Device.NAT.PortMapping.1.", "PARAMS": [)"
                                             R"({"NAME": "Device.NAT.PortMapping.1.Protocol"},)"
                                             R"({"NAME": "Device.NAT.PortMapping.1.ExternalPort"}]})");
    EXPECT_EQ(get.text, R"({"PARAMS": [{"NAME": "Device.NAT.PortMapping.1.Protocol", "VALUE": "UDP"}, )"
                        R"({"NAME": "Device.NAT.PortMapping.1.ExternalPort", "VALUE": "8080"}]})");
}

TEST(GatewayObject, IsNotWrittenInPart) {
    TGateway gateway;
    auto set = gateway.Request("SET_OBJECT", R"({"ROOT": "Device.WiFi.SSID.1.", "PARAMS": [)"
                                             R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "New"},)"
                                             R"({"NAME": "Device.WiFi.SSID.1.Enable", "VALUE": "maybe"}]})");
    EXPECT_EQ(set.code, -1);
    EXPECT_EQ(gateway.Get("Device.WiFi.SSID.1.SSID"), "Ulmet");
}

TEST(GatewayObject, RefusesAnElementOfAnotherObject) {
    TGateway gateway;
    auto get = gateway.Request("GET_OBJECT", R"({"ROOT": "Device.WiFi.SSID.1.", "PARAMS": [)"
                                             R"({"NAME": "Device.WiFi.SSID.2.SSID"}]})");
    EXPECT_EQ(get.code, -1);
    EXPECT_TRUE(gateway.Process().WaitForErrors("'PLT_INVALID_PARAM_NAME'"));
}

TEST(GatewayObject, RefusesAValueThatAnElementCannotCarry) {
    TGateway gateway;
    auto get = gateway.Request("GET_OBJECT", R"({"ROOT": "Device.DeviceInfo.", "PARAMS": [)"
                                             R"({"NAME": "Device.DeviceInfo.X_ULMET_NetworkStatistics"}]})");
    EXPECT_EQ(get.code, -1);
    EXPECT_TRUE(gateway.Process().WaitForErrors("'PLT_RESOURCES_EXCEEDED'"));
}
