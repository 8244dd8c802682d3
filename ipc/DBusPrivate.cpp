#include "ipc/DBusPrivate.h"

#include "ipc/BusProbe.h"
#include "ipc/DBusNames.h"
#include "ipc/PartyThreads.h"
#include "utils/Log.h"

#include <stdexcept>
#include <utility>

#include <poll.h>
#include <unistd.h>

using namespace zelto;

namespace {

// How often a party without a link makes sure that somebody tries to get one.
constexpr int LINK_INTERVAL_MS = 5000;

} // namespace

TZeltoDBus::TPrivate::TPrivate(TZeltoDBus& owner)
    : party(&owner), names(std::make_shared<const TNames>(TNames{BUS_NAME_PREFIX, OBJECT_PATH_PREFIX})) {
    plan.filter = &TZeltoDBus::MessageFilter;
    plan.filterData = &owner;
}

bool TZeltoDBus::TPrivate::IsOwnProcess() const {
    const pid_t owner = process;
    return owner == 0 || owner == getpid();
}

void TZeltoDBus::TPrivate::RequireOwnProcess() const {
    if (!IsOwnProcess()) {
        Fail("the bus connection belongs to the parent process");
    }
}

TZeltoDBus::TPrivate::TLinkRef TZeltoDBus::TPrivate::GetLink() {
    const std::lock_guard<std::mutex> lock(mutex);
    return link;
}

TZeltoDBus::TPrivate::TLinkRef TZeltoDBus::TPrivate::GetLinkFor(bool monitor) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (!link) {
        plan.monitor = monitor;
    }
    return link;
}

TZeltoDBus::TPrivate::TNamesRef TZeltoDBus::TPrivate::GetNames() {
    const std::lock_guard<std::mutex> lock(mutex);
    return names;
}

TLinkPlan TZeltoDBus::TPrivate::GetPlan() {
    const std::lock_guard<std::mutex> lock(mutex);
    return plan;
}

TZeltoDBus::TPrivate::TLinkRef TZeltoDBus::TPrivate::RequireLink(const char* failure) {
    RequireOwnProcess();
    TLinkRef current = GetLink();
    if (current && current->client.IsLost()) {
        LoseLink(current);
        current = nullptr;
    }
    if (current) {
        return current;
    }
    TZeltoDBus* owner = nullptr;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        owner = party;
        if (owner == nullptr) {
            Fail(failure); // the process ends, and the party is gone
        }
        if (isLost) {
            KeepReconnecting();
            reconnector.Nudge();
            Fail(failure);
        }
    }
    owner->Connect();
    current = GetLink();
    if (!current) {
        Fail(failure);
    }
    return current;
}

void TZeltoDBus::TPrivate::ShowLink() {
    party->serverConnection = link ? link->server.get() : nullptr;
    party->clientConnection = link ? link->client.Get() : nullptr;
    party->connected = link != nullptr;
}

void TZeltoDBus::TPrivate::ShowNames() {
    party->busName = names->busName;
    party->objectPath = names->objectPath;
}

std::string TZeltoDBus::TPrivate::GetIdentity() {
    const std::lock_guard<std::mutex> lock(mutex);
    return party->identity;
}

void TZeltoDBus::TPrivate::SetIdentity(const std::string& identity) {
    const std::lock_guard<std::mutex> lock(mutex);
    party->TZeltoIpc::Init(identity);
}

void TZeltoDBus::TPrivate::SetLink(TLinkRef newLink) {
    const std::lock_guard<std::mutex> lock(mutex);
    ChangeLink(newLink);
}

void TZeltoDBus::TPrivate::SetFirstLink(TLinkRef firstLink) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (!link && !isLost) {
        ChangeNames(std::to_string(getpid()), false);
        ChangeLink(firstLink);
    }
}

void TZeltoDBus::TPrivate::ChangeLink(TLinkRef& newLink) {
    // The former link goes when the argument does, outside the lock.
    link.swap(newLink);
    isLost = false;
    if (link) {
        process = getpid();
    }
    ShowLink();
    if (run) {
        run->Wake();
    }
}

void TZeltoDBus::TPrivate::SetNames(const std::string& element, bool isOwned) {
    const std::lock_guard<std::mutex> lock(mutex);
    ChangeNames(element, isOwned);
}

void TZeltoDBus::TPrivate::ChangeNames(const std::string& element, bool isOwned) {
    names = std::make_shared<const TNames>(TNames{BUS_NAME_PREFIX + element, OBJECT_PATH_PREFIX + element});
    plan.busName = isOwned ? names->busName : std::string();
    ShowNames();
}

bool TZeltoDBus::TPrivate::IsMonitor(DBusConnection* connection) {
    const std::lock_guard<std::mutex> lock(mutex);
    return link && link->server.get() == connection && link->isMonitor;
}

void TZeltoDBus::TPrivate::DropDeadLink() {
    const TLinkRef current = GetLink();
    if (!current) {
        return;
    }
    DBusConnection* const server = current->server.get();
    (void)dbus_connection_read_write(server, 0);
    if (dbus_connection_get_is_connected(server) == FALSE || current->client.IsLost()) {
        LoseLink(current);
    }
}

void TZeltoDBus::TPrivate::LoseLink(const TLinkRef& dead) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (link != dead || party == nullptr) {
        return;
    }
    link = nullptr;
    isLost = true;
    plan.monitor = dead->isMonitor;
    ShowLink();
    qvLogging_log(LOG_LEVEL_ERROR, "\"The bus connection of '%s' is lost.\"", names->busName.c_str());
    dead->client.WakeAll();
    StartReconnecting();
}

void TZeltoDBus::TPrivate::StartReconnecting() {
    try {
        reconnector.Start([keep = shared_from_this()] { return keep->TryReconnect(); });
    } catch (const std::exception& error) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", error.what());
    }
}

void TZeltoDBus::TPrivate::KeepReconnecting() {
    if (isLost && !reconnector.IsTrying()) {
        StartReconnecting();
    }
}

void TZeltoDBus::TPrivate::WaitForLink(TRun& dispatching) {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        KeepReconnecting();
    }
    pollfd polled{dispatching.GetWakeFd(), POLLIN, 0};
    (void)poll(&polled, 1, LINK_INTERVAL_MS);
    dispatching.ClearWake();
}

// Runs on the reconnector's thread. True when there is nothing left to do.
bool TZeltoDBus::TPrivate::TryReconnect() {
    TLinkPlan wanted;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (party == nullptr || !isLost) {
            return true;
        }
        wanted = plan;
    }
    TLinkRef fresh;
    try {
        fresh = ProbeBus() == TBusState::ANSWERING ? OpenWholeLink(wanted) : nullptr;
    } catch (const std::runtime_error&) {
        // Already logged; the bus may not be ready yet.
    }
    if (!fresh) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    if (party == nullptr || !isLost) {
        return true;
    }
    if (wanted.busName != plan.busName || wanted.monitor != plan.monitor) {
        return false;
    }
    link = fresh;
    isLost = false;
    ShowLink();
    qvLogging_log(LOG_LEVEL_NOTICE, "\"The bus connection of '%s' is back.\"", names->busName.c_str());
    if (run) {
        run->Wake();
    }
    return true;
}

bool TZeltoDBus::TPrivate::InterruptStoppedLoops() const {
    bool found = false;
    for (const TLoop* loop = loops; loop != nullptr; loop = loop->next) {
        if (loop->run.IsStopping()) {
            loop->run.Interrupt();
            found = true;
        }
    }
    return found;
}

void TZeltoDBus::TPrivate::AwaitStopped() {
    const TRun* const here = TRun::OfThisThread();
    if (here != nullptr && here->IsOf(this)) {
        return;
    }
    std::unique_lock<std::mutex> lock(mutex);
    loopEnded.wait(lock, [this] { return !InterruptStoppedLoops(); });
}

void TZeltoDBus::TPrivate::Close() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        party = nullptr;
        link = nullptr;
    }
    reconnector.Cancel();
    self = nullptr;
}

void TZeltoDBus::TPrivate::Resume(const std::function<void()>& start) {
    try {
        start();
    } catch (...) {
        SetIdentity("");
        party->running = true;
        throw;
    }
}

TZeltoDBus::TPrivate::TConnectScope::TConnectScope(TPrivate& connectingParty) : party(connectingParty) {
    party.process = getpid();
}

TZeltoDBus::TPrivate::TConnectScope::~TConnectScope() {
    const std::lock_guard<std::mutex> lock(party.mutex);
    if (!party.link && !party.isLost && !party.run) {
        party.process = 0;
    }
}

TZeltoDBus::TPrivate::TLoop::TLoop(TPrivate& loopParty, TRun& loopRun)
    : party(loopParty), run(loopRun), next(nullptr) {
    const std::lock_guard<std::mutex> lock(party.mutex);
    next = party.loops;
    party.loops = this;
}

TZeltoDBus::TPrivate::TLoop::~TLoop() {
    const std::lock_guard<std::mutex> lock(party.mutex);
    TLoop** place = &party.loops;
    while (*place != this) {
        place = &(*place)->next;
    }
    *place = next;
    party.loopEnded.notify_all();
}

TZeltoDBus::TPrivate::TRunRef TZeltoDBus::TPrivate::BeginRun() {
    const std::lock_guard<std::mutex> lock(mutex);
    if (!run) {
        run = std::make_shared<TRun>(this, lead);
        process = getpid();
    }
    return run;
}

void TZeltoDBus::TPrivate::StartThreads() {
    const std::lock_guard<std::mutex> lock(starting);
    const TStartScope scope(BeginRun());
    party->TZeltoIpc::Run();
}

TZeltoDBus::TPrivate::TRunRef TZeltoDBus::TPrivate::GetRun() {
    if (TRunRef begun = RunOfStart(); begun && begun->IsOf(this)) {
        return begun;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    return run;
}

void TZeltoDBus::TPrivate::StopRun() {
    const std::lock_guard<std::mutex> lock(mutex);
    if (const TRunRef stopped = std::exchange(run, nullptr)) {
        stopped->RequestStop();
    }
}

void TZeltoDBus::TPrivate::WakeDispatch() {
    const std::lock_guard<std::mutex> lock(mutex);
    if (run) {
        run->Wake();
    }
}
