// The example programs do what they say, against the example manager, in both languages alike.
#include "support/BusEnvironment.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using support::TChildProcess;
using testing::HasSubstr;

const bool BUS_READY = support::TBusEnvironment::Register();

struct TExamples {
    const char* language;
    const char* firstSteps;
    const char* getSet;
    const char* watchEvents;
    const char* wholeObject;
    const char* table;
    const char* longValue;
};

class Examples : public testing::TestWithParam<TExamples> {
protected:
    Examples() : manager({EXAMPLE_MANAGER_PATH}) {}

    void SetUp() override { ASSERT_TRUE(manager.WaitForErrors("Serving")) << manager.Errors(); }

    static std::string OutputOf(const std::vector<std::string>& command, int exitCode = 0) {
        const support::TRunResult result = support::RunProgram(command);
        EXPECT_EQ(result.exitCode, exitCode) << command[0] << '\n' << result.output << result.errors;
        return result.output;
    }

    TChildProcess manager;
};

TEST_P(Examples, TakeTheFirstSteps) {
    EXPECT_EQ(OutputOf({GetParam().firstSteps}), "home\n");
}

TEST_P(Examples, GetAndSetAParameter) {
    EXPECT_EQ(OutputOf({GetParam().getSet}), "Device.WiFi.SSID.1.SSID = home\n"
                                             "Device.WiFi.SSID.1.SSID = example\n");
    EXPECT_EQ(OutputOf({GetParam().getSet, "other"}), "Device.WiFi.SSID.1.SSID = example\n"
                                                      "Device.WiFi.SSID.1.SSID = other\n");
}

TEST_P(Examples, WatchEvents) {
    TChildProcess watch({GetParam().watchEvents});
    ASSERT_TRUE(watch.WaitForErrors("Watching")) << watch.Errors();
    OutputOf({GetParam().getSet, "watched"});
    EXPECT_TRUE(watch.WaitForOutput(".SSID = watched\n")) << watch.Output() << watch.Errors();
    watch.CloseInput();
    EXPECT_EQ(watch.WaitForExit(), 0);
}

TEST_P(Examples, AddToATableListItAndDelete) {
    EXPECT_EQ(OutputOf({GetParam().table, "keep"}),
              "instance 1\nDevice.NAT.PortMapping.1.Description = made by an example\n");
    EXPECT_EQ(OutputOf({GetParam().table}), "instance 1\ninstance 2\n"
                                            "Device.NAT.PortMapping.1.Description = made by an example\n"
                                            "Device.NAT.PortMapping.2.Description = made by an example\n");
    EXPECT_EQ(OutputOf({GetParam().table}), "instance 1\ninstance 3\n"
                                            "Device.NAT.PortMapping.1.Description = made by an example\n"
                                            "Device.NAT.PortMapping.3.Description = made by an example\n");
}

TEST_P(Examples, SetAndGetAWholeObject) {
    OutputOf({GetParam().table, "keep"});
    EXPECT_EQ(OutputOf({GetParam().wholeObject, "1"}),
              "Device.NAT.PortMapping.1.Description = set as a whole\n");
}

TEST_P(Examples, ReportAMissingObject) {
    EXPECT_EQ(OutputOf({GetParam().wholeObject, "7"}, 1), "");
}

TEST_P(Examples, GetALongValue) {
    const std::string value = OutputOf({GetParam().longValue});
    EXPECT_GT(value.size(), 255U);
    EXPECT_THAT(value, HasSubstr("lo:"));
}

TEST_P(Examples, ReportAManagerThatIsGone) {
    manager.CloseInput();
    ASSERT_EQ(manager.WaitForExit(), 0) << manager.Errors();
    for (const char* const program : {GetParam().getSet, GetParam().table, GetParam().longValue}) {
        EXPECT_EQ(OutputOf({program}, 1), "");
    }
}

TEST(ExampleListDirectory, PrintsEachEntry) {
    const support::TTempDir directory;
    const std::string file = directory.Write("file", "");
    const support::TRunResult result =
        support::RunProgram({EXAMPLE_CPP_LIST_DIRECTORY_PATH, directory.Path()});
    EXPECT_EQ(result.output, file + "\n");
    EXPECT_EQ(result.exitCode, 0);
}

INSTANTIATE_TEST_SUITE_P(BothLanguages, Examples,
                         testing::Values(TExamples{"C", EXAMPLE_C_FIRST_STEPS_PATH, EXAMPLE_C_GET_SET_PATH,
                                                   EXAMPLE_C_WATCH_EVENTS_PATH, EXAMPLE_C_WHOLE_OBJECT_PATH,
                                                   EXAMPLE_C_TABLE_PATH, EXAMPLE_C_LONG_VALUE_PATH},
                                         TExamples{"Cpp", EXAMPLE_CPP_FIRST_STEPS_PATH,
                                                   EXAMPLE_CPP_GET_SET_PATH, EXAMPLE_CPP_WATCH_EVENTS_PATH,
                                                   EXAMPLE_CPP_WHOLE_OBJECT_PATH, EXAMPLE_CPP_TABLE_PATH,
                                                   EXAMPLE_CPP_LONG_VALUE_PATH}),
                         [](const auto& examples) { return std::string(examples.param.language); });

} // namespace
