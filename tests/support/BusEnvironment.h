// One private bus for a whole test program, there before its first test and thus before any use of libdbus:
//
//   const bool BUS_READY = support::TBusEnvironment::Register();
//
// at namespace scope of one of the program's files.
#ifndef ZELTO_TESTS_BUS_ENVIRONMENT_H
#define ZELTO_TESTS_BUS_ENVIRONMENT_H

#include "support/PrivateBus.h"

#include <gtest/gtest.h>

namespace support {

class TBusEnvironment : public testing::Environment {
public:
    static bool Register();
    // Only while tests run.
    static TPrivateBus& Bus();

    void SetUp() override;
    void TearDown() override;
};

} // namespace support

#endif
