// The state of a party on the bus that its interface does not show.
#ifndef ZELTO_IPC_DBUS_PRIVATE_H
#define ZELTO_IPC_DBUS_PRIVATE_H

#include "ipc/BusLink.h"
#include "ipc/DBusReconnect.h"
#include "ipc/DispatchRun.h"
#include "zelto/TZeltoDBus.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include <sys/types.h>

struct __attribute__((visibility("hidden"))) TZeltoDBus::TPrivate
    : std::enable_shared_from_this<TZeltoDBus::TPrivate> {
    // The party's addresses; replaced as a whole.
    struct TNames {
        std::string busName;
        std::string objectPath;
    };
    using TLinkRef = std::shared_ptr<zelto::TBusLink>;
    using TNamesRef = std::shared_ptr<const TNames>;
    using TRunRef = std::shared_ptr<zelto::TRun>;

    explicit TPrivate(TZeltoDBus& owner);

    // A child that was forked off shares the parent's sockets: it must neither send nor wait for threads. One
    // that was forked off before there was a connection or a thread is free to begin.
    bool IsOwnProcess() const;
    void RequireOwnProcess() const;

    TLinkRef GetLink();
    // The same; when there is none, the one that comes back is to be a monitor or not.
    TLinkRef GetLinkFor(bool monitor);
    TNamesRef GetNames();
    // The connected link; connects first if the party never was. Logs and throws `failure` while the bus is
    // away.
    TLinkRef RequireLink(const char* failure);

    // The party's identity, which a callback may be changing while another thread stops the party.
    std::string GetIdentity();
    void SetIdentity(const std::string& identity);
    // Makes a link the party's own and wakes the dispatch threads for it; null disconnects.
    void SetLink(TLinkRef newLink);
    // The same for the first link, under a name that is not owned. Not when there is another one, or one to
    // come back: an Init on another thread has succeeded or failed meanwhile.
    void SetFirstLink(TLinkRef firstLink);
    // Both names from their last element. Owned names are requested again on a new link.
    void SetNames(const std::string& element, bool isOwned);
    // Gives up the old name and takes the new one, connecting first if need be. When it throws, everything is
    // as it was.
    void TakeIdentity(const std::string& identity);
    // Replaces the link by a fresh one, with the name, that no dispatch thread has seen before it is whole.
    void RenewLink(bool asMonitor);
    // Makes the link a monitor, or replaces it by one when the bus does not read what is left on it.
    void MonitorFromNowOn();
    // The party's link uses the connection, and has become a monitor: nothing may be sent on it.
    bool IsMonitor(DBusConnection* connection);
    // Gives the link up when the bus has closed it without anybody noticing. Only while no thread dispatches.
    void DropDeadLink();
    // The link is dead: gives it up, if it still is the party's, and starts to get another one.
    void LoseLink(const TLinkRef& dead);
    // The party, which has been stopped, is being destroyed.
    void Close();

    // Starts the dispatch threads again after they were stopped for a new name. When it throws, because there
    // is no memory or no thread to be had, the party counts as running and has no identity: so the next Init,
    // of whatever name, starts them.
    void Resume(const std::function<void()>& start);

    // A dispatch thread in its loop, for the length of a scope. It lies on that thread's stack: without
    // memory the loop begins all the same.
    class TLoop {
    public:
        TLoop(TPrivate& loopParty, zelto::TRun& loopRun);
        ~TLoop();
        TLoop(const TLoop&) = delete;
        TLoop& operator=(const TLoop&) = delete;

        TPrivate& party;
        zelto::TRun& run;
        TLoop* next;
    };
    // A thread that connects, for the length of a scope: a child that is forked off meanwhile gets a copy of
    // what this thread holds, and is not free to begin.
    class TConnectScope {
    public:
        explicit TConnectScope(TPrivate& connectingParty);
        ~TConnectScope();
        TConnectScope(const TConnectScope&) = delete;
        TConnectScope& operator=(const TConnectScope&) = delete;

    private:
        TPrivate& party;
    };
    // Waits for the callbacks that are in progress in stopped runs, those too that have stopped their own,
    // and ends the calls that they have under way. Does nothing on a dispatch thread of this party.
    void AwaitStopped();

    // The run that is under way; a new one when there is none.
    TRunRef BeginRun();
    // As many threads as are configured, for the run that is under way.
    void StartThreads();
    // The run that the current thread is to dispatch for: one that was begun after the thread was started has
    // threads of its own. Null when there is none.
    TRunRef GetRun();
    void StopRun();
    // Makes the party's own server connection readable, which wakes a dispatch thread of any transport.
    void TryToWakeUp();
    // An idle dispatch thread looks anew at what there is to do.
    void WakeDispatch();

    zelto::TLinkPlan GetPlan();

    // The message filter without its guard against exceptions.
    static void HandleMessage(TZeltoDBus& party, DBusConnection* connection, DBusMessage* message);
    void DispatchTurn(zelto::TRun& run);
    void WaitForLink(zelto::TRun& dispatching);
    bool WaitForInput(zelto::TBusLink& dispatched, zelto::TRun& dispatching, bool lacksMemory) const;

    std::shared_ptr<TPrivate> self; // until Close
    // One thread at a time connects. Never held while a thread is waited for.
    std::mutex connecting;
    std::atomic<unsigned> silences{0}; // times that the bus was found hanging by a thread that was to connect
    // A run and its threads begin together and end together. Never held while a thread is waited for.
    std::mutex starting;

private:
    struct TPosition {
        TLinkRef link;
        TNamesRef names;
        zelto::TLinkPlan plan;
        bool isLost;
    };
    TPosition GetPosition();
    // Needs no memory. The position is then the one that has been left.
    void Restore(TPosition& former);
    // The mutex is held.
    void ChangeLink(TLinkRef& newLink);
    void ChangeNames(const std::string& element, bool isOwned);
    // The mutex is held. The process may have no thread left: the first says so, the second tries again.
    void StartReconnecting();
    void KeepReconnecting();
    bool TryReconnect();
    void ShowLink();
    void ShowNames();
    // The mutex is held. Whether there are any.
    bool InterruptStoppedLoops() const;

    std::atomic<pid_t> process{0}; // that makes the connections or the threads; 0 while there are none
    std::mutex mutex;              // guards everything below, and the party's members that show it
    TZeltoDBus* party;
    TLinkRef link;
    TNamesRef names;
    TRunRef run;
    const std::shared_ptr<zelto::TLead> lead = std::make_shared<zelto::TLead>();
    zelto::TLinkPlan plan;
    bool isLost = false; // there was a link and the bus has taken it away
    zelto::TReconnector reconnector;
    TLoop* loops = nullptr; // one for each dispatch thread that is in its loop
    std::condition_variable loopEnded;
};

#endif
