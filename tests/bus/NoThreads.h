// As long as one of these is there, the process can have no more threads: there is no room for their stacks.
#ifndef ZELTO_TESTS_BUS_NO_THREADS_H
#define ZELTO_TESTS_BUS_NO_THREADS_H

#include <cstddef>
#include <limits>

#include <pthread.h>

class TNoThreads {
public:
    TNoThreads() {
        (void)pthread_getattr_default_np(&former);
        pthread_attr_t impossible;
        (void)pthread_attr_init(&impossible);
        (void)pthread_attr_setstacksize(&impossible,
                                        std::numeric_limits<std::size_t>::max() / 4 * 3 & ~0xFFFFUL);
        (void)pthread_setattr_default_np(&impossible);
        (void)pthread_attr_destroy(&impossible);
    }
    ~TNoThreads() {
        (void)pthread_setattr_default_np(&former);
        (void)pthread_attr_destroy(&former);
    }
    TNoThreads(const TNoThreads&) = delete;
    TNoThreads& operator=(const TNoThreads&) = delete;

private:
    pthread_attr_t former;
};

#endif
