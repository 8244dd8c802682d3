// hostile_application BOARD IDENTITY TIMEOUT PAUSE_US: an application of zelto-gateway that writes and reads
// a table row of its own, all the time, and checks what it reads. Ends when the board says so.

#include "load/Board.h"
#include "load/Caller.h"
#include "load/Probe.h"

#include "zelto/TZeltoApplication.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include <malloc.h>

namespace {

using namespace load;

constexpr std::chrono::milliseconds LOOK_INTERVAL{50};
constexpr const char* TABLE = "Device.NAT.PortMapping.";
// Never written.
constexpr const char* OTHER_NAME = "Device.WiFi.SSID.2.SSID";
constexpr const char* OTHER_VALUE = "Ulmet-Guest";

TZeltoApplication& App() {
    return TZeltoApplication::GetInstance();
}

class TEventCount : public IZeltoDataModelChangeObserver {
public:
    explicit TEventCount(TBoard& noted) : board(noted) {}
    void OnDataModelChanged(const std::string& /*name*/, const std::string& /*value*/) override {
        ++board.events;
    }

private:
    TBoard& board;
};

void Read(TCaller& caller, const std::string& name, const std::string& expected) {
    std::string value;
    const int code = caller.Time([&] { return App().GetParam(name, value); });
    caller.Require(code != 0 || value == expected,
                   [&] { return name + " is '" + value + "', not '" + expected + "'"; });
}

void Work(TCaller& caller, const std::string& row, std::chrono::microseconds pause) {
    std::string written;
    for (unsigned number = 0; caller.MayGoOn(); ++number) {
        const std::string value = "value " + std::to_string(number);
        if (number % 2 == 0) {
            written = caller.Time([&] { return App().SetParam(row, value, true); }) == 0 ? value : "";
        } else if (!written.empty()) {
            Read(caller, row, written);
        }
        Read(caller, OTHER_NAME, OTHER_VALUE);
        std::this_thread::sleep_for(pause);
    }
}

int Run(TBoard& board, const std::string& identity, int32_t timeoutSeconds, std::chrono::microseconds pause) {
    getZeltoIpcInstance()->Configure({1, timeoutSeconds, false});
    TEventCount events(board);
    App().AddDataModelChangeObserver(&events);
    App().Initialize(identity);
    int row = 0;
    while (!board.stopped && App().AddObject(TABLE, row) != 0) {
        std::this_thread::sleep_for(LOOK_INTERVAL); // the manager is not there yet
    }
    board.ready = true;
    {
        const TProbe probe(board);
        TCaller caller(board, probe, 0, timeoutSeconds);
        Work(caller, TABLE + std::to_string(row) + ".Description", pause);
    }
    const int code = App().RemoveObject(TABLE + std::to_string(row) + ".");
    App().RemoveDataModelChangeObserver(&events);
    return code == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        (void)std::fprintf(stderr, "usage: hostile_application BOARD IDENTITY TIMEOUT PAUSE_US\n");
        return 2;
    }
    (void)mallopt(M_MMAP_THRESHOLD, 131072); // what a very long text took goes back to the system
    const TSharedBoard board = TSharedBoard::Open(argv[1]);
    return Run(*board, argv[2], std::atoi(argv[3]), std::chrono::microseconds(std::atoi(argv[4])));
}
