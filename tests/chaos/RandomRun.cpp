#include "chaos/Runs.h"

#include "support/Eventually.h"
#include "support/ProcessStats.h"

#include <csignal>
#include <iostream>
#include <random>
#include <thread>

namespace chaos {

namespace {

using load::Now;
using load::NS_PER_MS;
using load::TBoard;

constexpr std::chrono::milliseconds TICK{10};
constexpr int64_t CALM_INTERVAL = 15000 * NS_PER_MS;
constexpr std::chrono::milliseconds CALM_TIME{300};
constexpr std::chrono::seconds RETURN_TIME{15}; // of descriptors and threads
constexpr std::chrono::seconds IDLE_TIME{5};
constexpr double MOST_IDLE_PERCENT = 1;
// While a party reconnects it has a probe, two connections beside two old ones, and a thread for it.
constexpr std::size_t MORE_DESCRIPTORS = 10;
constexpr std::size_t MORE_THREADS = 3;
// This application is stopped, never killed, and so lives from the beginning to the end.
constexpr std::size_t SURVIVOR = 1;

// What the seed decides. Everything is drawn in advance of what the machine makes of it.
struct TPlan {
    int64_t gapMs;
    std::size_t target;
    bool isKill;
    int64_t durationMs;
};

class TRandomRun {
public:
    TRandomRun(const TWorldOptions& options, int seconds, uint64_t seed)
        : world(options), random(seed), end(Now() + int64_t{seconds} * 1000 * NS_PER_MS) {
        findings.title = "Random kills, stops and continues for " + std::to_string(seconds) + " s";
        findings.remarks = {"Seed " + std::to_string(seed) + "; " + std::to_string(options.applications) +
                            " applications of " + std::to_string(options.threads) + " threads, time-out " +
                            std::to_string(options.timeoutSeconds) + " s."};
    }

    TFindings Run() {
        RequireWhole("at the start");
        manager = world.Resources(0);
        application = world.Resources(SURVIVOR);
        findings.TakeResources(world, "start");
        plan = Draw();
        nextAction = Now() + plan.gapMs * NS_PER_MS;
        nextCalm = Now() + CALM_INTERVAL;
        while (Now() < end && findings.violations.empty()) {
            Tick();
        }
        Calm();
        findings.TakeResources(world, "end");
        CheckIdle();
        findings.TakeCounts(world);
        const std::string unended = world.End();
        if (!unended.empty()) {
            findings.Violate(unended);
        }
        return findings;
    }

private:
    struct TPending {
        int64_t at;
        std::size_t target;
        bool isKill;
    };

    int64_t Between(int64_t least, int64_t most) {
        return least + static_cast<int64_t>(random() % static_cast<uint64_t>(most - least + 1));
    }
    TPlan Draw();
    std::string Name(std::size_t target, bool isKill) const;
    bool IsPending(std::size_t target) const;
    void Tick();
    void EndDue();
    void Begin();
    void BeginOn(std::size_t target, bool isKill);
    void EndOn(const TPending& ended);
    void Mark(const TPending& ended);
    void CollectRecoveries();
    void Sample();
    void Calm();
    void RequireWhole(const std::string& when);
    void RequireQuiet();
    void RequireBaseline();
    void CheckIdle();

    TWorld world;
    TFindings findings;
    std::mt19937_64 random;
    const int64_t end;
    TPlan plan{};
    int64_t nextAction = 0;
    int64_t nextCalm = 0;
    std::vector<TPending> pending;
    TPending marked{};
    TResources manager;
    TResources application;
    std::size_t survivorKib = 0; // after the warm-up
    unsigned calms = 0;
};

// Target 0 is the bus, the others are the parties. Kills of the survivor become stops.
TPlan TRandomRun::Draw() {
    TPlan drawn{};
    drawn.gapMs = Between(50, 1500);
    drawn.target = static_cast<std::size_t>(Between(0, static_cast<int64_t>(world.PartyCount())));
    drawn.isKill = Between(0, 1) == 0 && drawn.target != SURVIVOR + 1;
    const bool isLong = Between(0, 4) == 0; // beyond the time-outs
    drawn.durationMs = isLong ? Between(1500, 4000) : Between(10, 1000);
    return drawn;
}

std::string TRandomRun::Name(std::size_t target, bool isKill) const {
    const std::string who = target == 0 ? "the bus" : target == 1 ? "the manager" : "an application";
    return (isKill ? "kill " : "stop ") + who;
}

bool TRandomRun::IsPending(std::size_t target) const {
    for (const TPending& one : pending) {
        if (one.target == target) {
            return true;
        }
    }
    return false;
}

void TRandomRun::Tick() {
    EndDue();
    if (Now() >= nextCalm) {
        Calm();
        nextCalm = Now() + CALM_INTERVAL;
    }
    if (Now() >= nextAction) {
        Begin();
        plan = Draw();
        nextAction = Now() + plan.gapMs * NS_PER_MS;
    }
    Sample();
    std::this_thread::sleep_for(TICK);
}

void TRandomRun::Begin() {
    if (IsPending(plan.target)) {
        ++findings.actions["none: the chosen one was down"];
        return;
    }
    CollectRecoveries();
    ++findings.actions[Name(plan.target, plan.isKill)];
    BeginOn(plan.target, plan.isKill);
    pending.push_back({Now() + plan.durationMs * NS_PER_MS, plan.target, plan.isKill});
}

void TRandomRun::BeginOn(std::size_t target, bool isKill) {
    if (target == 0 && isKill) {
        world.Bus().Kill();
    } else if (target == 0) {
        world.Bus().Hang();
    } else if (isKill) {
        world.Kill(target - 1);
    } else {
        world.Process(target - 1).Signal(SIGSTOP);
    }
}

void TRandomRun::EndOn(const TPending& ended) {
    if (ended.target == 0 && ended.isKill) {
        world.Bus().Restart();
    } else if (ended.target == 0) {
        world.Bus().Resume();
    } else if (ended.isKill) {
        world.Start(ended.target - 1);
    } else {
        world.Process(ended.target - 1).Signal(SIGCONT);
    }
}

void TRandomRun::EndDue() {
    for (std::size_t i = 0; i < pending.size();) {
        if (pending[i].at > Now()) {
            ++i;
            continue;
        }
        const TPending ended = pending[i];
        pending.erase(pending.begin() + static_cast<std::ptrdiff_t>(i));
        EndOn(ended);
        Mark(ended);
    }
}

// Recovery is only told of when nothing else is down.
void TRandomRun::Mark(const TPending& ended) {
    const bool isMeasured = pending.empty();
    marked = ended;
    world.ForEachBoard([&](TBoard& board) {
        board.mark = 0;
        board.recovered = 0;
        board.mark = isMeasured ? Now() : 0;
    });
}

void TRandomRun::CollectRecoveries() {
    for (std::size_t party = 1; party < world.PartyCount(); ++party) {
        TBoard& board = world.Board(party);
        const bool isConcerned = marked.target <= 1 || marked.target == party + 1;
        const int64_t mark = board.mark.exchange(0);
        const int64_t recovered = board.recovered;
        if (isConcerned && mark != 0 && recovered >= mark) {
            findings.recoveries[Name(marked.target, marked.isKill)].push_back(
                static_cast<double>(recovered - mark) / NS_PER_MS);
        }
    }
}

void TRandomRun::Sample() {
    const std::string dead = world.FindDead();
    if (!dead.empty()) {
        findings.Violate(dead);
    }
    for (std::size_t party = 0; party < world.PartyCount(); ++party) {
        const TResources& usual = party == 0 ? manager : application;
        const TResources now = world.Resources(party);
        if (!world.IsSettled(party)) {
            continue;
        }
        if (now.threads > usual.threads + MORE_THREADS ||
            now.descriptors > usual.descriptors + MORE_DESCRIPTORS) {
            findings.Violate(world.PartyName(party) + " has " + std::to_string(now.threads) +
                             " threads and " + std::to_string(now.descriptors) + " descriptors");
        }
    }
}

// Lets everything end that is under way, and looks whether all is as it was.
void TRandomRun::Calm() {
    while (!pending.empty()) {
        EndDue();
        std::this_thread::sleep_for(TICK);
    }
    RequireWhole("in a calm");
    CollectRecoveries();
    RequireQuiet();
    RequireBaseline();
    const std::size_t residentKib = world.Resources(SURVIVOR).residentKib;
    if (++calms == 1) {
        survivorKib = residentKib;
    }
    if (MEMORY_COUNTS && residentKib > survivorKib + ALLOWED_KIB) {
        findings.Violate(world.PartyName(SURVIVOR) + " has grown to " + std::to_string(residentKib) + " KiB");
    }
}

void TRandomRun::RequireWhole(const std::string& when) {
    const std::string fault = world.WaitUntilWhole(WHOLE_TIME);
    if (!fault.empty()) {
        findings.Violate(fault + " " + when);
    }
}

void TRandomRun::RequireQuiet() {
    const auto failures = [](const TBoard& board) { return uint64_t{board.Failures()}; };
    const uint64_t before = world.Count(failures);
    std::this_thread::sleep_for(CALM_TIME);
    const uint64_t after = world.Count(failures);
    if (after != before) {
        findings.Violate(std::to_string(after - before) + " calls failed in a calm");
    }
}

void TRandomRun::RequireBaseline() {
    for (std::size_t party = 0; party < world.PartyCount(); ++party) {
        const TResources& usual = party == 0 ? manager : application;
        TResources now;
        const bool isBack = support::Eventually(
            [&] {
                now = world.Resources(party);
                return now.threads == usual.threads && now.descriptors == usual.descriptors;
            },
            RETURN_TIME);
        if (!isBack) {
            findings.Violate(world.PartyName(party) + " stays at " + std::to_string(now.threads) +
                             " threads and " + std::to_string(now.descriptors) + " descriptors instead of " +
                             std::to_string(usual.threads) + " and " + std::to_string(usual.descriptors));
        }
    }
}

void TRandomRun::CheckIdle() {
    world.ForEachBoard([](TBoard& board) { board.paused = true; });
    std::this_thread::sleep_for(std::chrono::seconds(1));
    std::vector<std::size_t> before;
    const auto processorMs = [&](std::size_t target) {
        return support::ProcessorMs(target == 0 ? world.Bus().Pid() : world.Process(target - 1).Pid());
    };
    for (std::size_t target = 0; target <= world.PartyCount(); ++target) {
        before.push_back(processorMs(target));
    }
    std::this_thread::sleep_for(IDLE_TIME);
    for (std::size_t target = 0; target <= world.PartyCount(); ++target) {
        const double usedMs = static_cast<double>(processorMs(target) - before[target]);
        const double percent =
            usedMs * 100 / static_cast<double>(std::chrono::milliseconds(IDLE_TIME).count());
        const std::string name = target == 0 ? "the bus" : world.PartyName(target - 1);
        findings.idle.push_back({name, percent});
        if (percent >= MOST_IDLE_PERCENT) {
            findings.Violate(name + " uses " + std::to_string(percent) + " % of a processor at rest");
        }
    }
}

} // namespace

TFindings RunChaos(const TWorldOptions& options, int seconds, uint64_t seed) {
    std::cerr << "chaos: " << seconds << " s with seed " << seed << std::endl;
    return TRandomRun(options, seconds, seed).Run();
}

} // namespace chaos
