// A bus, zelto-gateway, two applications at work, and a neighbour that attacks them.
#ifndef ZELTO_TESTS_HOSTILE_SCENE_H
#define ZELTO_TESTS_HOSTILE_SCENE_H

#include "load/Board.h"

#include "support/ChildProcess.h"
#include "support/PrivateBus.h"
#include "support/TempDir.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace hostile {

constexpr std::size_t APPLICATIONS = 2;

struct TResources {
    std::size_t residentKib = 0;
    std::size_t descriptors = 0;
    std::size_t threads = 0;
};

// What the applications noted in a span of time.
struct TSpan {
    uint64_t calls = 0;
    uint64_t failures = 0;
    uint64_t wrong = 0;
    uint64_t late = 0;
    double medianUs = 0;
    double p99Us = 0;
    double worstUs = 0;
};

// Who is attacked: zelto-gateway and its applications, or the like of them in libdbus alone.
enum class TCast { LIBRARY, CONTROL };

// As fast as a neighbour can, or never ahead of its victim.
enum class TPace { FLAT_OUT, PACED };

class TScene {
public:
    // Everybody is at work when it returns. Throws std::runtime_error when somebody does not get there. The
    // attacks of a neighbour are on standard output, its own standard error is dropped.
    TScene(TCast chosenCast, int timeoutSeconds, int pauseUs);

    void BeginAttack(const std::string& name, TPace pace);
    void EndAttack();

    // Waits until each application has made so many calls more, and tells of them. With a time-out in seconds
    // that ends it.
    TSpan Watch(uint32_t calls, int timeoutSeconds);
    // What the applications say is wrong, since the beginning.
    std::string FirstFault() const;

    // The gateway, then the applications.
    std::vector<TResources> Resources() const;
    // Who runs no more.
    std::string FindDead() const;
    // Tells everybody to end; who does not, or not well.
    std::string End();

private:
    using TCounts = load::THistogram::TCounts;
    struct TNoted {
        TCounts times{};
        TSpan sums;
    };
    TNoted Note() const;
    std::vector<std::string> ServerCommand() const;
    std::vector<std::string> ClientCommand(const std::string& number, int timeoutSeconds, int pauseUs) const;

    const TCast cast;

    support::TTempDir directory;
    support::TPrivateBus bus;
    std::vector<load::TSharedBoard> boards;
    std::unique_ptr<support::TChildProcess> gateway;
    std::array<std::unique_ptr<support::TChildProcess>, APPLICATIONS> applications;
    std::unique_ptr<support::TChildProcess> neighbour;
};

} // namespace hostile

#endif
