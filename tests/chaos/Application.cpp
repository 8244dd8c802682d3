// chaos_application BOARD IDENTITY FIRST_SLOT THREADS TIMEOUT PAUSE_US: asks chaos_manager all the time and
// checks every answer and every event. Ends when the board says so.

#include "load/Board.h"
#include "load/Caller.h"
#include "load/Probe.h"

#include "zelto/TZeltoApplication.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace load;

constexpr const char* UNTOUCHED = "untouched";
constexpr std::chrono::milliseconds LOOK_INTERVAL{50};
constexpr int32_t MAX_ECHO = 1000000000;
constexpr int BATCH_SIZE = 5;

std::string EchoName(int32_t number) {
    return "Device.Load.Echo." + std::to_string(number) + ".Text";
}

std::string EchoValue(int32_t number) {
    return "echo " + std::to_string(number);
}

std::string SlotName(int32_t slot) {
    return "Device.Load.Slot." + std::to_string(slot) + ".Value";
}

// Every change of a slot is a higher number, and comes once.
class TChangeCheck : public IZeltoDataModelChangeObserver {
public:
    explicit TChangeCheck(TBoard& noted) : board(noted) {}

    void OnDataModelChanged(const std::string& name, const std::string& value) override {
        std::istringstream text(value);
        int32_t slot = 0;
        long number = 0;
        if (!(text >> slot >> number) || name != SlotName(slot) || number <= last[slot]) {
            ++board.wrong;
            board.Fault("the event '" + name + "' '" + value + "' after " + std::to_string(last[slot]));
        }
        last[slot] = number;
        ++board.events;
    }

private:
    TBoard& board;
    std::map<int32_t, long> last; // only used on the one dispatch thread
};

// A slot that nobody else writes.
class TSlot {
public:
    TSlot(TCaller& caller, int32_t number) : calls(caller), slot(number) {}

    void Write() {
        ++attempted;
        const std::string value = std::to_string(slot) + " " + std::to_string(attempted);
        if (calls.Time([&] { return App().SetParam(SlotName(slot), value, true); }) == 0) {
            applied = attempted;
        }
    }

    void Read() {
        std::string value = UNTOUCHED;
        if (calls.Time([&] { return App().GetParam(SlotName(slot), value); }) == 0) {
            calls.Require(Check(value), [&] {
                return "slot " + std::to_string(slot) + " is '" + value + "', applied " +
                       std::to_string(applied) + ", attempted " + std::to_string(attempted) +
                       ", generation " + std::to_string(generation);
            });
        } else {
            calls.Require(value == UNTOUCHED, [&] { return "a failed read gave '" + value + "'"; });
        }
    }

private:
    static TZeltoApplication& App() { return TZeltoApplication::GetInstance(); }

    // A write that failed may have been applied, then or later, but in order. A new manager knows none.
    bool Check(const std::string& value) {
        std::istringstream text(value);
        long from = 0;
        int32_t owner = slot;
        long number = 0;
        if (!(text >> from)) {
            return false;
        }
        if (!text.eof() && !(text >> owner >> number)) {
            return false;
        }
        const bool isNew = from > generation;
        const bool holds =
            owner == slot && from >= generation && number <= attempted && (isNew || number >= applied);
        generation = from;
        applied = number;
        return holds;
    }

    TCaller& calls;
    const int32_t slot;
    long attempted = 0;
    long applied = 0;
    long generation = 0;
};

void ReadEcho(TCaller& caller, int32_t number) {
    std::string value = UNTOUCHED;
    const int code =
        caller.Time([&] { return TZeltoApplication::GetInstance().GetParam(EchoName(number), value); });
    caller.Require(value == (code == 0 ? EchoValue(number) : UNTOUCHED),
                   [&] { return EchoName(number) + " is '" + value + "', code " + std::to_string(code); });
}

void ReadBatch(TCaller& caller, int32_t first) {
    std::vector<TZeltoApplication::TZeltoAppParam> params;
    for (int32_t i = 0; i < BATCH_SIZE; ++i) {
        params.push_back({EchoName(first + i), ""});
    }
    if (caller.Time([&] { return TZeltoApplication::GetInstance().GetParamArray(params); }) != 0) {
        return;
    }
    bool holds = params.size() == BATCH_SIZE;
    for (int32_t i = 0; holds && i < BATCH_SIZE; ++i) {
        const auto& param = params[static_cast<std::size_t>(i)];
        holds = param.name == EchoName(first + i) && param.value == EchoValue(first + i);
    }
    caller.Require(holds, [&] { return "a batch from " + EchoName(first) + " is something else"; });
}

struct TOptions {
    std::string identity;
    int32_t firstSlot;
    std::size_t threads;
    int32_t timeoutSeconds;
    std::chrono::microseconds pause;
};

void Work(TBoard& board, const TProbe& probe, const TOptions& options, std::size_t index) {
    TCaller caller(board, probe, index, options.timeoutSeconds);
    const int32_t slotNumber = options.firstSlot + static_cast<int32_t>(index);
    TSlot slot(caller, slotNumber);
    std::minstd_rand random(static_cast<unsigned>(slotNumber));
    for (unsigned turn = 0; caller.MayGoOn(); ++turn) {
        const auto number = static_cast<int32_t>(random() % MAX_ECHO);
        switch (turn % 4) {
        case 0:
            ReadEcho(caller, number);
            break;
        case 1:
            slot.Write();
            break;
        case 2:
            slot.Read();
            break;
        default:
            ReadBatch(caller, number);
        }
        if (options.pause.count() > 0) {
            std::this_thread::sleep_for(options.pause);
        }
    }
}

// Whether the application is on the bus now. There may be no bus yet.
bool Initialize(const std::string& identity) {
    TZeltoApplication::GetInstance().Initialize(identity);
    std::string server;
    getZeltoIpcInstance()->GetMethodServerId("*", server);
    return !server.empty();
}

void Run(TBoard& board, const TOptions& options) {
    getZeltoIpcInstance()->Configure({1, options.timeoutSeconds, false});
    TChangeCheck changes(board);
    TZeltoApplication::GetInstance().AddDataModelChangeObserver(&changes);
    while (!board.stopped && !Initialize(options.identity)) {
        std::this_thread::sleep_for(LOOK_INTERVAL);
    }
    board.ready = true;
    {
        const TProbe probe(board);
        std::vector<std::thread> threads;
        for (std::size_t index = 0; index < options.threads; ++index) {
            threads.emplace_back([&, index] { Work(board, probe, options, index); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    TZeltoApplication::GetInstance().RemoveDataModelChangeObserver(&changes);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 7) {
        (void)std::fprintf(stderr,
                           "usage: chaos_application BOARD IDENTITY FIRST_SLOT THREADS TIMEOUT PAUSE_US\n");
        return 2;
    }
    const TSharedBoard board = TSharedBoard::Open(argv[1]);
    Run(*board, {argv[2], std::atoi(argv[3]), static_cast<std::size_t>(std::atoi(argv[4])),
                 std::atoi(argv[5]), std::chrono::microseconds(std::atoi(argv[6]))});
    return 0;
}
