// What the command writes: results on standard output, messages on standard error.
#ifndef ZELTO_TOOL_OUTPUT_H
#define ZELTO_TOOL_OUTPUT_H

#include "Globals.h"

#include "zelto/TZeltoJsonObject.h"

#include <cstddef>
#include <string>

namespace tool {

// The text with control bytes and backslashes as C writes them, so that it takes one line.
std::string Escape(const std::string& text);

// Undoes Escape. Returns false, with `text` as it was, when a backslash begins nothing that Escape writes.
bool Unescape(const std::string& escaped, std::string& text);

// Writes "zelto: " and the message, escaped, unless messages are silenced. For errors and notices.
void PrintError(const std::string& message);
// For -q. Holds for the process until it is called again.
void SilenceMessages(bool isSilent);

// Writes all bytes to standard output. When it cannot, says so (once) and returns false.
bool WriteRaw(const char* data, size_t size);

// The results of one run of a verb, in the format that the user asked for. Each result is a line of text and
// a JSON object that tells the same in the protocol's own keys. Nothing is buffered between results.
//
//     TOutput output(globals, "PARAMS");
//     output.Add(name + "=" + value, record);
//     return output.Finish(EXIT_DONE);
//
// As text: a line for each. -J: an object on a line for each. -j: {"PARAMS": [objects]}.
class TOutput {
public:
    // `list` is the key of the objects in the -j document. It is empty for a verb that has one result: then
    // the object is the document.
    TOutput(const TGlobals& globals, const std::string& list);

    // Writes a result; `line` is escaped here. Returns false when it, or one before, cannot be written: the
    // verb may then stop.
    bool Add(const std::string& line, const TZeltoJsonObject& record);
    // The same for a result that has nothing to show as text.
    bool Add(const TZeltoJsonObject& record);

    // Completes the document; -j writes one even when there was no result and `code` is EXIT_DONE. Returns
    // `code`, or EXIT_RUN_TIME when something could not be written.
    int Finish(int code);

private:
    bool Write(const std::string& bytes);
    bool AddRecord(const TZeltoJsonObject& record);

    const TGlobals globals;
    const std::string list;
    bool hasBegun = false;
    bool hasFailed = false;
};

} // namespace tool

#endif
