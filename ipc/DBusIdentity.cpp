// A party asks the bus to change what it is: another name, or a monitor. Either it is done, or everything is
// as it was.

#include "ipc/BusProbe.h"
#include "ipc/DBusNames.h"
#include "ipc/DBusPrivate.h"
#include "utils/Log.h"

#include <stdexcept>
#include <utility>

using namespace zelto;

namespace {

// How long what a connection has to send may hold up the next question to the bus.
constexpr int32_t LAST_FLUSH_MS = 1000;

// The party is to have the name that it had, and not the one that it wanted: the bus may have given that, and
// only its answer is lost. What goes wrong is logged; the caller hears of the first failure. A bus that hangs
// is not asked again.
bool TakeBack(TBusLink& link, const std::string& wanted, const std::string& former) {
    try {
        DBusConnection* const server = link.server.get();
        if (ProbeBus() != TBusState::ANSWERING || !MayAskBus(server, DeadlineAfter(LAST_FLUSH_MS))) {
            return false;
        }
        if (wanted != former && !wanted.empty() &&
            dbus_bus_release_name(server, wanted.c_str(), nullptr) < 0) {
            return false;
        }
        if (!former.empty()) {
            RequestBusName(server, former);
        }
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

TZeltoDBus::TPrivate::TPosition TZeltoDBus::TPrivate::GetPosition() {
    const std::lock_guard<std::mutex> lock(mutex);
    return {link, names, plan, isLost};
}

void TZeltoDBus::TPrivate::Restore(TPosition& former) {
    const std::lock_guard<std::mutex> lock(mutex);
    ChangeLink(former.link);
    names.swap(former.names);
    std::swap(plan, former.plan);
    isLost = former.isLost;
    ShowNames(); // which have been there before, so the memory for them is
    if (isLost) {
        StartReconnecting();
    }
}

void TZeltoDBus::TPrivate::TakeIdentity(const std::string& identity) {
    DropDeadLink();
    TPosition position = GetPosition();
    const TLinkRef kept = position.link;
    const std::string formerName = position.plan.busName;
    const bool maySend = kept && !kept->isMonitor;
    if (maySend && ProbeBus() == TBusState::SILENT) {
        Fail("dbus_bus_release_name - The bus does not answer.");
    }
    const bool canRename = maySend && MayAskBus(kept->server.get(), DeadlineAfter(LAST_FLUSH_MS));
    try {
        if (canRename) {
            party->ReleaseBusName();
        } else {
            // A monitor may not send, nor a connection on which the bus does not read; and a lost link must
            // not come back under the old name meanwhile.
            SetLink(nullptr);
            party->Connect();
        }
        SetNames(identity, true);
        qvLogging_log(LOG_LEVEL_DEBUG, "\"'%s' '%s' '%s'\"", party->interfaceName.c_str(),
                      party->busName.c_str(), party->objectPath.c_str());
        party->RegisterBusName();
    } catch (...) {
        Restore(position);
        // Now the position is the one that was wanted.
        if (canRename && !TakeBack(*kept, position.plan.busName, formerName)) {
            LoseLink(kept); // the next one comes with the name
        }
        throw;
    }
}

void TZeltoDBus::TPrivate::RenewLink(bool asMonitor) {
    if (ProbeBus() == TBusState::SILENT) {
        Fail("dbus_bus_get_private - The bus does not answer.");
    }
    TLinkPlan wanted = GetPlan();
    wanted.monitor = asMonitor;
    SetLink(OpenWholeLink(wanted));
}

void TZeltoDBus::TPrivate::MonitorFromNowOn() {
    const TLinkRef current = GetLinkFor(true);
    if (current && !MayAskBus(current->server.get(), DeadlineAfter(LAST_FLUSH_MS))) {
        RenewLink(true);
    } else {
        party->BecomeMonitor();
    }
}
