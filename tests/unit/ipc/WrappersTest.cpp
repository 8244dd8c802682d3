// The small classes of the transport that own libdbus objects.

#include "support/LogSpy.h"
#include "zelto/TZeltoDBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

using TBusError = TZeltoDBus::TBusError;
using TBusMessage = TZeltoDBus::TBusMessage;

namespace {

DBusMessage* MakeSignal() {
    return dbus_message_new_signal("/p", "a.b", "M");
}

DBusMessage* MakeCall() {
    return dbus_message_new_method_call("a.b", "/p", "a.b", "M");
}

void CountFree(void* counter) {
    ++*static_cast<int*>(counter);
}

// Counts in `frees` when the message is freed.
DBusMessage* Watched(DBusMessage* message, int& frees) {
    static dbus_int32_t slot = -1;
    if (slot == -1) {
        dbus_message_allocate_data_slot(&slot);
    }
    dbus_message_set_data(message, slot, &frees, CountFree);
    return message;
}

} // namespace

TEST(BusMessage, RefusesANullMessage) {
    try {
        const TBusMessage message(nullptr);
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("DBusMessage pointer is NULL!", error.what());
    }
}

TEST(BusMessage, RefusesTheAssignmentOfANullMessageAndDropsWhatItHeld) {
    int frees = 0;
    TBusMessage message(Watched(MakeSignal(), frees));
    try {
        message = nullptr;
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("DBusMessage pointer is NULL!", error.what());
    }
    EXPECT_EQ(1, frees);
    EXPECT_EQ(nullptr, message());
    EXPECT_EQ(DBUS_MESSAGE_TYPE_INVALID, message.GetType());
}

TEST(BusMessage, GivesItsPointerAndItsType) {
    DBusMessage* const signal = MakeSignal();
    TBusMessage message(signal);
    EXPECT_EQ(signal, message());
    EXPECT_EQ(DBUS_MESSAGE_TYPE_SIGNAL, message.GetType());
    message = MakeCall();
    EXPECT_EQ(DBUS_MESSAGE_TYPE_METHOD_CALL, message.GetType());
}

TEST(BusMessage, DropsItsReferenceAtItsEndAndOnAssignment) {
    int frees = 0;
    {
        TBusMessage message(Watched(MakeSignal(), frees));
        message = Watched(MakeCall(), frees);
        EXPECT_EQ(1, frees);
    }
    EXPECT_EQ(2, frees);
}

TEST(BusMessage, HoldsExactlyOneReference) {
    int frees = 0;
    DBusMessage* const signal = Watched(MakeSignal(), frees);
    dbus_message_ref(signal);
    { const TBusMessage message(signal); }
    EXPECT_EQ(0, frees);
    dbus_message_unref(signal);
    EXPECT_EQ(1, frees);
}

TEST(BusMessage, IsDeletedRightlyThroughItsBase) {
    class TDerived : public TBusMessage {
    public:
        TDerived(DBusMessage* owned, int& destroyedCounter)
            : TBusMessage(owned), destroyed(destroyedCounter) {}
        ~TDerived() override { ++destroyed; }

    private:
        int& destroyed;
    };
    int destroyed = 0;
    std::unique_ptr<TBusMessage> message = std::make_unique<TDerived>(MakeSignal(), destroyed);
    message.reset();
    EXPECT_EQ(1, destroyed);
}

TEST(BusError, LetsAnUnsetErrorPass) {
    TBusError error;
    EXPECT_NO_THROW(error.Check("context"));
    EXPECT_TRUE(LogSpy::Messages().empty());
}

TEST(BusError, LogsAndThrowsContextAndMessage) {
    TBusError error;
    dbus_set_error_const(error.Get(), DBUS_ERROR_FAILED, "it went %s wrong");
    try {
        error.Check("dbus_bus_get_private");
        FAIL() << "no exception";
    } catch (const std::runtime_error& thrown) {
        EXPECT_STREQ("dbus_bus_get_private - it went %s wrong", thrown.what());
    }
    const std::vector<LogSpy::TMessage> expected{
        {3, "\"%s\"", "\"dbus_bus_get_private - it went %s wrong\""}};
    EXPECT_EQ(expected, LogSpy::Messages());
}

TEST(BusError, IsFreedAtItsEnd) {
    TBusError error;
    dbus_set_error(error.Get(), DBUS_ERROR_FAILED, "%s", std::string(1000, 'x').c_str());
    EXPECT_THROW(error.Check(""), std::runtime_error);
}
