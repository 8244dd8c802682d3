// sh at a terminal: prompt, history, completion and control keys.

#include "cli/Session.h"

#include "cli/Golden.h"
#include "cli/Parties.h"
#include "e2e/Programs.h"

#include <gmock/gmock.h>

#include <csignal>

using cli::CONTROL_C;
using cli::CONTROL_D;
using cli::TAB;
using cli::TSession;
using cli::UP;
using e2e::TGateway;
using support::TBusEnvironment;

namespace {

const std::string PROMPT = "zelto> ";
const std::string GET_1 = "get -V Device.WiFi.SSID.1.SSID\n";

} // namespace

TEST(ShellSession, RunsWhatIsTypedAndEndsWithTheCodeOfTheLast) {
    TGateway gateway;
    TSession session({"sh"});
    ASSERT_TRUE(session.WaitFor(PROMPT)) << session.Screen();
    session.Type(GET_1);
    ASSERT_TRUE(session.WaitFor("\r\nUlmet\r\n")) << session.Screen();
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type("get Device.X\n");
    ASSERT_TRUE(session.WaitFor("refused by the manager\r\n"));
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type(CONTROL_D);
    EXPECT_EQ(session.WaitForExit(), 1) << session.Screen();
}

TEST(ShellSession, TakesLettersOfSeveralBytes) {
    TGateway gateway;
    TSession session({"sh"});
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type("set Device.WiFi.SSID.1.SSID=\xc3\x9clmet\n");
    ASSERT_TRUE(session.WaitFor(PROMPT));
    EXPECT_EQ(gateway.Get("Device.WiFi.SSID.1.SSID"), "\xc3\x9clmet");
}

TEST(ShellSession, RepeatsALineOfItsHistory) {
    TGateway gateway;
    TSession session({"sh"});
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type(GET_1);
    ASSERT_TRUE(session.WaitFor("\r\nUlmet\r\n"));
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type(UP);
    session.Type("\n");
    EXPECT_TRUE(session.WaitFor("\r\nUlmet\r\n")) << session.Screen();
}

TEST(ShellSession, CompletesVerbsIdentitiesAndPaths) {
    TGateway gateway;
    TSession session({"sh"});
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type(std::string("pi") + TAB + "ZELTO_D" + TAB + "\n");
    ASSERT_TRUE(session.WaitFor("ZELTO_DISPATCHER is active")) << session.Screen();
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type(std::string("get Device.WiFi.SSID.2.S") + "SID\n");
    ASSERT_TRUE(session.WaitFor("=Ulmet-Guest\r\n"));
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type(std::string("get -V Device.WiFi.SSID.2.S") + TAB + "\n"); // as it was used before
    EXPECT_TRUE(session.WaitFor("\r\nUlmet-Guest\r\n")) << session.Screen();
}

TEST(ShellSession, ListsWhatMayFollow) {
    TGateway gateway;
    TSession session({"sh"});
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type(std::string("ls Device.WiFi.SSID.") + TAB);
    EXPECT_TRUE(session.WaitFor("Device.WiFi.SSID.1.\r\nDevice.WiFi.SSID.2.\r\n")) << session.Screen();
}

TEST(ShellSession, EndsTheLineOnlyOnControlC) {
    TGateway gateway;
    cli::TBusView view(TBusEnvironment::Bus().Address());
    TSession session({"sh"});
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type("wait ZELTO_KESTA\n");
    ASSERT_TRUE(view.WaitForMatch("com.Ulmet.Zelto.ZELTO_KESTA"));
    session.Type(CONTROL_C);
    ASSERT_TRUE(session.WaitFor(PROMPT)) << session.Screen();
    session.Type(CONTROL_D);
    EXPECT_EQ(session.WaitForExit(), 130) << testing::PrintToString(session.Screen());
}

TEST(ShellSession, DropsTheLineThatIsBeingTypedOnControlC) {
    TGateway gateway;
    TSession session({"sh"});
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type("set Device.WiFi.SSID.1.SSID=Lost");
    ASSERT_TRUE(session.WaitFor("Lost"));
    session.Type(CONTROL_C);
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type(GET_1);
    EXPECT_TRUE(session.WaitFor("\r\nUlmet\r\n")) << session.Screen();
}

TEST(ShellSession, EndsOnTermination) {
    TSession session({"sh"});
    ASSERT_TRUE(session.WaitFor(PROMPT));
    (void)kill(session.Pid(), SIGTERM);
    EXPECT_EQ(session.WaitForExit(), 143);
}

TEST(ShellSession, SurvivesAWordThatCannotBeAskedFor) {
    TGateway gateway;
    TSession session({"sh"});
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type(std::string("get Device.\xc3\x9c.") + TAB + CONTROL_C);
    ASSERT_TRUE(session.WaitFor(PROMPT));
    session.Type(GET_1);
    EXPECT_TRUE(session.WaitFor("\r\nUlmet\r\n")) << session.Screen();
}
