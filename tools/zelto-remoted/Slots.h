// A number of things that may exist at once.
#ifndef REMOTED_SLOTS_H
#define REMOTED_SLOTS_H

#include <atomic>
#include <cstddef>
#include <memory>

namespace remoted {

class TSlots {
public:
    explicit TSlots(std::size_t count) : left(std::make_shared<std::atomic<std::size_t>>(count)) {}

    // Null when none is left. A slot is free again when its last owner is gone; it may outlive this object.
    std::shared_ptr<void> Take() {
        std::size_t seen = left->load();
        do {
            if (seen == 0) {
                return nullptr;
            }
        } while (!left->compare_exchange_weak(seen, seen - 1));
        return std::shared_ptr<void>(left.get(), [count = left](void*) { ++*count; });
    }

private:
    std::shared_ptr<std::atomic<std::size_t>> left;
};

} // namespace remoted

#endif
