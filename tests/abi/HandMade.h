// What a program needs to use the library without its headers: virtual functions by slot, fields by offset.
// Functions are declared where they are called, under the names that the compiler of such a program wrote
// into it.
#ifndef ZELTO_TESTS_HAND_MADE_H
#define ZELTO_TESTS_HAND_MADE_H

#include <cstddef>
#include <cstring>

namespace handmade {

constexpr size_t POINTER = sizeof(void*);
constexpr bool NARROW = POINTER == 4;

// The offset of a field for the word size of this program.
constexpr size_t At(size_t narrow, size_t wide) {
    return NARROW ? narrow : wide;
}

// A virtual function; the first argument of TFunction is the object. A destructor takes two slots.
template <typename TFunction>
TFunction* Slot(void* object, size_t slot) {
    void** table = *static_cast<void***>(object);
    return reinterpret_cast<TFunction*>(table[slot]);
}

template <typename T>
T& Field(void* record, size_t offset) {
    return *reinterpret_cast<T*>(static_cast<char*>(record) + offset);
}

inline char* TextAt(void* record, size_t offset) {
    return static_cast<char*>(record) + offset;
}

// An object with a table of virtual functions, as a compiler would lay it out.
struct TObject {
    void** table;
};

struct TTable {
    ptrdiff_t offsetToTop = 0;
    void* typeInformation = nullptr;
    void* slots[3] = {};
};

} // namespace handmade

#endif
