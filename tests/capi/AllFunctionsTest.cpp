// Runs the C program that uses every function, as it is and under valgrind.
#include "capi/CannedManager.h"
#include "capi/CannedPeer.h"

#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

// Every call finds in it what it reads.
constexpr const char* ANSWER = R"({"STATUS": "OK", "VALUE": "text", "ID": 1, "IDS": [1, 2],
    "PARAMS": [{"NAME": "Device.P.1", "VALUE": "v1"}, {"NAME": "Device.P.2", "VALUE": "v2"}],
    "DATA_MODELS": [{"NAME": "Device.A.", "INDEX_MAP": [{"APP_INDEX": 1, "PLATFORM_INDEX": 2}]}]})";

class AllFunctions : public testing::Test {
protected:
    AllFunctions() : manager(support::TBusEnvironment::Bus().Address()) {
        manager.AnswerWith(ANSWER);
        peer.AnswerWith(ANSWER, "content");
    }

    support::TRunResult Run(std::vector<std::string> command) {
        command.insert(command.end(), {CAPI_ALL_FUNCTIONS_PATH, "ALL_FUNCTIONS", peer.Address()});
        return support::RunProgram(command);
    }

    capi::TCannedManager manager;
    capi::TCannedPeer peer;
};

TEST_F(AllFunctions, WorkFromAC99Program) {
    const support::TRunResult result = Run({});
    EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
    EXPECT_EQ(manager.Requests().size(), 13U);
    EXPECT_EQ(peer.Requests().size(), 3U);
}

TEST_F(AllFunctions, UseEveryMethodOfTheManager) {
    ASSERT_EQ(Run({}).exitCode, 0);
    std::set<std::string> methods;
    for (const auto& request : manager.Requests()) {
        methods.insert(request.first);
    }
    EXPECT_EQ(methods.size(), 12U);
}

TEST_F(AllFunctions, LeaveNoHeapBlockBehind) {
    if (std::string(VALGRIND).empty()) {
        GTEST_SKIP() << "valgrind is not there, or the build is an instrumented one";
    }
    const support::TRunResult result =
        Run({VALGRIND, "--error-exitcode=99", "--leak-check=full", "--show-leak-kinds=all"});
    EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
    EXPECT_NE(result.errors.find("All heap blocks were freed"), std::string::npos) << result.errors;
}

} // namespace
