// Keeps SIGPIPE from the process while one thread writes to a connection that its peer may have closed.
#ifndef ZELTO_UTILS_SIGPIPE_MASK_H
#define ZELTO_UTILS_SIGPIPE_MASK_H

#include <csignal>
#include <ctime>

namespace zelto {

// Masks the signal on the calling thread for the length of a scope and takes away one that was raised in it.
// One that was pending before stays pending.
class TSigpipeMask {
public:
    TSigpipeMask() {
        sigset_t pending;
        ::sigpending(&pending);
        wasPending = ::sigismember(&pending, SIGPIPE) == 1;
        const sigset_t blocked = OnlySigpipe();
        ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    }
    ~TSigpipeMask() {
        if (!wasPending) {
            const sigset_t raised = OnlySigpipe();
            const timespec atOnce{};
            (void)::sigtimedwait(&raised, nullptr, &atOnce); // usually there is none
        }
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    TSigpipeMask(const TSigpipeMask&) = delete;
    TSigpipeMask& operator=(const TSigpipeMask&) = delete;

private:
    static sigset_t OnlySigpipe() {
        sigset_t set;
        ::sigemptyset(&set);
        ::sigaddset(&set, SIGPIPE);
        return set;
    }

    sigset_t before;
    bool wasPending;
};

} // namespace zelto

#endif
