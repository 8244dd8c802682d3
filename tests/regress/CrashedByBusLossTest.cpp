// libdbus lets go of its lock while it gives up the calls of a lost connection. A second thread that found
// the connection lost just then gave them up as well, and the process ended with SIGSEGV.

#include "bus/BusParty.h"
#include "bus/FaultInjection.h"

#include "support/Gate.h"

#include <future>
#include <stdexcept>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();
// How long one thread waits for the other, which is kept out as long as everything is right.
constexpr std::chrono::milliseconds PATIENCE{300};

// Of two threads that find the connection lost: the reader reads its end, the sender gives up its calls, and
// meanwhile the reader dispatches.
struct TMeeting {
    TGate endRead;
    TGate callGivenUp;
    TGate callsTaken;
};

thread_local TMeeting* sendersMeeting = nullptr;
thread_local TMeeting* readersMeeting = nullptr;

// Belongs to a call that only the connection holds: is called, without a lock, when that is given up.
void OnGivenUp(void* /*meeting*/) {
    if (sendersMeeting != nullptr) {
        sendersMeeting->callGivenUp.Open();
        sendersMeeting->callsTaken.Wait(PATIENCE);
    }
}

void SendForgottenCall(DBusConnection* connection, TMeeting& meeting) {
    DBusMessage* const call =
        dbus_message_new_method_call(BusName("SILENT").c_str(), "/", "com.Ulmet.Zelto.Zelto", "FORGOTTEN");
    DBusPendingCall* pending = nullptr;
    ASSERT_TRUE(dbus_connection_send_with_reply(connection, call, &pending, DBUS_TIMEOUT_INFINITE));
    dbus_message_unref(call);
    ASSERT_NE(nullptr, pending);
    ASSERT_TRUE(dbus_pending_call_set_notify(pending, nullptr, &meeting, OnGivenUp));
    dbus_pending_call_unref(pending);
}

} // namespace

REPLACEMENT dbus_bool_t dbus_connection_send(DBusConnection* connection, DBusMessage* message,
                                             dbus_uint32_t* serial) {
    if (sendersMeeting != nullptr) {
        TBusEnvironment::Bus().Kill();
        sendersMeeting->endRead.Wait(PATIENCE);
    }
    return REAL(dbus_connection_send)(connection, message, serial);
}

REPLACEMENT dbus_bool_t dbus_connection_read_write(DBusConnection* connection, int timeout) {
    const dbus_bool_t isConnected = REAL(dbus_connection_read_write)(connection, timeout);
    if (readersMeeting != nullptr && isConnected == FALSE) {
        readersMeeting->endRead.Open();
        readersMeeting->callGivenUp.Wait(PATIENCE);
    }
    return isConnected;
}

REPLACEMENT DBusDispatchStatus dbus_connection_dispatch(DBusConnection* connection) {
    const DBusDispatchStatus status = REAL(dbus_connection_dispatch)(connection);
    if (readersMeeting != nullptr && dbus_connection_get_is_connected(connection) == FALSE) {
        readersMeeting->callsTaken.Open();
    }
    return status;
}

TEST(CrashedByBusLoss, NoMoreWhenTwoThreadsFindTheConnectionLost) {
    ASSERT_TRUE(BUS_READY);
    TMeeting meeting;
    TRawPeer silent(BusAddress());
    silent.OwnName(BusName("SILENT"));
    TAccessParty caller;
    caller.Init("CALLER");
    SendForgottenCall(caller.clientConnection, meeting);
    auto code = std::async(std::launch::async, [&] {
        readersMeeting = &meeting;
        TZeltoIpc::TMethodSettings settings{"SILENT", 60};
        std::string result;
        return caller.CallMethod("WAIT", "", result, settings);
    });
    ASSERT_TRUE(silent.WaitFor([](const auto& message) { return message.member == "WAIT"; }));

    sendersMeeting = &meeting;
    EXPECT_THROW(caller.SendEvent("TICK", ""), std::runtime_error);
    sendersMeeting = nullptr;
    EXPECT_EQ(-1, code.get());

    TBusEnvironment::Bus().Restart();
    EXPECT_TRUE(Eventually([] { return HasOwner("CALLER"); }));
}
