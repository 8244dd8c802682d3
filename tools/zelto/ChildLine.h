// Runs a piece of work of `sh` in a process of its own, so that whatever a line does - end the process, wait
// for a bus that hangs, take a name - is over when the line is.
#ifndef ZELTO_TOOL_CHILD_LINE_H
#define ZELTO_TOOL_CHILD_LINE_H

#include "Signals.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tool {

// Runs `work` and returns the exit code. Signals that come here are passed on. `stop` is that of this
// process; the child does without.
int RunInChild(std::unique_ptr<TStopSignal>& stop, const std::function<int()>& work);

// The lines that `work` prints on standard output; without those that are not there in time.
std::vector<std::string> LinesOfChild(std::unique_ptr<TStopSignal>& stop, const std::function<int()>& work,
                                      int timeoutMs);

} // namespace tool

#endif
