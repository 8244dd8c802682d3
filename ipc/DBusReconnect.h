// Getting a lost bus back, in the background.
#ifndef ZELTO_IPC_DBUS_RECONNECT_H
#define ZELTO_IPC_DBUS_RECONNECT_H

#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace zelto {

// Repeats an attempt on a thread of its own until it succeeds, at intervals from 100 ms to 5 s. Not for use
// by several threads at once; Cancel alone waits, at most 2 s.
class TReconnector {
public:
    using TAttempt = std::function<bool()>;

    TReconnector();
    ~TReconnector();
    TReconnector(const TReconnector&) = delete;
    TReconnector& operator=(const TReconnector&) = delete;

    // Starts the thread. An earlier one is to have nothing left to do: it ends by itself. Throws
    // std::system_error when the process can have no more threads.
    void Start(TAttempt attempt);
    // Whether attempts go on.
    bool IsTrying() const;
    // Somebody needs the bus now: the next attempt follows 100 ms after the last one.
    void Nudge();
    // Ends the thread. One that hangs in an attempt is left behind; its attempt is then never made again.
    void Cancel();

private:
    struct TState;
    void Release(bool isFinished);
    static void Loop(const std::shared_ptr<TState>& state, const TAttempt& attempt);

    std::shared_ptr<TState> state;
    std::thread thread;
};

} // namespace zelto

#endif
