// A list that is nearly always short: up to N elements lie in the list itself, more of them on the heap.
#ifndef ZELTO_UTILS_SHORT_LIST_H
#define ZELTO_UTILS_SHORT_LIST_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace zelto {

template <typename T, std::size_t N>
class TShortList {
    static_assert(std::is_trivial_v<T>, "elements are copied as memory is");

public:
    TShortList() {} // leaves the elements as they are: there are none yet
    TShortList(const TShortList&) = delete;
    TShortList& operator=(const TShortList&) = delete;

    void push_back(T element) { *Extend(1) = element; }
    void append(const T* elements, std::size_t more) { std::copy_n(elements, more, Extend(more)); }
    void clear() { count = 0; }

    T* data() { return items; }
    std::size_t size() const { return count; }
    bool empty() const { return count == 0; }
    const T* begin() const { return items; }
    const T* end() const { return items + count; }

private:
    // Room for so many more elements, which count from now on.
    T* Extend(std::size_t more) {
        if (capacity - count < more) {
            Grow(count + more);
        }
        count += more;
        return items + count - more;
    }

    void Grow(std::size_t needed) {
        const std::size_t size = std::max(needed, 2 * capacity);
        std::unique_ptr<T[]> larger(new T[size]);
        std::copy_n(items, count, larger.get());
        heap = std::move(larger);
        items = heap.get();
        capacity = size;
    }

    T own[N];
    std::unique_ptr<T[]> heap;
    T* items = own;
    std::size_t count = 0;
    std::size_t capacity = N;
};

} // namespace zelto

#endif
