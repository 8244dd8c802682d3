// What the seven platform operations have in common: the way from the name in a request to the handler.
#ifndef ZELTO_PLATFORM_OPERATION_FRAME_H
#define ZELTO_PLATFORM_OPERATION_FRAME_H

#include "platform/NameSegments.h"
#include "utils/Log.h"
#include "utils/ShortList.h"
#include "zelto/ZeltoPlatformLib.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace zelto {

// Who serves a name: what a table entry holds for one type of request.
struct THandler {
    tZeltoPltHandler call = nullptr;
    const char* name = "";
    bool paramChangeEvent = false;
};

// The name that a request works on, as the platform knows it, and who serves it.
struct TTarget {
    bool marked = false;   // the name carried the mark "@": nothing is translated in either direction
    std::string_view name; // a NUL stands behind it
    THandler handler;
    TShortList<int32_t, 16> indices;
    std::string translated; // what `name` points to when it is not a part of the requested name
};

// Rewrites the name of a request of this type, finds its handler and takes its instance numbers. A name
// `inPlatformNumbering` is not translated. A NUL ends the name, to which the target refers. Returns
// false when nobody serves it or a number is too large.
bool PrepareTarget(tZeltoPltRequestType type, std::string_view name, bool inPlatformNumbering,
                   TTarget& target);

// Removes the mark from a name, or else translates it unless it is in platform numbering already.
void ToPlatformName(std::string& name, bool inPlatformNumbering);

// Finds the handler of a name in platform numbering.
bool FindHandler(tZeltoPltRequestType type, const TNameSegments& name, THandler& handler);

// Takes the instance numbers in a name; an error line and false for one that is too large.
template <typename TNumbers>
bool TakeIndices(const TNameSegments& name, TNumbers& indices) {
    try {
        name.AppendInstanceNumbers(indices);
    } catch (const std::out_of_range&) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"An instance number in %s is too large\"", name.Text().data());
        return false;
    }
    return true;
}

// The array of instance numbers as a record shows it: null when there are none.
template <typename TNumbers>
int32_t* IndexArray(TNumbers& indices) {
    return indices.empty() ? nullptr : indices.data();
}

// The name in a record. A NUL stands behind it. One that does not fit is cut at the last whole character,
// with an error line.
void CopyName(char (&field)[ZELTO_TEXT_SIZE], std::string_view name);

// The record for the handler, zero but for names and indices. It points into the target.
tZeltoPlatformRequest MakeRequest(TTarget& target);

// A value that refers to an object of the data model comes back in application numbering.
void TranslateValueBack(std::string& value);

} // namespace zelto

#endif
