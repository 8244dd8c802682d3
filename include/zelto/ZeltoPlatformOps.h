// The platform operations: each turns one request into one call of a handler from the manager's table. The
// method dispatcher calls them for requests from the bus; the manager may call them directly, from any
// thread, but not while zeltoPlatformLibInit runs on another one.
#ifndef ZELTO_PLATFORM_OPS_H
#define ZELTO_PLATFORM_OPS_H

#include "zelto/Export.h"
#include "zelto/ZeltoPlatformLib.h"

#include <string>
#include <utility>
#include <vector>

// One element of an object request.
struct TZeltoPlatLibObject {
    std::string name;
    std::string value;                // empty in a get
    bool inPlatformNumbering = false; // the name is not translated
};

// All operations return 0 on success and -1 on failure; a failing handler's own code is only logged. Outputs
// are written on success only. A name that begins with "@" is not translated between the numberings. Adding,
// deleting and listing instances translates no name: listing removes an "@", the other two take it for a part
// of the name. An exception of a handler passes on to the caller.

// Reads one parameter. `fromWildcard`: the name is in platform numbering already, as those are which the
// dispatcher makes of a "*". It lists the instances under what stands before the "*", so the numbers there
// are the platform's, too.
ZELTO_API int zeltoPlatLibGetParam(const std::string& name, std::string& value, bool fromWildcard);

// Writes one parameter and sends "DATA_MODEL_CHANGED" when the table entry asks for it.
ZELTO_API int zeltoPlatLibSetParam(const std::string& name, const std::string& value, bool commit,
                                   bool fromWildcard);

// Reads the named parameters of an object. Appends (name, value) pairs to `result`, in the order of `names`
// and in the application's numbering: the names as they were given, those in platform numbering translated
// back. `root` must not be null.
ZELTO_API int zeltoPlatLibGetObject(const char* root, const std::vector<TZeltoPlatLibObject>& names,
                                    std::vector<std::pair<std::string, std::string>>& result);

// Writes parameters of an object and sends a change event for each element whose entry asks for it. The
// handler's record has no field for `commit`. `root` must not be null.
ZELTO_API int zeltoPlatLibSetObject(const char* root, const std::vector<TZeltoPlatLibObject>& params,
                                    bool commit);

// Adds an instance to a table; `*id` receives its number.
ZELTO_API int zeltoPlatLibAddObjectInstance(const char* obj, int* id);

// Deletes the instance that `obj` names.
ZELTO_API int zeltoPlatLibDelObjectInstance(const char* obj);

// Lists the instance numbers of a table, in platform numbering. On success `*ids` is an array of `*count`
// numbers (also for a count of 0) that the caller releases with free().
ZELTO_API int zeltoPlatLibGetObjectIds(const char* obj, int* count, int** ids);

// Finds the handler for `type` under the function-table key `paramName`, or else under "*". Whether there is
// an entry "*" is found out once, on the first lookup that needs it. Returns whether `descr` was filled; it
// is untouched otherwise. Null arguments give false.
ZELTO_API bool zeltoGetPlatformRequestDescr(tZeltoPltRequestType type, const char* paramName,
                                            tZeltoPlatformRequestDescr* descr);

// Returns 1 when both texts are non-null and equal, else 0.
ZELTO_API int compareParamName(const char* lhs, const char* rhs);

// Answers one request of the protocol as a call from the bus would be answered: returns 0 or -1. `output`
// must not be null; `*output` is set only when there is an answer text, which the caller releases with
// zeltoPlatformDealloc. May be called from any thread. A null input reads as empty. An exception of a handler
// passes on to the caller. A single value of more than 16 MiB is answered here with 0 and its text; the bus
// does not carry it, and its caller gets -1.
ZELTO_API int zeltoPlatformMethodsHandler(const char* method, const char* input, char** output);

// Releases an answer text of zeltoPlatformMethodsHandler. Null is allowed.
ZELTO_API void zeltoPlatformDealloc(void* text);

#endif
