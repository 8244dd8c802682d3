// What the command's exit code tells a script.
#ifndef ZELTO_TOOL_EXIT_CODES_H
#define ZELTO_TOOL_EXIT_CODES_H

namespace tool {

enum TExitCode : int {
    EXIT_DONE = 0,
    EXIT_REFUSED = 1,         // by the manager or the peer
    EXIT_USAGE = 2,           // the command line is wrong
    EXIT_RUN_TIME = 3,        // no bus, or something that cannot be sent or written
    EXIT_NO_OWNER = 4,        // there is no manager on the bus, or no peer at the address
    EXIT_TIME_OUT = 5,        // the manager or the peer does not answer
    EXIT_NOTHING_MATCHED = 6, // a "*" stands for no instance
    EXIT_SIGNAL_BASE = 128,   // plus the number of the signal that ended the command
};

} // namespace tool

#endif
