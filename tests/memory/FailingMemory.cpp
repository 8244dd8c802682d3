#include "FailingMemory.h"

#include <jansson.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace memory {

namespace {

std::atomic<long> live{0};
std::atomic<bool> armed{false};
std::atomic<bool> keepsFailing{false};
std::atomic<bool> failed{false};
std::atomic<long> left{0}; // allocations before the one that fails
std::atomic<std::size_t> largest{0};
thread_local int spared = 0;
std::atomic<bool> sparesOthers{false};
thread_local bool isMeant = false; // where others are spared

bool Fails() {
    if (!armed || spared > 0 || (sparesOthers && !isMeant)) {
        return false;
    }
    const long before = left--;
    if (before > 1 || (before < 1 && !keepsFailing)) {
        return false;
    }
    failed = true;
    return true;
}

void Arm(std::size_t n, TFailure failure, bool sparing) {
    sparesOthers = sparing;
    left = static_cast<long>(n);
    keepsFailing = failure == FROM_THEN_ON;
    failed = false;
    armed = true;
}

void NoteSize(std::size_t size) {
    std::size_t known = largest;
    while (known < size && !largest.compare_exchange_weak(known, size)) {
    }
}

void* Allocate(std::size_t size) {
    NoteSize(size);
    void* const block = Fails() ? nullptr : std::malloc(size);
    live += block != nullptr ? 1 : 0;
    return block;
}

void Release(void* block) {
    live -= block != nullptr ? 1 : 0;
    std::free(block);
}

// jansson does not look whether the buffer of its tokens could grow and reads past its end; it doubles it.
bool IsTokenBuffer(std::size_t size) {
    return size > 16 && (size & (size - 1)) == 0;
}

void* AllocateForJansson(std::size_t size) {
    if (!IsTokenBuffer(size)) {
        return Allocate(size);
    }
    const TSpared own;
    return Allocate(size);
}

} // namespace

void Install() {
    json_set_alloc_funcs(AllocateForJansson, Release);
}

void FailAt(std::size_t n, TFailure failure) {
    Arm(n, failure, false);
}

void FailHereAt(std::size_t n, TFailure failure) {
    isMeant = true;
    Arm(n, failure, true);
}

bool HasFailed() {
    return failed;
}

std::size_t Largest() {
    return largest;
}

void ResetLargest() {
    largest = 0;
}

bool Stop() {
    armed = false;
    return failed;
}

long Live() {
    return live;
}

TSpared::TSpared() {
    ++spared;
}

TSpared::~TSpared() {
    --spared;
}

} // namespace memory

// The library finds these only when the program exports them.
#pragma GCC visibility push(default)

void* operator new(std::size_t size) {
    void* const block = memory::Allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return memory::Allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return memory::Allocate(size);
}

void operator delete(void* block) noexcept {
    memory::Release(block);
}

void operator delete[](void* block) noexcept {
    memory::Release(block);
}

void operator delete(void* block, std::size_t) noexcept {
    memory::Release(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    memory::Release(block);
}

// Released with free, so it does not count.
extern "C" char* strdup(const char* text) noexcept {
    const std::size_t size = std::strlen(text) + 1;
    void* const block = memory::Fails() ? nullptr : std::malloc(size);
    return block == nullptr ? nullptr : static_cast<char*>(std::memcpy(block, text, size));
}

#pragma GCC visibility pop
