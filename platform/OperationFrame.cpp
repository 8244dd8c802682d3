#include "platform/OperationFrame.h"

#include "utils/FixedText.h"
#include "utils/Log.h"
#include "zelto/ZeltoPlatformNames.h"
#include "zelto/ZeltoPlatformOps.h"

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

bool PrepareTarget(tZeltoPltRequestType type, const std::string& name, bool inPlatformNumbering,
                   TTarget& target) {
    const TOperationRow& row = ROWS[type];
    target.name = name;
    if (row.takesMark) {
        target.marked = ToPlatformName(target.name, inPlatformNumbering || !row.translates);
    }
    if (!FindDescriptor(type, target.name, target.descr)) {
        if (row.reportsMissing) {
            qvLogging_log(LOG_LEVEL_ERROR, "\"%s descriptor not found!\"", name.c_str());
        }
        return false;
    }
    return TakeIndices(target.name, target.indices);
}

bool ToPlatformName(std::string& name, bool inPlatformNumbering) {
    if (stripIndexMapNegator(name) == 0) {
        return true;
    }
    if (!inPlatformNumbering) {
        referRequestIndexMap(name);
    }
    return false;
}

bool FindDescriptor(tZeltoPltRequestType type, std::string name, tZeltoPlatformRequestDescr& descr) {
    convertObjectToJsonName(name);
    return zeltoGetPlatformRequestDescr(type, name.c_str(), &descr);
}

bool TakeIndices(const std::string& name, std::vector<int>& indices) {
    try {
        getIndices(name.c_str(), indices);
    } catch (const std::out_of_range&) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"An instance number in %s is too large\"", name.c_str());
        return false;
    }
    return true;
}

int32_t* IndexArray(std::vector<int>& indices) {
    return indices.empty() ? nullptr : indices.data();
}

tZeltoPlatformRequest MakeRequest(TTarget& target) {
    tZeltoPlatformRequest request{};
    CopyTerminated(request.name, target.descr.name);
    CopyTerminated(request.paramName, target.name);
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
