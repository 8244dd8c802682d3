// doctor: how near the bus is to its limits.

#include "Doctor.h"
#include "ExitCodes.h"
#include "Parties.h"

#include <map>

namespace tool {

namespace {

// What the bus allows when its configuration says nothing else. It does not tell.
constexpr uint32_t MOST_CONNECTIONS = 2048;
constexpr uint32_t MOST_CONNECTIONS_OF_USER = 256;
constexpr uint32_t MOST_NAMES_OF_CONNECTION = 512;
constexpr uint32_t MOST_RULES_OF_CONNECTION = 512;
constexpr uint32_t NEAR_PERCENT = 80;

struct TUse {
    std::string what;
    std::string limit; // its name in the bus's configuration
    uint32_t used;
    uint32_t most;
};

bool IsNear(const TUse& use) {
    return use.used * 100 >= use.most * NEAR_PERCENT;
}

TFinding Judge(const std::string& check, const std::vector<TUse>& uses) {
    TFinding finding{check, TFinding::FINE, ""};
    for (const TUse& use : uses) {
        finding.text += (finding.text.empty() ? "" : ", ") + std::to_string(use.used) + " of " +
                        std::to_string(use.most) + " " + use.what;
        if (IsNear(use)) {
            finding.state = TFinding::WARNING;
            finding.advice += (finding.advice.empty() ? "raise " : ", ") + use.limit;
        }
    }
    finding.text += " (stock limits)";
    finding.advice += finding.advice.empty() ? "" : " in the configuration of the bus";
    return finding;
}

// Connections by user. The bus counts them like this; a party has two.
std::map<uint32_t, uint32_t> CountByUser(TBus& bus) {
    std::map<uint32_t, uint32_t> counts;
    for (const std::string& name : bus.Names()) {
        if (name[0] != ':') {
            continue;
        }
        try {
            ++counts[FirstNumber(bus.Ask("GetConnectionUnixUser", {name}).get())];
        } catch (const TBusFailure& failure) {
            if (failure.ExitCode() != EXIT_NO_OWNER) {
                throw;
            } // it has left since the names were listed
        }
    }
    return counts;
}

// The answer of the bus is a dictionary of variants; those that are 32-bit numbers.
std::map<std::string, uint32_t> ReadNumbers(DBusMessage* reply) {
    std::map<std::string, uint32_t> numbers;
    DBusMessageIter at;
    DBusMessageIter entry;
    if (!dbus_message_has_signature(reply, "a{sv}") || !dbus_message_iter_init(reply, &at)) {
        return numbers;
    }
    dbus_message_iter_recurse(&at, &entry);
    for (; dbus_message_iter_get_arg_type(&entry) == DBUS_TYPE_DICT_ENTRY; dbus_message_iter_next(&entry)) {
        DBusMessageIter field;
        DBusMessageIter value;
        const char* key = nullptr;
        dbus_message_iter_recurse(&entry, &field);
        dbus_message_iter_get_basic(&field, &key);
        (void)dbus_message_iter_next(&field); // the signature says that it is there
        dbus_message_iter_recurse(&field, &value);
        if (dbus_message_iter_get_arg_type(&value) == DBUS_TYPE_UINT32) {
            dbus_message_iter_get_basic(&value, &numbers[key]);
        }
    }
    return numbers;
}

} // namespace

TFinding CheckConnections(TBus& bus) {
    std::map<uint32_t, uint32_t> counts = CountByUser(bus);
    uint32_t all = 0;
    std::vector<TUse> uses;
    for (const auto& [user, count] : counts) {
        all += count;
        uses.push_back(
            {"of user " + UserName(user), "max_connections_per_user", count, MOST_CONNECTIONS_OF_USER});
    }
    uses.insert(uses.begin(), {"connections", "max_completed_connections", all, MOST_CONNECTIONS});
    return Judge("connections", uses);
}

TFinding CheckStatistics(TBus& bus) {
    TMessage call = NewBusCall("org.freedesktop.DBus.Debug.Stats", "GetStats");
    std::map<std::string, uint32_t> numbers;
    try {
        TMessage reply = bus.Call(call.get());
        numbers = ReadNumbers(reply.get());
    } catch (const TBusFailure& failure) {
        return {"statistics", TFinding::UNKNOWN,
                std::string("the bus does not tell its names and match rules: ") + failure.what(),
                failure.ExitCode() == EXIT_DENIED ? "ask as root" : ""};
    }
    return Judge("statistics", {{"names of one connection", "max_names_per_connection",
                                 numbers["PeakBusNamesPerConnection"], MOST_NAMES_OF_CONNECTION},
                                {"match rules of one connection", "max_match_rules_per_connection",
                                 numbers["PeakMatchRulesPerConnection"], MOST_RULES_OF_CONNECTION}});
}

} // namespace tool
