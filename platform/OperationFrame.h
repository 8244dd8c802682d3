// What the seven platform operations have in common: the way from the name in a request to the handler.
#ifndef ZELTO_PLATFORM_OPERATION_FRAME_H
#define ZELTO_PLATFORM_OPERATION_FRAME_H

#include "zelto/ZeltoPlatformLib.h"

#include <string>
#include <vector>

namespace zelto {

// The name that a request works on, as the platform knows it, and who serves it.
struct TTarget {
    bool marked = false; // the name carried the mark "@": nothing is translated in either direction
    std::string name;
    std::vector<int> indices;
    tZeltoPlatformRequestDescr descr{};
};

// Rewrites the name of a request of this type, finds its handler and takes its instance numbers. A name
// `inPlatformNumbering` is not translated. Returns false when nobody serves it or a number is too large.
bool PrepareTarget(tZeltoPltRequestType type, const std::string& name, bool inPlatformNumbering,
                   TTarget& target);

// Removes the mark from a name, or else translates it unless it is in platform numbering already. Returns
// whether the mark was there.
bool ToPlatformName(std::string& name, bool inPlatformNumbering);

// Finds the handler of a name in platform numbering.
bool FindDescriptor(tZeltoPltRequestType type, std::string name, tZeltoPlatformRequestDescr& descr);

// getIndices, with an error line and false for an instance number that is too large.
bool TakeIndices(const std::string& name, std::vector<int>& indices);

// The array of instance numbers as a record shows it: null when there are none.
int32_t* IndexArray(std::vector<int>& indices);

// The record for the handler, zero but for names and indices. It points into the target.
tZeltoPlatformRequest MakeRequest(TTarget& target);

// A value that refers to an object of the data model comes back in application numbering.
void TranslateValueBack(std::string& value);

} // namespace zelto

#endif
