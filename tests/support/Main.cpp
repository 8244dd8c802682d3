// The main function of every test program that has none of its own.

#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

namespace {

class TLogListener : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override { LogSpy::Clear(); }

    void OnTestEnd(const testing::TestInfo& test) override {
        if (test.result()->Failed()) {
            std::cout << "Logged:\n" << LogSpy::Dump();
        }
    }
};

} // namespace

// No test reaches the machine's own system bus by mistake.
int main(int argc, char** argv) {
    (void)setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/zelto-test-bus",
                 1); // fails only without memory
    testing::InitGoogleMock(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new TLogListener); // which takes it over
    return RUN_ALL_TESTS();
}
