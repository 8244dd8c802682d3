// Returns from main while an event is being handed on and others wait: by an "observer" of the application,
// or by a "listener" of the transport, as the argument says. What is told of the event next must still be
// there. The exit code is 77 when nothing would be told next.

#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoIpc.h"
#include "zelto/ZeltoAppLib.h"

#include <atomic>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include <unistd.h>

namespace {

constexpr const char* EVENT = "DATA_MODEL_CHANGED";

std::promise<void>& isBusy = *new std::promise<void>; // lives as long as the process
std::atomic<bool> wasBusy{false};
std::atomic<bool> isExiting{false};

void StayUntilTheExitIsUnderWay() {
    if (wasBusy.exchange(true)) {
        return;
    }
    isBusy.set_value();
    while (!isExiting) {
        std::this_thread::yield();
    }
    // Long enough for destructors that do not wait.
    for (int turn = 0; turn < 10000; ++turn) {
        std::this_thread::yield();
    }
}

class TSlow : public IZeltoDataModelChangeObserver, public IZeltoIpcEventListener {
public:
    void OnDataModelChanged(const std::string& /*name*/, const std::string& /*value*/) override {
        StayUntilTheExitIsUnderWay();
    }
    void OnEvent(const std::string& eventName, const std::string& /*eventData*/) override {
        if (eventName == EVENT) {
            StayUntilTheExitIsUnderWay();
        }
    }
};

constexpr int EXIT_UNTESTED = 77;

// Never destroyed. Here it has a lower address than what the library registers, and so is told first.
alignas(TSlow) unsigned char storage[sizeof(TSlow)];

// What the library registers is its static object or on the heap.
bool IsToldFirst() {
    const std::less<const void*> isBelow{};
    const auto onHeap = std::make_unique<char>();
    return isBelow(storage, onHeap.get()) && isBelow(storage, &TZeltoApplication::GetInstance());
}

} // namespace

int main(int /*argc*/, char** argv) {
    (void)alarm(50); // it must not hang for ever
    if (!IsToldFirst()) {
        return EXIT_UNTESTED;
    }
    (void)std::atexit([] { isExiting = true; });
    zeltoAppLibInitWithString("EXITING");
    zeltoAppLibSubscribe(nullptr, [](const char*, const char*) {});
    auto* const slow = new (storage) TSlow;
    if (argv[1] == std::string("observer")) {
        TZeltoApplication::GetInstance().AddDataModelChangeObserver(slow);
    } else {
        getZeltoIpcInstance()->AddEventLstener("", slow);
    }
    for (int event = 0; event < 200; ++event) {
        getZeltoIpcInstance()->SendEvent(EVENT, R"({"DATA_MODEL_NAME": "A", "DATA_MODEL_VALUE": "B"})");
    }
    isBusy.get_future().wait();
    return 0;
}
