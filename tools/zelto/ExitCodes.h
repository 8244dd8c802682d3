// What the command's exit code tells a script. It is the same with and without a terminal.
#ifndef ZELTO_TOOL_EXIT_CODES_H
#define ZELTO_TOOL_EXIT_CODES_H

namespace tool {

enum TExitCode : int {
    EXIT_DONE = 0,
    EXIT_REFUSED = 1,         // by the manager or the peer
    EXIT_USAGE = 2,           // the command line, or a file that it names, is wrong
    EXIT_RUN_TIME = 3,        // no bus, or something that cannot be sent, read or written
    EXIT_NO_OWNER = 4,        // nobody has the addressed identity, or there is no peer at the address
    EXIT_TIME_OUT = 5,        // no answer, or not what was waited for, in time
    EXIT_NOTHING_MATCHED = 6, // a "*" stands for no instance
    EXIT_PARTLY_DONE = 7,     // some done and some not; messages name them
    EXIT_DENIED = 8,          // by the policy of the bus
    EXIT_SIGNAL_BASE = 128,   // plus the number of the signal that ended the command
};

} // namespace tool

#endif
