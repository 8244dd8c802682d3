// Where `sh` gets its lines from: a line editor on a terminal, plain bytes otherwise.
#ifndef ZELTO_TOOL_LINE_READER_H
#define ZELTO_TOOL_LINE_READER_H

#include "Signals.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tool {

class ILineReader {
public:
    enum TOutcome {
        LINE,
        END,    // of the input
        STOPPED // by a signal
    };

    virtual ~ILineReader() = default;
    // The line comes without its end.
    virtual TOutcome Read(const TStopSignal& stop, std::string& line) = 0;
};

// Takes no byte behind the end of a line, so that a verb can read on from there. The prompt goes to standard
// error and may be empty.
std::unique_ptr<ILineReader> NewPlainReader(const std::string& prompt);

// Gives the words that may stand in place of the last one of the line.
using TCompleter = std::function<std::vector<std::string>(const std::string& lineSoFar)>;

// With history, for the time of the session, and completion with the tabulator. Null when the command was
// built without a line editor.
std::unique_ptr<ILineReader> NewLineEditor(const std::string& prompt, const TCompleter& complete);

} // namespace tool

#endif
