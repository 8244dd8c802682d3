// The transport-independent half of the inter-process layer: who the local party is, who listens to events,
// who serves which method, which server answers which method, and the dispatch threads.
//
// Each process has one transport object that all users of the library in it share: getZeltoIpcInstance().
//
// A child that was forked off a process whose transport object is connected or runs has none of its threads
// and shares its sockets: there every call of that object throws std::runtime_error. So daemon() comes before
// Init. libdbus sets SIGPIPE to be ignored whenever it connects; programs that this one starts inherit it.
#ifndef ZELTO_IPC_H
#define ZELTO_IPC_H

#include "zelto/Export.h"
#include "zelto/ZeltoLocking.h"

#include <atomic>
#include <cstdint>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

// Gets events. Implemented by the user, who keeps the object alive while it is registered.
class ZELTO_API IZeltoIpcEventListener {
public:
    // The order of virtual functions is binary interface.
    //
    // Called on a dispatch thread for every event, whatever its name, with the lock of the listener set held.
    // An exception that leaves it keeps the event from the listeners after this one; the transport logs it.
    virtual void OnEvent(const std::string& eventName, const std::string& eventData) = 0;
    virtual ~IZeltoIpcEventListener();
};

// Serves methods. Implemented by the user, who keeps the object alive while it is registered.
class ZELTO_API IZeltoIpcMethodHandler {
public:
    // The order of virtual functions is binary interface.
    //
    // Called on a dispatch thread, one call at a time per transport object. Fills `result` and returns the
    // result code (0 success, -1 failure). It may call methods of other parties, but never of its own.
    virtual int OnMethodCall(const std::string& method, const std::string& request, std::string& result) = 0;
    virtual ~IZeltoIpcMethodHandler();
};

class ZELTO_API TZeltoIpc : public IZeltoIpcEventListener, public IZeltoIpcMethodHandler {
public:
    struct TZeltoIpcSettings {
        int32_t threadCount;   // dispatch threads that Run starts; below 1 starts none
        int32_t methodTimeout; // default time-out of a method call, in seconds
        bool monitor;          // watch the bus for other parties instead of serving methods
    };

    struct TMethodSettings {
        std::string serverId; // the server to call; empty: as SetMethodServerId says
        int32_t timeout = 0;  // time-out of this call, in seconds; 0 does not wait; -1: the party's default
    };

    // Names of the presence events of a party in monitor mode. Their data is the other party's identity.
    static const std::string ON_APP_CONNECTED_EVENT;
    static const std::string ON_APP_DISCONNECTED_EVENT;

    TZeltoIpc();

    // The order of virtual functions is binary interface.

    // Hands an event to every listener, in ascending order of their addresses. Called by the transport.
    void OnEvent(const std::string& eventName, const std::string& eventData) override;
    // Stops the dispatch threads. Listeners and handlers are not owned and not deleted.
    ~TZeltoIpc() override;
    // Takes the local party's identity; the transport connects and names the party. Letters, digits and '_',
    // not beginning with a digit, at most 200 characters. Throws std::runtime_error when the bus refuses or
    // the identity is not valid; the party is then as it was before. A running party whose threads cannot be
    // started again, for want of memory or of threads, is silent until the next Init, under whatever name.
    //
    // Waits for the bus, some 26 s when it hangs, and for a callback in progress as Stop does. Not to be
    // called by two threads at once. From then on the bus queues every party's events for this one: a party
    // that stays without dispatch threads in the end keeps the bus from reading what others send.
    virtual void Init(const std::string& localIdentity);
    // Starts the dispatch threads and returns; called again it starts as many more. In monitor mode it waits
    // for the bus as Init does, and for a callback that has stopped the party. Throws std::runtime_error when
    // the bus refuses the monitor, or no thread, descriptor or memory is to be had.
    virtual void Run();
    // Registers a listener for all events; the name is not looked at. A listener is registered once however
    // often it is added. Any thread, callbacks included.
    virtual void AddEventLstener(const std::string& eventName, IZeltoIpcEventListener* listener);
    // Returns when the listener is not running and will not be called again (unless called by the listener
    // itself).
    virtual void RemoveEventLstener(IZeltoIpcEventListener* listener);
    // Registers the handler of a method, replacing an earlier one. Any thread, callbacks included.
    virtual void AddMethodHandler(const std::string& method, IZeltoIpcMethodHandler* handler);
    // Returns when the handler is not running and will not be called again (unless called by the handler
    // itself).
    virtual void RemoveMethodHandler(const std::string& method);
    // Sends an event to every party, this one included. The name has 1 to 255 letters, digits and '_', no
    // digit first; the data are UTF-8 of at most 16 MiB and end at a NUL. Any thread. Waits a second at most
    // for a bus that does not read. Throws std::runtime_error when it cannot be sent.
    virtual void SendEvent(const std::string& eventName, const std::string& eventData) = 0;
    // Calls a method of the server that SetMethodServerId names for it, and blocks until the answer or the
    // time-out; the method and the request are as an event's name and data. The first call or event of a
    // party that Init has not connected does so: that takes up to 25 s more on a bus that hangs. Returns the
    // server's code; -1 also when there is no server, no answer in time, or an error answer, with `result` as
    // it was. Any thread. Throws std::runtime_error when the call cannot be sent.
    virtual int CallMethod(const std::string& method, const std::string& request, std::string& result) = 0;
    // The same with a server and a time-out for this call.
    virtual int CallMethod(const std::string& method, const std::string& request, std::string& result,
                           TMethodSettings& settings) = 0;
    // Calls the registered handler; -1 with `result` untouched when there is none. Called by the transport.
    int OnMethodCall(const std::string& method, const std::string& request, std::string& result) override;
    // Stops the dispatch threads and waits for them, a callback in progress included, which must not wait for
    // the caller; a call that the callback has under way ends with -1. On a dispatch thread it does not wait
    // for that thread itself.
    // Its connections stay: what Init says of a party without dispatch threads holds until the next Run.
    virtual void Stop();

    // To be called before Run; takes no lock.
    void Configure(const TZeltoIpcSettings& settings);
    void GetSettings(TZeltoIpcSettings& settings) const;
    int GetEventListenersNumber() const;
    // The server of a method, else the server of "*", else "". Leaves `serverId` as it was while no server is
    // set at all.
    void GetMethodServerId(const std::string& method, std::string& serverId) const;
    // Says which server answers a method; "*" stands for every other one. Takes no lock: to be called before
    // calls are made from several threads.
    void SetMethodServerId(const std::string& method, const std::string& serverId);

protected:
    // The body of each dispatch thread. Last of the virtual functions.
    virtual void MainLoop() = 0;

    // The order of members is binary interface.
    std::atomic<bool> running;
    std::atomic<bool> monitor;
    std::string identity;
    int32_t methodTimeoutMs;
    int32_t threadCount;
    std::vector<std::thread> threads;
    mutable TZeltoRecursiveMutex listenerLock;
    std::set<IZeltoIpcEventListener*> listeners ZELTO_GUARDED_BY(listenerLock);
    mutable TZeltoRecursiveMutex handlerLock;
    std::unordered_map<std::string, IZeltoIpcMethodHandler*> methodHandlers ZELTO_GUARDED_BY(handlerLock);
    std::unordered_map<std::string, std::string> serverIds;

private:
    TZeltoIpc(const TZeltoIpc&) = delete;
    TZeltoIpc& operator=(const TZeltoIpc&) = delete;
};

// The transport object of the process, created on the first call and destroyed at exit; the caller does not
// own it.
ZELTO_API TZeltoIpc* getZeltoIpcInstance();

// A further, independent transport object. The caller deletes it, but not in one of its own callbacks.
ZELTO_API TZeltoIpc* newZeltoIpcInstance();

#endif
