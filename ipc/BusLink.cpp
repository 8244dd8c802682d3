#include "ipc/BusLink.h"

#include "ipc/DBusNames.h"
#include "ipc/DispatchRun.h"
#include "utils/Log.h"
#include "zelto/TZeltoDBus.h"

#include <algorithm>

#include <poll.h>

namespace zelto {

namespace {

using TBusError = TZeltoDBus::TBusError;

// Files sent along with messages are closed with them; more than these at once are refused.
constexpr long MAX_RECEIVED_FILES = 64;

void RequireStep(dbus_bool_t done, const char* function) {
    if (done == FALSE) {
        // The two quotes are part of the text that log readers look for.
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"\" failed\"", function);
        throw std::runtime_error(std::string(function) + " failed");
    }
}

// A container that is still open when a step fails is given up with what libdbus holds for it.
struct TContainer {
    explicit TContainer(DBusMessageIter& outerArguments) : outer(outerArguments) {}
    ~TContainer() { dbus_message_iter_abandon_container_if_open(&outer, &inner); }
    TContainer(const TContainer&) = delete;
    TContainer& operator=(const TContainer&) = delete;

    DBusMessageIter& outer;
    DBusMessageIter inner = DBUS_MESSAGE_ITER_INIT_CLOSED;
};

TMessageHandle MakeMonitorRequest() {
    TMessageHandle request(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                        DBUS_INTERFACE_MONITORING, "BecomeMonitor"));
    if (!request) {
        Fail("dbus_message_new_method_call failed");
    }
    DBusMessageIter arguments;
    dbus_message_iter_init_append(request.get(), &arguments);
    TContainer rules(arguments);
    RequireStep(dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING_AS_STRING,
                                                 &rules.inner),
                "dbus_message_iter_open_container");
    for (const char* rule : {"type='signal',member='NameAcquired'", "type='signal',member='NameLost'"}) {
        RequireStep(dbus_message_iter_append_basic(&rules.inner, DBUS_TYPE_STRING, &rule),
                    "dbus_message_iter_append_basic");
    }
    RequireStep(dbus_message_iter_close_container(&arguments, &rules.inner),
                "dbus_message_iter_close_container");
    const dbus_uint32_t flags = 0;
    RequireStep(dbus_message_iter_append_basic(&arguments, DBUS_TYPE_UINT32, &flags),
                "dbus_message_iter_append_basic");
    return request;
}

} // namespace

bool FlushBounded(DBusConnection* connection, TClock::time_point deadline) {
    TRun* const run = TRun::OfThisThread();
    while (dbus_connection_has_messages_to_send(connection) != FALSE && TClock::now() < deadline) {
        const bool isStopped = run != nullptr && run->IsStopping();
        // A run that is stopped stays readable.
        const int wakeFd = run == nullptr || isStopped ? -1 : run->GetWakeFd();
        pollfd polled[] = {{-1, POLLOUT, 0}, {wakeFd, POLLIN, 0}};
        if (dbus_connection_get_unix_fd(connection, &polled[0].fd) == FALSE) {
            return false;
        }
        auto patience = isStopped ? std::min(deadline, DeadlineAfter(STOPPED_PATIENCE_MS)) : deadline;
        if (dbus_connection_get_dispatch_status(connection) == DBUS_DISPATCH_NEED_MEMORY) {
            // libdbus sends nothing then, and the room for it would end the wait at once.
            polled[0].fd = -1;
            patience = std::min(patience, DeadlineAfter(MEMORY_RETRY_MS));
        }
        const int ready = poll(polled, 2, PollTimeout(patience));
        if (ready > 0 && run != nullptr && polled[1].revents != 0) {
            run->ClearWake(); // the next turn looks at the link anyway
        } else if (ready == 0 && run != nullptr && run->IsInterrupted()) {
            return false;
        }
        if (dbus_connection_read_write(connection, 0) == FALSE) {
            return false;
        }
    }
    return dbus_connection_has_messages_to_send(connection) == FALSE;
}

bool MayAskBus(DBusConnection* connection, TClock::time_point deadline) {
    // What libdbus has sent may still wait in the socket, where there must be room for the question as well.
    pollfd polled{-1, POLLOUT, 0};
    return FlushBounded(connection, deadline) &&
           dbus_connection_get_unix_fd(connection, &polled.fd) != FALSE &&
           poll(&polled, 1, PollTimeout(deadline)) > 0;
}

TConnectionHandle OpenConnection(DBusBusType busType) {
    TBusError error;
    DBusConnection* const opened = dbus_bus_get_private(busType, error.Get());
    // Owned before Check, which may run out of memory.
    TConnectionHandle connection(opened == nullptr ? nullptr : dbus_connection_ref(opened));
    error.Check("dbus_bus_get_private");
    dbus_connection_set_exit_on_disconnect(opened, FALSE);
    dbus_connection_set_max_received_unix_fds(opened, MAX_RECEIVED_FILES);
    return connection;
}

std::shared_ptr<TBusLink> OpenLink(const TLinkPlan& plan) {
    TConnectionHandle server = OpenConnection(DBUS_BUS_SYSTEM);
    TConnectionHandle client = OpenConnection(DBUS_BUS_SYSTEM);
    auto link = std::make_shared<TBusLink>(std::move(server), std::move(client));
    if (dbus_connection_add_filter(link->server.get(), plan.filter, plan.filterData, nullptr) == FALSE) {
        Fail("Can't add ServerConnection filter.");
    }
    TBusError error;
    dbus_bus_add_match(link->server.get(), MATCH_RULE, error.Get());
    error.Check("dbus_bus_add_match");
    return link;
}

std::shared_ptr<TBusLink> OpenWholeLink(const TLinkPlan& plan) {
    auto link = OpenLink(plan);
    if (!plan.busName.empty()) {
        RequestBusName(link->server.get(), plan.busName);
    }
    if (plan.monitor) {
        RequestMonitoring(*link);
    }
    return link;
}

void RequestBusName(DBusConnection* connection, const std::string& busName) {
    TBusError error;
    // A party that Init has not named has an address that is no bus name.
    (void)dbus_validate_bus_name(busName.c_str(), error.Get());
    error.Check("dbus_bus_request_name");
    const int answer = dbus_bus_request_name(
        connection, busName.c_str(), DBUS_NAME_FLAG_ALLOW_REPLACEMENT | DBUS_NAME_FLAG_REPLACE_EXISTING,
        error.Get());
    error.Check("dbus_bus_request_name");
    // A party that could not release its name, and takes it up again, has it already.
    if (answer != DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER && answer != DBUS_REQUEST_NAME_REPLY_ALREADY_OWNER) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"The '%s' name is already taken!\"", busName.c_str());
    }
}

void RequestMonitoring(TBusLink& link) {
    const TMessageHandle request = MakeMonitorRequest();
    TBusError error;
    const TMessageHandle reply(dbus_connection_send_with_reply_and_block(
        link.server.get(), request.get(), DBUS_TIMEOUT_USE_DEFAULT, error.Get()));
    // Before Check, which may run out of memory: nothing may be sent on it from now on.
    link.isMonitor = reply != nullptr;
    error.Check("dbus_connection_send_with_reply_and_block");
}

} // namespace zelto
