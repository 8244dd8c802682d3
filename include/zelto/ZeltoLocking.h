// A recursive POSIX mutex with the marks that clang's thread-safety analysis reads. It is exactly a
// pthread_mutex_t in memory, since the classes that hold one are binary interface. Other compilers see no
// marks.
#ifndef ZELTO_LOCKING_H
#define ZELTO_LOCKING_H

#include <pthread.h>

#if defined(__clang__)
#define ZELTO_THREAD_MARK(mark) __attribute__((mark))
#else
#define ZELTO_THREAD_MARK(mark)
#endif
#define ZELTO_GUARDED_BY(mutex) ZELTO_THREAD_MARK(guarded_by(mutex))

class ZELTO_THREAD_MARK(capability("mutex")) TZeltoRecursiveMutex {
public:
    TZeltoRecursiveMutex() {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        pthread_mutex_init(&mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    ~TZeltoRecursiveMutex() { pthread_mutex_destroy(&mutex); }
    TZeltoRecursiveMutex(const TZeltoRecursiveMutex&) = delete;
    TZeltoRecursiveMutex& operator=(const TZeltoRecursiveMutex&) = delete;

    void Lock() ZELTO_THREAD_MARK(acquire_capability()) { pthread_mutex_lock(&mutex); }
    void Unlock() ZELTO_THREAD_MARK(release_capability()) { pthread_mutex_unlock(&mutex); }

private:
    pthread_mutex_t mutex;
};

// Holds a TZeltoRecursiveMutex for the length of a scope, also when it is left by an exception.
class ZELTO_THREAD_MARK(scoped_lockable) TZeltoScopedLock {
public:
    explicit TZeltoScopedLock(TZeltoRecursiveMutex& lockedMutex)
        ZELTO_THREAD_MARK(acquire_capability(lockedMutex))
        : mutex(lockedMutex) {
        mutex.Lock();
    }
    ~TZeltoScopedLock() ZELTO_THREAD_MARK(release_capability()) { mutex.Unlock(); }
    TZeltoScopedLock(const TZeltoScopedLock&) = delete;
    TZeltoScopedLock& operator=(const TZeltoScopedLock&) = delete;

private:
    TZeltoRecursiveMutex& mutex;
};

#endif
