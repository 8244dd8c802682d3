#include "chaos/World.h"

#include "support/ProcessStats.h"
#include "support/RawPeer.h"

#include <csignal>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

namespace chaos {

namespace {

using load::TBoard;
using load::TSharedBoard;
using support::TChildProcess;

// Slots are never used by two starts of a program.
constexpr int SLOTS_PER_START = 100;
constexpr int SLOTS_PER_APPLICATION = 10000000;
constexpr std::chrono::seconds START_TIME{30};
constexpr std::chrono::seconds END_TIME{20};
constexpr int64_t SETTLING_TIME = 1000 * load::NS_PER_MS;

} // namespace

TWorld::TWorld(const TWorldOptions& chosen)
    : options(chosen),
      log(open(options.logFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644)),
      parties(1 + options.applications) {
    if (!log) {
        throw std::runtime_error("cannot write " + options.logFile);
    }
    // What managers run at their start.
    (void)chmod(directory.Write("zelto_manager_helper.sh", "#!/bin/sh\n").c_str(), 0755);
    for (std::size_t party = 1; party < parties.size(); ++party) {
        const std::string path = directory.File("board" + std::to_string(party));
        parties[party].board = std::make_unique<TSharedBoard>(TSharedBoard::Create(path));
    }
    Start(0);
    if (!support::Eventually([this] { return IsRegistered(0); }, START_TIME)) {
        throw std::runtime_error("the manager does not start");
    }
    for (std::size_t party = 1; party < parties.size(); ++party) {
        Start(party);
    }
}

std::string TWorld::PartyName(std::size_t party) const {
    return party == 0 ? "ZELTO_DISPATCHER" : "CHAOS_APPLICATION_" + std::to_string(party);
}

std::vector<std::string> TWorld::Command(std::size_t party) const {
    const int starts = parties[party].starts;
    if (party == 0) {
        return {CHAOS_MANAGER_PATH, std::to_string(starts)};
    }
    const int firstSlot = static_cast<int>(party) * SLOTS_PER_APPLICATION + starts * SLOTS_PER_START;
    return {CHAOS_APPLICATION_PATH,
            directory.File("board" + std::to_string(party)),
            PartyName(party),
            std::to_string(firstSlot),
            std::to_string(options.threads),
            std::to_string(options.timeoutSeconds),
            std::to_string(options.pauseUs)};
}

void TWorld::Start(std::size_t party) {
    TParty& started = parties[party];
    ++started.starts;
    started.isKilled = false;
    started.startTime = load::Now();
    TChildProcess::TOptions child;
    child.environment = {{"PATH", directory.Path() + ":/usr/bin:/bin"}};
    child.errorDescriptor = log.Get();
    started.process = std::make_unique<TChildProcess>(Command(party), child);
}

void TWorld::Kill(std::size_t party) {
    parties[party].isKilled = true;
    parties[party].process->Kill();
}

TResources TWorld::Resources(std::size_t party) const {
    const pid_t pid = parties[party].process->Pid();
    return {support::ResidentKib(pid), support::OpenDescriptors(pid), support::Threads(pid)};
}

bool TWorld::IsSettled(std::size_t party) const {
    return load::Now() - parties[party].startTime > SETTLING_TIME;
}

void TWorld::ForEachBoard(const std::function<void(TBoard&)>& action) {
    for (std::size_t party = 1; party < parties.size(); ++party) {
        action(Board(party));
    }
}

uint64_t TWorld::Count(const std::function<uint64_t(const TBoard&)>& counter) {
    uint64_t sum = 0;
    ForEachBoard([&](const TBoard& board) { sum += counter(board); });
    return sum;
}

bool TWorld::IsRegistered(std::size_t party) {
    support::TRawPeer peer(bus.Address());
    const auto answer = peer.Call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                   "GetConnectionUnixProcessID"},
                                  support::TRawArguments{"com.Ulmet.Zelto." + PartyName(party)});
    return answer &&
           answer->arguments == support::TRawArguments{static_cast<uint32_t>(parties[party].process->Pid())};
}

std::string TWorld::FindUnwhole(int64_t since, const std::vector<uint32_t>& eventsBefore) {
    for (std::size_t party = 1; party < parties.size(); ++party) {
        const TBoard& board = Board(party);
        for (std::size_t thread = 0; thread < options.threads; ++thread) {
            if (board.lastGood[thread] < since) {
                return PartyName(party) + " makes no good calls on thread " + std::to_string(thread);
            }
        }
        if (board.events == eventsBefore[party]) {
            return PartyName(party) + " hears no events";
        }
    }
    for (std::size_t party = 0; party < parties.size(); ++party) {
        if (!IsRegistered(party)) {
            return PartyName(party) + " is not registered";
        }
    }
    return "";
}

std::string TWorld::WaitUntilWhole(std::chrono::milliseconds time) {
    const int64_t since = load::Now();
    std::vector<uint32_t> events(parties.size());
    for (std::size_t party = 1; party < parties.size(); ++party) {
        events[party] = Board(party).events;
    }
    std::string fault;
    (void)support::Eventually(
        [&] {
            fault = FindDead();
            if (fault.empty()) {
                fault = FindUnwhole(since, events);
            }
            return fault.empty();
        },
        time); // the fault tells
    return fault;
}

std::string TWorld::FindDead() const {
    for (std::size_t party = 0; party < parties.size(); ++party) {
        if (!parties[party].isKilled && !parties[party].process->IsRunning()) {
            const auto code = parties[party].process->WaitForExit();
            return PartyName(party) + " has ended by itself with " + std::to_string(code.value_or(-1));
        }
    }
    return "";
}

std::string TWorld::End() {
    ForEachBoard([](TBoard& board) { board.stopped = true; });
    parties[0].process->CloseInput();
    for (std::size_t party = 0; party < parties.size(); ++party) {
        if (parties[party].process->WaitForExit(END_TIME) != 0) {
            return PartyName(party) + " does not end well";
        }
    }
    return "";
}

} // namespace chaos
