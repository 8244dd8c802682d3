// Pieces that the bodies of parameter and object requests have in common.
#ifndef ZELTO_APP_REQUEST_BODIES_H
#define ZELTO_APP_REQUEST_BODIES_H

#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoJsonObject.h"

#include <string>
#include <vector>

namespace zelto {

// Sets "NAME". Throws std::runtime_error when the name is not UTF-8.
void SetName(TZeltoJsonObject& body, const std::string& name);

// Sets "NAME", "VALUE" and "COMMIT". Throws std::runtime_error naming the parameter when a text is not UTF-8.
void SetAssignment(TZeltoJsonObject& body, const std::string& name, const std::string& value, bool commit);

// Sets "PARAMS" to one name entry for each parameter, or to null when there are none.
void SetNames(TZeltoJsonObject& body, const std::vector<TZeltoApplication::TZeltoAppParam>& params);

} // namespace zelto

#endif
