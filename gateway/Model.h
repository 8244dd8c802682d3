// The data model as tables: a row says how one parameter is read and written, or what one object can do. Each
// branch of the model is one file that gives its rows; the handlers (Handlers.h) are the same for all.
#ifndef GATEWAY_MODEL_H
#define GATEWAY_MODEL_H

#include "zelto/ZeltoTypes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace gateway {

// The instance numbers in a name, outer first, in the platform's numbering.
using TIndices = std::vector<int32_t>;

// Every function of a row returns a tZeltoPltReturnCode and runs with the model's lock held.

struct TParameter {
    const char* key; // "Device.WiFi.SSID.{i}.SSID"
    int32_t (*read)(const TIndices& indices, std::string& value);
    int32_t (*check)(const TIndices& indices, const std::string& value); // would `write` be accepted?
    int32_t (*write)(const TIndices& indices, const std::string& value); // null: not writable
};

// An object whose parameters can be read and written together. A null function is an operation that the
// object does not have.
struct TObject {
    const char* key; // "Device.WiFi.SSID." for a table, "Device.WiFi.SSID.{i}." for its instances
    int32_t (*listIds)(const TIndices& indices, TIndices& ids);
    int32_t (*add)(const TIndices& indices, int32_t& id);
    int32_t (*remove)(const TIndices& indices);
};

struct TBranch {
    std::vector<TParameter> parameters;
    std::vector<TObject> objects;
};

const TBranch& DeviceInfoBranch();
const TBranch& EthernetBranch();
const TBranch& WifiBranch();
const TBranch& NatBranch();

// All of them.
std::vector<const TBranch*> AllBranches();

// The row of a key, or null.
const TParameter* FindParameter(const std::string& key);
const TObject* FindObject(const std::string& key);

} // namespace gateway

#endif
