// A manager whose handlers do what a test tells them and remember how they were called.
#ifndef ZELTO_TESTS_SCRIPTED_PLATFORM_H
#define ZELTO_TESTS_SCRIPTED_PLATFORM_H

#include "support/TempDir.h"
#include "zelto/ZeltoPlatformLib.h"

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace scripted {

struct TElement {
    std::string paramName;
    std::string value;
    std::vector<int> indices;
};

// One call of a handler: a copy of its record.
struct TCall {
    tZeltoPltRequestType type;
    std::string handlerName;
    std::string paramName;
    std::vector<int> indices;
    bool hasIndices = false; // the pointer is not null
    std::string value;
    bool hasLongValue = false;
    std::string longValue;
    bool commit = false;
    std::vector<TElement> elements; // of an object request
};

using TParamScript = std::function<int32_t(tZeltoPlatformRequest&)>;
using TObjectScript = std::function<int32_t(tZeltoPlatformObjectRequest&)>;

// What the handlers of a type do; PLT_SUCCESS and nothing else by default.
void Script(tZeltoPltRequestType type, TParamScript script);
void ScriptObject(tZeltoPltRequestType type, TObjectScript script);
// Back to the default, all calls forgotten.
void Reset();

// Valid until the next call of a handler.
const std::vector<TCall>& Calls();

// An entry whose scripted handlers serve the given types. The texts must outlive the program.
tZeltoPltFunctionTable Entry(const char* name, std::initializer_list<tZeltoPltRequestType> served,
                             bool paramChangeEvent = false, const char* handlerName = "scripted");
// An entry that serves everything.
tZeltoPltFunctionTable FullEntry(const char* name, bool paramChangeEvent = false);

tZeltoPltHandler HandlerOf(tZeltoPltRequestType type);

// Puts a script where start-up finds it and runs it, for the life of the object.
class THelperScript {
public:
    explicit THelperScript(const std::string& body);
    ~THelperScript();
    THelperScript(const THelperScript&) = delete;
    THelperScript& operator=(const THelperScript&) = delete;

    const support::TTempDir& Directory() const { return directory; }

private:
    support::TTempDir directory;
    std::string searchPath;
};

// Hands the entries to the library and clears the log of what it says about it.
void Install(const std::vector<tZeltoPltFunctionTable>& entries, const char* indexMapPath = nullptr);

// What handlers answer with.
void Answer(tZeltoPlatformRequest& request, const std::string& value);
void AnswerLong(tZeltoPlatformRequest& request, const std::string& value);
void AnswerNumbers(tZeltoPlatformRequest& request, const std::vector<int32_t>& numbers);

// Every table has these instances from now on.
void ReportInstances(const std::vector<int32_t>& ids);

} // namespace scripted

#endif
