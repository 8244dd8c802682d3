// What an object request works on.
#ifndef ZELTO_PLATFORM_OBJECT_ELEMENTS_H
#define ZELTO_PLATFORM_OBJECT_ELEMENTS_H

#include "protocol/MessageBody.h"
#include "protocol/RequestNames.h"
#include "zelto/ZeltoPlatformOps.h"

#include <vector>

namespace zelto {

// Takes the elements of an object request, wildcards expanded in place; only those of a set have values.
// Returns false when one of them expands to nothing, and, with an error line, when a text of them all would
// be too long to be sent: a get could not be answered, and both would take hundreds of bytes for each.
bool ReadElements(TRequestMethod method, const TMessageBody& request,
                  std::vector<TZeltoPlatLibObject>& elements);

} // namespace zelto

#endif
