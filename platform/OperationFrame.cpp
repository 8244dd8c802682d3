#include "platform/OperationFrame.h"

#include "platform/FunctionMap.h"
#include "utils/FixedText.h"
#include "utils/Log.h"
#include "zelto/ZeltoPlatformNames.h"

#include <iterator>
#include <stdexcept>

namespace zelto {

namespace {

struct TOperationRow {
    bool takesMark;
    bool translates;
    bool reportsMissing; // an error line of its own when nobody serves the name
};

// In the order of the request types. Instances are added, deleted and listed under the name as it was given:
// the numbers of a new or listed instance are the platform's.
constexpr TOperationRow ROWS[] = {
    {true, true, false},   // get parameter
    {true, true, false},   // set parameter
    {true, true, true},    // get object
    {true, true, true},    // set object
    {false, false, false}, // add instance
    {false, false, false}, // delete instance
    {true, false, false},  // instance ids
};

static_assert(std::size(ROWS) == ZELTO_PLT_REQUEST_TYPES, "one row for each request type");

constexpr const char OBJECT_REFERENCE[] = "Device.";

} // namespace

bool PrepareTarget(tZeltoPltRequestType type, std::string_view name, bool inPlatformNumbering,
                   TTarget& target) {
    const TOperationRow& row = ROWS[type];
    target.marked = row.takesMark && IsMarked(name);
    TNameSegments segments(name.data() + (target.marked ? 1 : 0)); // a NUL ends it
    const bool translates = row.translates && !target.marked && !inPlatformNumbering;
    if (translates && segments.HoldsTranslatedRoot()) {
        target.translated = segments.Text();
        referRequestIndexMap(target.translated);
        segments.Read(target.translated);
    }
    target.name = segments.Text();
    if (!FindHandler(type, segments, target.handler)) {
        if (row.reportsMissing) {
            qvLogging_log(LOG_LEVEL_ERROR, "\"%s descriptor not found!\"", name.data());
        }
        return false;
    }
    return TakeIndices(segments, target.indices);
}

void ToPlatformName(std::string& name, bool inPlatformNumbering) {
    const bool isMarked = stripIndexMapNegator(name) == 0;
    if (!isMarked && !inPlatformNumbering) {
        referRequestIndexMap(name);
    }
}

bool FindHandler(tZeltoPltRequestType type, const TNameSegments& name, THandler& handler) {
    const tZeltoPltFunctionTable* const entry = FindServing(type, name);
    if (entry == nullptr) {
        return false;
    }
    handler = {entry->handlers[type].handler, HandlerName(*entry), entry->paramChangeEvent};
    return true;
}

void CopyName(char (&field)[ZELTO_TEXT_SIZE], std::string_view name) {
    if (name.size() < sizeof(field)) {
        CopyTerminated(field, name);
        return;
    }
    (void)CopyWholeCharacters(field, name.data());
    qvLogging_log(LOG_LEVEL_ERROR, "\"The name %s... is cut to 255 bytes\"", field);
}

tZeltoPlatformRequest MakeRequest(TTarget& target) {
    tZeltoPlatformRequest request;
    FillWithZeros(&request, sizeof(request));
    CopyTerminated(request.name, target.handler.name);
    CopyName(request.paramName, target.name);
    request.indexCount = static_cast<int32_t>(target.indices.size());
    request.indices = IndexArray(target.indices);
    return request;
}

void TranslateValueBack(std::string& value) {
    if (value.compare(0, sizeof(OBJECT_REFERENCE) - 1, OBJECT_REFERENCE) == 0) {
        referResponseIndexMap(value);
    }
}

} // namespace zelto
