// When the helper script runs. Only the first start of a process shows it, so this test has a program of its
// own.

#include "ScriptedPlatform.h"

#include "support/BusEnvironment.h"
#include "support/LogSpy.h"
#include "support/RawPeer.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

constexpr int ERROR = 3;

// Begins to wait, and ends well once there is a file named "answered".
constexpr const char* WAIT_FOR_ANSWER =
    "cd \"$(dirname \"$0\")\" && echo > waiting\n"
    "for turn in $(seq 1000); do [ -e answered ] && exit 0; sleep 0.01; done\n"
    "exit 1";

TEST(PlatformStartHelper, RunsWhenRequestsAreServedAlready) {
    ASSERT_TRUE(BUS_READY);
    const scripted::THelperScript helper(WAIT_FOR_ANSWER);
    const support::TTempDir& directory = helper.Directory();
    std::thread asking([&directory] {
        EXPECT_TRUE(support::Eventually([&] { return !directory.Read("waiting").empty(); }));
        support::TRawPeer client(support::TBusEnvironment::Bus().Address());
        const auto reply =
            client.Call({"com.Ulmet.Zelto.ZELTO_DISPATCHER", "/com/Ulmet/Zelto/ZELTO_DISPATCHER",
                         "com.Ulmet.Zelto.Zelto", "GET_PARAM"},
                        {std::string(R"({"NAME": "Test.Helped"})")});
        EXPECT_TRUE(reply && reply->IsReturn() && reply->Int(1) == 0);
        directory.Write("answered", "");
    });
    const tZeltoPltFunctionTable entry = scripted::Entry("Test.Helped", {PLT_REQUEST_GET_PARAM});
    const tZeltoPlatformLibTable table{&entry, 1, nullptr};
    zeltoPlatformLibInit(&table);
    asking.join();
    EXPECT_EQ(LogSpy::Count(ERROR), 0U) << LogSpy::Dump();
}

} // namespace
