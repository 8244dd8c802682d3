// Feeds events to the application side, and sends events of random records from the platform side to it.
//
// Input: event, record type, payload; the payload is also the record. An event reaches exactly the observers
// and the C callback that it is for, with the texts that jansson reads in it; what the platform side sends is
// well-formed and arrives as it was sent.
#include "FuzzInput.h"
#include "ScriptedIpc.h"

#include "utils/FixedText.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/ZeltoAppLib.h"
#include "zelto/ZeltoPlatformLib.h"

#include <iterator>
#include <vector>

namespace {

using fuzz::Require;
using TTexts = std::vector<std::string>;

constexpr const char* EVENTS[] = {
    "CLIENT_CONNECTED",      "CLIENT_RECONNECTED",     "CLIENT_DISCONNECTED",
    "CLIENT_UNAUTH_ATTEMPT", "CLIENT_BLOCKED_ATTEMPT", "DATA_MODEL_CHANGED",
    "APP_CONNECTED",         "APP_DISCONNECTED",       "NameAcquired",
};
constexpr std::size_t CHANGE = 5;

// What the observers heard, and what the C callbacks heard; presence events have no callback.
TTexts observed;
TTexts calledBack;

class TObserver : public IZeltoCpeClientStateObserver,
                  public IZeltoDataModelChangeObserver,
                  public IZeltoAppStateObserver {
    void OnCpeClientStateChanged(TZeltoCpeClientState state, const std::string& macAddress,
                                 const std::string& hostName) override {
        observed.insert(observed.end(), {std::to_string(state), macAddress, hostName});
    }
    void OnDataModelChanged(const std::string& name, const std::string& value) override {
        observed.insert(observed.end(), {name, value});
    }
    void OnAppStateChanged(TZeltoAppState state, const std::string& appName) override {
        observed.insert(observed.end(), {std::to_string(state), appName});
    }
};

void OnClientState(int state, const char* macAddress, const char* hostName) {
    calledBack.insert(calledBack.end(), {std::to_string(state), macAddress, hostName});
}

void OnDataModelChange(const char* name, const char* value) {
    calledBack.insert(calledBack.end(), {name, value});
}

bool Register() {
    static TObserver observer;
    TZeltoApplication& application = TZeltoApplication::GetInstance();
    application.AddCpeClientStateObserver(&observer);
    application.AddDataModelChangeObserver(&observer);
    application.AddAppStateChangeObserver(&observer);
    zeltoAppLibSubscribe(OnClientState, OnDataModelChange);
    zeltoAppLibInitWithString("FUZZED");
    return fuzz::Ipc().GetEventListenersNumber() == 1;
}

void Deliver(const std::string& event, const std::string& payload) {
    observed.clear();
    calledBack.clear();
    fuzz::Ipc().OnEvent(event, payload);
}

std::string TextIn(const json_t* document, const char* key) {
    const char* const text = json_string_value(json_object_get(document, key));
    return text != nullptr ? text : "";
}

TTexts Expected(std::size_t event, const std::string& payload) {
    const zelto::TJsonHandle document(json_loads(payload.c_str(), 0, nullptr));
    if (event < CHANGE) {
        return {std::to_string(event), TextIn(document.get(), "MAC_ADDRESS"),
                TextIn(document.get(), "HOST_NAME")};
    }
    if (event == CHANGE) {
        return {TextIn(document.get(), "DATA_MODEL_NAME"), TextIn(document.get(), "DATA_MODEL_VALUE")};
    }
    return event < CHANGE + 3 ? TTexts{std::to_string(event - CHANGE - 1), payload} : TTexts{};
}

void Receive(std::size_t event, const std::string& payload) {
    Deliver(EVENTS[event], payload);
    const TTexts expected = Expected(event, payload);
    Require(observed == expected, "the observers hear what the event says");
    Require(calledBack == (event <= CHANGE ? expected : TTexts{}), "the callbacks hear the same");
}

template <std::size_t Size>
void Fill(char (&field)[Size], const std::string& bytes, std::size_t from) {
    std::memset(field, 0, Size);
    if (from < bytes.size()) {
        std::memcpy(field, bytes.data() + from, std::min(Size, bytes.size() - from));
    }
}

// What cannot be carried arrives empty.
std::string Carried(const std::string& text) {
    const zelto::TJsonHandle carried(json_string(text.c_str()));
    return carried ? text : std::string();
}

void Send(std::uint8_t type, const void* record, const TTexts& texts) {
    fuzz::Ipc().events.clear();
    zeltoPlatformLibSendEvent(static_cast<tZeltoPltEventType>(type), record);
    Require(fuzz::Ipc().events.size() == 1, "a record is sent once");
    const fuzz::TScriptedIpc::TEvent sent = fuzz::Ipc().events.front();
    Require(sent.name == EVENTS[type], "an event has its type's name");
    (void)fuzz::RequireObject(sent.data, "an event is a JSON object");
    Deliver(sent.name, sent.data);
    Require(observed.size() >= 2 && std::equal(texts.rbegin(), texts.rend(), observed.rbegin()),
            "an event arrives as it was sent");
}

void SendRecord(std::uint8_t type, const std::string& bytes) {
    if (type == CHANGE) {
        tZeltoPltDataModelEvent record;
        Fill(record.name, bytes, 0);
        Fill(record.value, bytes, sizeof(record.name));
        Send(type, &record,
             {Carried(zelto::ReadField(record.name)), Carried(zelto::ReadField(record.value))});
    } else {
        tZeltoPltClientEvent record;
        Fill(record.macAddress, bytes, 0);
        Fill(record.hostName, bytes, sizeof(record.macAddress));
        Send(type, &record,
             {Carried(zelto::ReadField(record.macAddress)), Carried(zelto::ReadField(record.hostName))});
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool isRegistered = Register();
    Require(isRegistered, "the application listens");
    fuzz::TInput input(data, size);
    const std::size_t event = input.Byte() % std::size(EVENTS);
    const auto type = static_cast<std::uint8_t>(input.Byte() % (CHANGE + 1));
    const std::string payload = input.Rest();
    Receive(event, payload);
    SendRecord(type, payload);
    return 0;
}
