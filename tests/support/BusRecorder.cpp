#include "support/BusRecorder.h"

#include <algorithm>
#include <stdexcept>

namespace support {

namespace {

constexpr const char* FENCE_INTERFACE = "test.support.Fence";

} // namespace

TBusRecorder::TBusRecorder(const std::string& address) : monitor(address), marker(address) {
    if (!monitor.BecomeMonitor()) {
        throw std::runtime_error("the bus allows no monitor");
    }
    Clear();
}

bool TBusRecorder::IsOwn(const TRawMessage& message) const {
    const auto concerns = [&](const std::string& name) {
        return message.sender == name || message.destination == name || message.Text(0) == name;
    };
    return concerns(monitor.UniqueName()) || concerns(marker.UniqueName());
}

// A signal that the monitor sees last: the bus hands messages on in the order in which it took them.
void TBusRecorder::Fence() {
    const std::string member = "Number" + std::to_string(++fences);
    marker.Signal({"", "/", FENCE_INTERFACE, member}, TRawArguments{});
    if (!monitor.WaitFor([&](const TRawMessage& message) {
            return message.interface == FENCE_INTERFACE && message.member == member;
        })) {
        throw std::runtime_error("the bus does not answer its monitor");
    }
}

std::vector<TRawMessage> TBusRecorder::Messages() {
    return Messages([](const TRawMessage&) { return true; });
}

std::vector<TRawMessage> TBusRecorder::Messages(const TRawPeer::TPredicate& predicate) {
    Fence();
    return monitor.Received(
        [&](const TRawMessage& message) { return !IsOwn(message) && predicate(message); });
}

void TBusRecorder::Clear() {
    Fence();
    monitor.ClearReceived();
}

std::optional<TRawMessage> TBusRecorder::WaitFor(const TRawPeer::TPredicate& predicate,
                                                 std::chrono::milliseconds timeout) const {
    return monitor.WaitFor(predicate, timeout);
}

} // namespace support
