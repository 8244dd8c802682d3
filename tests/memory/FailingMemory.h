// Memory that runs out when a test says so: the program's operator new, strdup and jansson's allocations.
// What libdbus allocates is not touched; it is known to cope, and says so by what its functions return.
#ifndef ZELTO_TESTS_FAILING_MEMORY_H
#define ZELTO_TESTS_FAILING_MEMORY_H

#include <cstddef>

namespace memory {

enum TFailure {
    ONCE,        // the one allocation fails
    FROM_THEN_ON // so do all after it
};

// Lets jansson allocate here. To be called before it is used.
void Install();

// From now on the n-th allocation of any thread (from 1) fails.
void FailAt(std::size_t n, TFailure failure);
// The same for allocations of the current thread only.
void FailHereAt(std::size_t n, TFailure failure);
bool HasFailed();
// The largest number of bytes that one allocation of operator new or jansson has asked for since it was
// reset.
std::size_t Largest();
void ResetLargest();
// Nothing fails any more. Returns whether something has.
bool Stop();
// Blocks that are allocated and not released, of all threads.
long Live();

// The test's own doing, on the thread that has one of these: its allocations never fail.
class TSpared {
public:
    TSpared();
    ~TSpared();
    TSpared(const TSpared&) = delete;
    TSpared& operator=(const TSpared&) = delete;
};

} // namespace memory

#endif
