#include "ipc/BusProbe.h"
#include "ipc/DBusCalls.h"
#include "ipc/DBusNames.h"
#include "ipc/DBusPrivate.h"
#include "ipc/PartyThreads.h"
#include "utils/Log.h"
#include "zelto/TZeltoDBus.h"

#include <new>
#include <utility>

#include <unistd.h>

using namespace zelto;

namespace {

constexpr int32_t BUS_TIMEOUT_MS = 25000;

TMessageHandle MakeReleaseRequest(const std::string& busName) {
    TMessageHandle request(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "ReleaseName"));
    const char* const name = busName.c_str();
    if (!request ||
        dbus_message_append_args(request.get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID) == FALSE) {
        Fail("dbus_message_new_method_call failed");
    }
    return request;
}

// Makes the party's own server connection readable, which wakes a dispatch thread of any transport. Its
// answer is taken in by the next Run.
void SendWakeUp(const std::shared_ptr<TBusLink>& link, const std::string& identity) {
    const TMessageHandle call(dbus_message_new_method_call((BUS_NAME_PREFIX + identity).c_str(),
                                                           (OBJECT_PATH_PREFIX + identity).c_str(),
                                                           INTERFACE_NAME, WAKE_UP_MEMBER));
    if (call) {
        link->client.Post(call.get());
    }
}

} // namespace

// The threads end without it as well, and they must.
void TZeltoDBus::TPrivate::TryToWakeUp() {
    try {
        const TLinkRef current = GetLink();
        const std::string identity = GetIdentity();
        if (current && IsIdentity(identity)) {
            SendWakeUp(current, identity);
        }
    } catch (const std::bad_alloc& error) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", error.what());
    }
}

TZeltoDBus::TZeltoDBus()
    : serverConnection(nullptr),
      clientConnection(nullptr),
      busName(BUS_NAME_PREFIX),
      interfaceName(INTERFACE_NAME),
      objectPath(OBJECT_PATH_PREFIX),
      connected(false),
      dispatchTimeoutMs(-1),
      own(nullptr) {
    dbus_threads_init_default();
    const auto state = std::make_shared<TPrivate>(*this);
    state->self = state;
    own = state.get();
}

TZeltoDBus::~TZeltoDBus() {
    TZeltoDBus::Stop();
    if (own->IsOwnProcess()) {
        Disconnect();
        own->Close();
    }
}

DBusConnection* TZeltoDBus::CreateConnection(DBusBusType busType) {
    return OpenConnection(busType).release();
}

void TZeltoDBus::Connect() {
    const unsigned silences = own->silences;
    const std::lock_guard<std::mutex> lock(own->connecting);
    if (own->GetLink()) {
        return;
    }
    const TPrivate::TConnectScope scope(*own);
    // Whoever has waited for another thread that found the bus hanging does not ask it once more.
    const bool isSilent = own->silences == silences && ProbeBus() == TBusState::SILENT;
    own->silences += isSilent ? 1 : 0;
    if (own->silences != silences) {
        Fail("dbus_bus_get_private - The bus does not answer.");
    }
    auto link = OpenLink(own->GetPlan());
    RememberBusAddress(link->server.get());
    own->SetFirstLink(std::move(link));
}

void TZeltoDBus::Disconnect() {
    own->SetLink(nullptr);
}

void TZeltoDBus::RegisterBusName() {
    const auto link = own->GetLink();
    if (link) {
        RequestBusName(link->server.get(), busName);
    }
}

void TZeltoDBus::ReleaseBusName() {
    const auto link = own->GetLink();
    // Until Init has named the party there is nothing to release, and its address is no valid bus name.
    if (!link || own->GetPlan().busName.empty()) {
        return;
    }
    TBusError error;
    dbus_bus_release_name(link->server.get(), busName.c_str(), error.Get());
    error.Check("dbus_bus_release_name");
    // Dispatch threads do not touch the server connection now, but other threads may be in calls on the
    // client one.
    const TMessageHandle request = MakeReleaseRequest(busName + CLIENT_NAME_SUFFIX);
    const TMessageHandle answer = Exchange(link, request.get(), DeadlineAfter(BUS_TIMEOUT_MS));
    if (!answer) {
        Fail("dbus_bus_release_name - The bus does not answer.");
    }
    (void)dbus_set_error_from_message(error.Get(), answer.get());
    error.Check("dbus_bus_release_name");
}

void TZeltoDBus::Init(const std::string& localIdentity) {
    qvLogging_log(LOG_LEVEL_DEBUG, "\"%s\"", localIdentity.c_str());
    if (localIdentity == identity) {
        qvLogging_log(LOG_LEVEL_NOTICE, "\"The same ID (%s), do nothing.\"", localIdentity.c_str());
        return;
    }
    RequireIdentity(localIdentity);
    own->RequireOwnProcess();
    const std::string formerIdentity = identity;
    own->SetIdentity(localIdentity);
    const bool wasRunning = running;
    if (wasRunning) {
        Stop();
    } else {
        own->AwaitStopped(); // a callback that has stopped the party may be on the connection still
    }
    try {
        own->TakeIdentity(localIdentity);
    } catch (...) {
        own->SetIdentity(formerIdentity);
        if (wasRunning) {
            own->Resume([this] { own->StartThreads(); });
        }
        throw;
    }
    if (wasRunning) {
        own->Resume([this] { Run(); });
    }
}

void TZeltoDBus::Run() {
    own->RequireOwnProcess();
    if (monitor && !running) {
        own->AwaitStopped();
        own->DropDeadLink();
    }
    const auto link = own->GetLinkFor(monitor);
    const bool isMonitor = link && link->isMonitor;
    if (isMonitor || (link && monitor && running)) {
        // Nothing may be sent on a monitor, nor may a connection that is being dispatched wait for the bus.
        own->RenewLink(monitor);
    } else if (monitor) {
        own->MonitorFromNowOn();
    }
    own->StartThreads();
}

void TZeltoDBus::Stop() {
    if (!own->IsOwnProcess()) {
        running = false;
        // The threads exist in the parent only: nobody can join them here, and destroying them would end the
        // process.
        new std::vector<std::thread>(std::move(threads));
        return;
    }
    own->StopRun();
    if (running.exchange(false)) {
        own->TryToWakeUp();
    }
    own->AwaitStopped();
    std::vector<std::thread> stopped;
    {
        const std::lock_guard<std::mutex> lock(own->starting);
        own->StopRun(); // a callback that was waited for, or another thread, may have begun another
        running = false;
        stopped = TakeThreads(threads);
    }
    JoinOrLeave(stopped);
    own->AwaitStopped(); // a callback of that other run may have stopped it, and so taken its own thread
                         // along
}
