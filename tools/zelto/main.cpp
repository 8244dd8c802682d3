// zelto: reads, writes and watches the data model of a gateway from the command line.

#include "CommandLine.h"
#include "Signals.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

// A standard stream that is closed would hand its number to the connection to the bus, which would then get
// what is printed. What takes its place can neither be read nor written.
void OccupyStandardStreams() {
    int fd = 0;
    do {
        fd = open("/dev/null", O_PATH);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    (void)close(fd);
}

} // namespace

int main(int argc, char** argv) {
    OccupyStandardStreams();
    tool::PrepareSignals();
    return tool::RunLine(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc), tool::TGlobals());
}
