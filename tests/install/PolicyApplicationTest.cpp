// The library on a bus with our policy: an application of the group works, a stranger's is told why it does
// not.
#include "install/PolicyBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using policy::MEMBER;
using policy::STRANGER;
using support::TChildProcess;
using testing::HasSubstr;

constexpr char SSID[] = "Device.WiFi.SSID.1.SSID";

class PolicyApplication : public testing::Test {
protected:
    void SetUp() override {
        if (!policy::Obstacle().empty()) {
            GTEST_SKIP() << policy::Obstacle();
        }
        bus = std::make_unique<policy::TPolicyBus>(TESTED_POLICY);
        manager = Start({EXAMPLE_MANAGER_PATH});
        ASSERT_TRUE(manager->WaitForErrors("Serving")) << manager->Errors();
    }

    std::unique_ptr<TChildProcess> Start(const std::vector<std::string>& command) {
        TChildProcess::TOptions options;
        options.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", bus->Address()}};
        return std::make_unique<TChildProcess>(command, options);
    }

    std::unique_ptr<TChildProcess> StartApplication(const char* user, const std::string& identity) {
        auto application = Start({POLICY_APPLICATION_PATH, user});
        EXPECT_EQ(Tell(*application, "init " + identity), "init done\n");
        return application;
    }

    // Gives what the application prints for the line.
    static std::string Tell(TChildProcess& application, const std::string& line) {
        const size_t before = application.Output().size();
        const std::string verb = line.substr(0, line.find(' '));
        application.WriteInput(line + "\n");
        const auto answer = [&] {
            const std::string added = application.Output().substr(before);
            const size_t start = added.find(verb + " ");
            const size_t end = start == std::string::npos ? start : added.find('\n', start);
            return end == std::string::npos ? std::string() : added.substr(start, end + 1 - start);
        };
        EXPECT_TRUE(support::Eventually([&] { return !answer().empty(); })) << line << application.Errors();
        return answer();
    }

    std::unique_ptr<policy::TPolicyBus> bus;
    std::unique_ptr<TChildProcess> manager;
};

TEST_F(PolicyApplication, OfTheGroupReadsWritesAndHearsEvents) {
    const auto application = StartApplication(MEMBER, "ZELTO_KESTA");
    EXPECT_EQ(Tell(*application, std::string("get ") + SSID), "get 0 home\n");
    EXPECT_EQ(Tell(*application, std::string("set ") + SSID + " changed"), "set 0\n");
    EXPECT_TRUE(application->WaitForOutput(std::string("event ") + SSID + " = changed\n"))
        << application->Output();
    EXPECT_EQ(Tell(*application, std::string("get ") + SSID), "get 0 changed\n");
    EXPECT_EQ(application->Errors(), "");
}

TEST_F(PolicyApplication, OfTheGroupSeesAnotherOfIt) {
    const auto application = StartApplication(MEMBER, "ZELTO_KESTA");
    EXPECT_EQ(Tell(*application, "active 2"), "active -1 no\n");
    const auto other = StartApplication(MEMBER, "ZELTO_LUMEN");
    EXPECT_EQ(Tell(*application, "active 2"), "active 0 yes\n");
}

TEST_F(PolicyApplication, OfAStrangerIsToldWhyAndCanTryAgain) {
    const std::string reason = "not allowed to own the service \"com.Ulmet.Zelto.ZELTO_KESTA\"";
    const auto application = StartApplication(STRANGER, "ZELTO_KESTA");
    ASSERT_TRUE(application->WaitForErrors(reason)) << application->Errors();
    EXPECT_THAT(application->Errors(), HasSubstr("dbus_bus_request_name - "));
    const size_t length = application->Errors().size();
    EXPECT_EQ(Tell(*application, "init ZELTO_KESTA"), "init done\n");
    EXPECT_TRUE(
        support::Eventually([&] { return application->Errors().find(reason, length) != std::string::npos; }));
}

TEST_F(PolicyApplication, OfAStrangerGetsNothing) {
    const auto application = StartApplication(STRANGER, "ZELTO_KESTA");
    EXPECT_EQ(Tell(*application, std::string("get ") + SSID), "get -1 \n");
    EXPECT_EQ(Tell(*application, std::string("set ") + SSID + " forged"), "set -1\n");
    const auto member = StartApplication(MEMBER, "ZELTO_LUMEN");
    EXPECT_EQ(Tell(*member, std::string("get ") + SSID), "get 0 home\n");
}

TEST_F(PolicyApplication, OfAStrangerCannotTakeTheManagersName) {
    const auto application = StartApplication(STRANGER, "ZELTO_DISPATCHER");
    EXPECT_TRUE(application->WaitForErrors("not allowed to own the service")) << application->Errors();
}

} // namespace
