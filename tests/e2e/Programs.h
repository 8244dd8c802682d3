// The programs of the project as processes of their own, and a client that has no code of the library.
#ifndef ZELTO_TESTS_E2E_PROGRAMS_H
#define ZELTO_TESTS_E2E_PROGRAMS_H

#include "support/BusEnvironment.h"
#include "support/ChildProcess.h"
#include "support/RawPeer.h"
#include "support/TempDir.h"

#include <string>
#include <vector>

namespace e2e {

constexpr char MANAGER_NAME[] = "com.Ulmet.Zelto.ZELTO_DISPATCHER";
constexpr char MANAGER_PATH[] = "/com/Ulmet/Zelto/ZELTO_DISPATCHER";
constexpr char INTERFACE[] = "com.Ulmet.Zelto.Zelto";

// Whether a process owns a name on the peer's bus; the owner of before may be dying still.
bool Owns(support::TRawPeer& peer, pid_t process, const std::string& name);

// A manager on the bus of the test program; the constructor returns when it has its name.
class TGateway {
public:
    TGateway();

    support::TChildProcess& Process() { return process; }
    support::TRawPeer& Client() { return client; }

    struct TAnswer {
        std::string signature;
        std::string text;
        int32_t code;
    };
    TAnswer Request(const std::string& method, const std::string& body);

    // The value of a parameter that must be readable.
    std::string Get(const std::string& name);
    int32_t Set(const std::string& name, const std::string& value);

private:
    support::TTempDir directory;
    support::TRawPeer client;
    support::TChildProcess process;
};

// The zelto command, run to its end on the bus of the test program.
support::TRunResult RunCommand(const std::vector<std::string>& arguments);

} // namespace e2e

#endif
