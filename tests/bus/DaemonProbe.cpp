// Becomes a daemon as many programs do: the library is loaded and the shared transport object is made, then
// the process forks, the parent leaves, and the child begins to serve and to call. Exit code 0 when the child
// gets the answer of its own handler.

#include "zelto/TZeltoIpc.h"

#include <memory>

#include <sys/wait.h>
#include <unistd.h>

namespace {

class TEcho : public IZeltoIpcMethodHandler {
public:
    int OnMethodCall(const std::string& /*method*/, const std::string& request,
                     std::string& result) override {
        result = request;
        return 0;
    }
};

bool ServeAndCall() {
    TEcho echo;
    TZeltoIpc* const shared = getZeltoIpcInstance();
    shared->AddMethodHandler("ECHO", &echo);
    shared->Init("DAEMON");
    shared->Run();
    const std::unique_ptr<TZeltoIpc> caller(newZeltoIpcInstance());
    TZeltoIpc::TMethodSettings settings{"DAEMON", 10};
    std::string result;
    const bool isAnswered = caller->CallMethod("ECHO", "request", result, settings) == 0;
    shared->Stop();
    return isAnswered && result == "request";
}

} // namespace

int main() {
    (void)getZeltoIpcInstance(); // only made
    const pid_t child = fork();
    if (child == 0) {
        return ServeAndCall() ? 0 : 1;
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : 2;
}
