#include "Parties.h"

#include "ExitCodes.h"

#include <algorithm>
#include <fstream>

#include <pwd.h>

namespace tool {

std::string UserName(uint32_t user) {
    const passwd* entry = getpwuid(user);
    return entry == nullptr ? std::to_string(user) : entry->pw_name;
}

std::string ProcessName(uint32_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    (void)std::getline(file, name); // stays empty when there is no such process
    return name;
}

TParty FindParty(TBus& bus, const std::string& identity) {
    TParty party;
    party.identity = identity;
    party.uniqueName = bus.OwnerOf(NAME_PREFIX + identity);
    if (party.uniqueName.empty()) {
        throw TBusFailure("nobody on the bus is " + identity, EXIT_NO_OWNER);
    }
    party.process = FirstNumber(bus.Ask("GetConnectionUnixProcessID", {party.uniqueName}).get());
    party.processName = ProcessName(party.process);
    party.user = UserName(FirstNumber(bus.Ask("GetConnectionUnixUser", {party.uniqueName}).get()));
    return party;
}

std::vector<TParty> FindParties(TBus& bus) {
    std::vector<std::string> names = bus.Names();
    std::sort(names.begin(), names.end());
    std::vector<TParty> parties;
    for (const std::string& name : names) {
        if (!IsParty(name)) {
            continue;
        }
        try {
            parties.push_back(FindParty(bus, IdentityOf(name)));
        } catch (const TBusFailure& failure) {
            if (failure.ExitCode() != EXIT_NO_OWNER) {
                throw;
            } // it has left since the names were listed
        }
    }
    return parties;
}

std::string LineOf(const TParty& party) {
    return party.identity + " " + std::to_string(party.process) + " " + party.user + " " + party.uniqueName +
           " " + party.processName;
}

TZeltoJsonObject RecordOf(const TParty& party) {
    TZeltoJsonObject record;
    (void)record.SetJsonObject("IDENTITY", record.ToJson(party.identity));
    (void)record.SetJsonObject("PID", record.ToJson(party.process));
    (void)record.SetJsonObject("USER", record.ToJson(party.user));
    (void)record.SetJsonObject("UNIQUE_NAME", record.ToJson(party.uniqueName));
    (void)record.SetJsonObject("PROCESS", record.ToJson(party.processName));
    return record;
}

} // namespace tool
