#include "hostile/Scene.h"

#include "hostile/Attacks.h"

#include "support/Eventually.h"
#include "support/ProcessStats.h"

#include <csignal>
#include <stdexcept>

namespace hostile {

namespace {

using load::TBoard;
using load::THistogram;
using support::TChildProcess;

constexpr std::chrono::seconds START_TIME{30};
constexpr std::chrono::seconds END_TIME{20};
constexpr double NS_PER_US = 1000;

TChildProcess::TOptions Quietly(const support::TTempDir& directory) {
    TChildProcess::TOptions options;
    // The log of an attacked party is long and full of what the attacker sent.
    options.environment = {{"QV_LOGGING_LEVEL", "0"}};
    options.directory = directory.Path();
    return options;
}

TResources ResourcesOf(const TChildProcess& process) {
    return {support::ResidentKib(process.Pid()), support::OpenDescriptors(process.Pid()),
            support::Threads(process.Pid())};
}

} // namespace

std::vector<std::string> TScene::ServerCommand() const {
    if (cast == TCast::CONTROL) {
        return {HOSTILE_CONTROL_PATH, "serve"};
    }
    return {ZELTO_GATEWAY_PATH, "--state-dir", directory.File("state")};
}

std::vector<std::string> TScene::ClientCommand(const std::string& number, int timeoutSeconds,
                                               int pauseUs) const {
    const std::string board = directory.File("board" + number);
    if (cast == TCast::CONTROL) {
        return {HOSTILE_CONTROL_PATH, "call", board, std::to_string(pauseUs)};
    }
    return {HOSTILE_APPLICATION_PATH, board, "NEIGHBOURLY_" + number, std::to_string(timeoutSeconds),
            std::to_string(pauseUs)};
}

TScene::TScene(TCast chosenCast, int timeoutSeconds, int pauseUs) : cast(chosenCast) {
    gateway = std::make_unique<TChildProcess>(ServerCommand(), Quietly(directory));
    if (!gateway->WaitForErrors("ready", START_TIME)) {
        throw std::runtime_error("the gateway does not start: " + gateway->Errors());
    }
    for (std::size_t i = 0; i < APPLICATIONS; ++i) {
        const std::string number = std::to_string(i + 1);
        boards.push_back(load::TSharedBoard::Create(directory.File("board" + number)));
        applications[i] = std::make_unique<TChildProcess>(ClientCommand(number, timeoutSeconds, pauseUs),
                                                          Quietly(directory));
    }
    for (const load::TSharedBoard& board : boards) {
        if (!support::Eventually([&] { return board->ready && board->good > 0; }, START_TIME)) {
            throw std::runtime_error("an application does not start");
        }
    }
}

void TScene::BeginAttack(const std::string& name, TPace pace) {
    const std::string victim = cast == TCast::CONTROL ? CONTROL_NAME : MANAGER_NAME;
    neighbour =
        std::make_unique<TChildProcess>(std::vector<std::string>{HOSTILE_NEIGHBOUR_PATH, name, victim,
                                                                 pace == TPace::PACED ? "paced" : "flat-out"},
                                        Quietly(directory));
    if (!neighbour->WaitForOutput("attacking", START_TIME)) {
        throw std::runtime_error("the neighbour does not attack: " + neighbour->Errors());
    }
}

void TScene::EndAttack() {
    neighbour.reset();
}

TScene::TNoted TScene::Note() const {
    TNoted noted;
    for (const load::TSharedBoard& board : boards) {
        const THistogram::TCounts times = board->times.Counts();
        for (std::size_t i = 0; i < times.size(); ++i) {
            noted.times[i] += times[i];
        }
        noted.sums.calls += board->calls;
        noted.sums.failures += board->Failures();
        noted.sums.wrong += board->wrong;
        noted.sums.late += board->late;
    }
    return noted;
}

TSpan TScene::Watch(uint32_t calls, int timeoutSeconds) {
    const TNoted before = Note();
    std::vector<uint32_t> callsBefore;
    for (const load::TSharedBoard& board : boards) {
        callsBefore.push_back(board->calls);
    }
    (void)support::Eventually(
        [&] {
            bool isDone = true;
            for (std::size_t i = 0; i < boards.size(); ++i) {
                isDone = isDone && boards[i]->calls - callsBefore[i] >= calls;
            }
            return isDone;
        },
        std::chrono::seconds(timeoutSeconds)); // the number of calls tells
    const TNoted after = Note();
    const THistogram::TCounts times = THistogram::Difference(after.times, before.times);
    return {after.sums.calls - before.sums.calls,
            after.sums.failures - before.sums.failures,
            after.sums.wrong - before.sums.wrong,
            after.sums.late - before.sums.late,
            static_cast<double>(THistogram::Percentile(times, 0.5)) / NS_PER_US,
            static_cast<double>(THistogram::Percentile(times, 0.99)) / NS_PER_US,
            static_cast<double>(THistogram::Percentile(times, 1)) / NS_PER_US};
}

std::string TScene::FirstFault() const {
    for (const load::TSharedBoard& board : boards) {
        if (board->faultCount > 0) {
            return board->FirstFault();
        }
    }
    return "";
}

std::vector<TResources> TScene::Resources() const {
    std::vector<TResources> all = {ResourcesOf(*gateway)};
    for (const auto& application : applications) {
        all.push_back(ResourcesOf(*application));
    }
    return all;
}

std::string TScene::FindDead() const {
    if (!gateway->IsRunning()) {
        return "the gateway";
    }
    for (const auto& application : applications) {
        if (!application->IsRunning()) {
            return "an application";
        }
    }
    return "";
}

std::string TScene::End() {
    for (const load::TSharedBoard& board : boards) {
        board->stopped = true;
    }
    for (const auto& application : applications) {
        if (application->WaitForExit(END_TIME) != 0) {
            return "an application does not end well: " + application->Errors();
        }
    }
    gateway->Signal(SIGTERM);
    return gateway->WaitForExit(END_TIME) == 0 ? "" : "the gateway does not end well: " + gateway->Errors();
}

} // namespace hostile
