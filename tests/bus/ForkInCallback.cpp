// Forks in an event callback of the C interface, which is called with the locks of all that lies between it
// and the bus held. Exit code 0 when the child can leave by exit.

#include "zelto/TZeltoIpc.h"
#include "zelto/ZeltoAppLib.h"

#include <cstdlib>
#include <future>

#include <sys/wait.h>
#include <unistd.h>

namespace {

std::promise<int> childStatus;

void ForkAndWait(const char* /*name*/, const char* /*value*/) {
    const pid_t child = fork();
    if (child == 0) {
        (void)alarm(10); // it must not hang for ever
        std::exit(0);
    }
    int status = -1;
    (void)waitpid(child, &status, 0);
    childStatus.set_value(status);
}

} // namespace

// What the child's thread holds, it holds on a stack of the parent.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "detect_leaks=0";
}

int main() {
    zeltoAppLibInitWithString("FORKING");
    zeltoAppLibSubscribe(nullptr, ForkAndWait);
    getZeltoIpcInstance()->SendEvent("DATA_MODEL_CHANGED",
                                     R"({"DATA_MODEL_NAME": "A", "DATA_MODEL_VALUE": "B"})");
    return childStatus.get_future().get() == 0 ? 0 : 1;
}
