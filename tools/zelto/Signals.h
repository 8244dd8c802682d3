// How SIGINT and SIGTERM end the command: with 128 and their number as the exit code, in a terminal and
// without.
#ifndef ZELTO_TOOL_SIGNALS_H
#define ZELTO_TOOL_SIGNALS_H

namespace tool {

// From now on the signals end the process at once, unless a TStopSignal is there. A reader of the output that
// has gone away makes writing fail instead of ending the process.
void PrepareSignals();

// While it lives, the signals are only noted. One at a time.
class TStopSignal {
public:
    TStopSignal();
    ~TStopSignal();
    TStopSignal(const TStopSignal&) = delete;
    TStopSignal& operator=(const TStopSignal&) = delete;

    // Ends the wait as a signal does, but leaves the exit code. Any thread.
    void End();
    // Readable once a signal has come or End was called, and for good.
    int Fd() const;
    // EXIT_SIGNAL_BASE and the number of the signal; 0 while there was none.
    int ExitCode() const;
    // Waits for a signal at most so long; a negative time has no end. Returns whether Fd is readable.
    bool WaitFor(int milliseconds) const;
};

} // namespace tool

#endif
