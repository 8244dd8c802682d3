// An application that gives up its rights for those of a user and then does what it is told, a line at a
// time:
//   init IDENTITY, get NAME, set NAME VALUE, active CLIENT_ID
// It prints a line for each, and one for each change event.
#include "zelto/TZeltoApplication.h"

#include <csignal>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

#include <grp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

bool BecomeUser(const char* user) {
    const passwd* const entry = getpwnam(user);
    // A change of user also makes the kernel forget that the process is to die with its parent.
    return entry != nullptr && initgroups(user, entry->pw_gid) == 0 && setgid(entry->pw_gid) == 0 &&
           setuid(entry->pw_uid) == 0 && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0;
}

class TPrinter : public IZeltoDataModelChangeObserver {
public:
    void OnDataModelChanged(const std::string& name, const std::string& value) override {
        (void)std::printf("event %s = %s\n", name.c_str(), value.c_str());
    }
};

void Get(const std::string& name) {
    std::string value;
    const int code = TZeltoApplication::GetInstance().GetParam(name, value);
    (void)std::printf("get %d %s\n", code, value.c_str());
}

void AskIsActive(int clientId) {
    bool isActive = false;
    const int code =
        TZeltoApplication::GetInstance().IsAppActive(static_cast<tZeltoClientId>(clientId), isActive);
    (void)std::printf("active %d %s\n", code, isActive ? "yes" : "no");
}

void Do(const std::string& line) {
    std::istringstream words(line);
    std::string verb;
    std::string name;
    std::string value;
    words >> verb >> name >> value;
    TZeltoApplication& app = TZeltoApplication::GetInstance();
    if (verb == "init") {
        app.Initialize(name);
        (void)std::printf("init done\n");
    } else if (verb == "get") {
        Get(name);
    } else if (verb == "set") {
        (void)std::printf("set %d\n", app.SetParam(name, value, true));
    } else if (verb == "active") {
        AskIsActive(std::stoi(name));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 || !BecomeUser(argv[1])) {
        std::cerr << "usage: policy_application USER, as root\n";
        return 2;
    }
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
    TPrinter printer;
    TZeltoApplication::GetInstance().AddDataModelChangeObserver(&printer);
    for (std::string line; std::getline(std::cin, line);) {
        Do(line);
    }
    TZeltoApplication::GetInstance().RemoveDataModelChangeObserver(&printer);
    return 0;
}
