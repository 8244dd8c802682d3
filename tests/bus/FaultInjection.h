// Functions of libdbus that fail when told to, on the thread that told them: a program that replaces one asks
// Fails, and hands on what is to succeed to REAL.
#ifndef ZELTO_TESTS_BUS_FAULT_INJECTION_H
#define ZELTO_TESTS_BUS_FAULT_INJECTION_H

#include "BusParty.h"

#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>

#include <dlfcn.h>

#define REPLACEMENT extern "C" __attribute__((visibility("default")))
#define REAL(function) faults::RealFunction(&(function), #function)

namespace faults {

struct TFault {
    const char* function = "";
    int passes = 0; // calls that succeed before the one that fails
};

inline thread_local TFault fault;

// True once, for the call that is to fail.
inline bool Fails(const char* function) {
    if (std::strcmp(fault.function, function) != 0 || fault.passes-- > 0) {
        return false;
    }
    fault = {};
    return true;
}

template <typename TFunction>
TFunction* RealFunction(TFunction* /*replacement*/, const char* name) {
    return reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, name));
}

inline std::string FailureOf(const char* function, const std::function<void()>& body, int passes = 0) {
    fault = {function, passes};
    std::string failure;
    try {
        body();
    } catch (const std::runtime_error& error) {
        failure = error.what();
    }
    EXPECT_STREQ("", fault.function) << "never called";
    fault = {};
    return failure;
}

// Fails with the text and one error line of the text.
inline void ExpectFailure(const std::string& text, const char* function, const std::function<void()>& body,
                          int passes = 0) {
    LogSpy::Clear();
    EXPECT_EQ(text, FailureOf(function, body, passes));
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::Contains(3, "\"" + text + "\""));
}

class Fault : public testing::Test {
protected:
    void Call() {
        TZeltoIpc::TMethodSettings settings{"SERVER", 10};
        std::string result;
        EXPECT_EQ(0, caller.CallMethod("ECHO", "request", result, settings));
        EXPECT_EQ("request", result);
    }

    busparty::TServingParty server{"SERVER"};
    busparty::TAccessParty caller;
};

} // namespace faults

#endif
