// Ends the process in order: SIGTERM and SIGINT are turned into something that can be waited for.
#ifndef GATEWAY_STOP_SIGNAL_H
#define GATEWAY_STOP_SIGNAL_H

namespace gateway {

// A handler and not a blocked signal, since the helper script would inherit a mask. SIGINT is lost while that
// script runs: the C library's system() has it ignored. Throws std::runtime_error.
void CatchStopSignals();

// Waits for one of them, at most that long; a negative time is without end. Returns whether one has come.
bool WaitForStop(int milliseconds);

} // namespace gateway

#endif
