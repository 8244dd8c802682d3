// A bus, a manager and applications under load, each a process of its own that can be killed and stopped.
#ifndef ZELTO_TESTS_CHAOS_WORLD_H
#define ZELTO_TESTS_CHAOS_WORLD_H

#include "load/Board.h"

#include "support/ChildProcess.h"
#include "support/PrivateBus.h"
#include "support/TempDir.h"
#include "utils/UniqueFd.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace chaos {

struct TWorldOptions {
    std::size_t applications = 3;
    std::size_t threads = 3; // of each application
    int timeoutSeconds = 2;  // of each call
    int pauseUs = 1000;      // between two calls of a thread
    std::string logFile = "/dev/null";
};

// What the kernel says about a process.
struct TResources {
    std::size_t residentKib = 0;
    std::size_t descriptors = 0;
    std::size_t threads = 0;
};

class TWorld {
public:
    // Everybody is started; only the manager is waited for.
    explicit TWorld(const TWorldOptions& chosen);

    support::TPrivateBus& Bus() { return bus; }

    // Party 0 is the manager, the others are applications.
    std::size_t PartyCount() const { return parties.size(); }
    std::string PartyName(std::size_t party) const;
    support::TChildProcess& Process(std::size_t party) { return *parties[party].process; }
    load::TBoard& Board(std::size_t party) { return **parties[party].board; } // not of the manager
    void Start(std::size_t party);
    void Kill(std::size_t party);
    TResources Resources(std::size_t party) const;
    // Its start is a while ago: it does not hold any more what a process has between fork and exec.
    bool IsSettled(std::size_t party) const;

    void ForEachBoard(const std::function<void(load::TBoard&)>& action);
    // The sum over all applications.
    uint64_t Count(const std::function<uint64_t(const load::TBoard&)>& counter);

    // Who is not as it should be: a party that is not on the bus under its name, makes no good calls on one
    // of its threads, hears no events, or runs no more. Empty when all is well within the time.
    std::string WaitUntilWhole(std::chrono::milliseconds time);
    // A party that has ended and was not killed.
    std::string FindDead() const;
    // Tells everybody to end; who does not, or not well.
    std::string End();

private:
    struct TParty {
        std::unique_ptr<load::TSharedBoard> board;
        std::unique_ptr<support::TChildProcess> process;
        int starts = 0;
        int64_t startTime = 0;
        bool isKilled = false;
    };
    std::vector<std::string> Command(std::size_t party) const;
    std::string FindUnwhole(int64_t since, const std::vector<uint32_t>& eventsBefore);
    bool IsRegistered(std::size_t party);

    TWorldOptions options;
    support::TTempDir directory;
    support::TPrivateBus bus;
    zelto::TUniqueFd log;
    std::vector<TParty> parties;
};

} // namespace chaos

#endif
