// Feeds the dispatcher requests of every method, answered by handlers that an input scripts.
//
// Input: method, behaviour of the handlers, length and bytes of what they hand back, text of the request.
// A status is 0 or -1; an answer comes only with 0 and is what the method answers with; both roads into the
// dispatcher give the same; events are well-formed; nothing is written on failure.
#include "FuzzInput.h"
#include "ScriptedHandlers.h"
#include "ScriptedIpc.h"

#include "platform/PlatformLib.h"
#include "protocol/RequestNames.h"
#include "zelto/ZeltoPlatformOps.h"

#include <iterator>
#include <string_view>
#include <vector>

namespace {

using fuzz::Require;

constexpr const char* NO_METHODS[] = {"", "get_param", "GET_PARAMS", "IS_APP_ACTIVE"};

constexpr int UNANSWERED = 1; // a status that none is: the handler has thrown

struct TOutcome {
    int status = UNANSWERED;
    std::string answer;

    bool operator==(const TOutcome& other) const { return status == other.status && answer == other.answer; }
};

const char* MethodOf(std::uint8_t number) {
    const std::size_t index = number % (zelto::METHOD_COUNT + std::size(NO_METHODS));
    return index < zelto::METHOD_COUNT ? zelto::METHOD_NAMES[index] : NO_METHODS[index - zelto::METHOD_COUNT];
}

TOutcome AskByText(const char* method, const std::string& request) {
    TOutcome outcome;
    char untouched = 0;
    char* output = &untouched;
    try {
        outcome.status = zeltoPlatformMethodsHandler(method, request.c_str(), &output);
    } catch (const fuzz::THandlerFailure&) {
        Require(output == &untouched, "an exception leaves the output alone");
    }
    if (output != &untouched) {
        Require(output != nullptr && *output != '\0', "an answer is not empty");
        outcome.answer = output;
        zeltoPlatformDealloc(output);
    }
    return outcome;
}

TOutcome AskAsBusDoes(const char* method, const std::string& request) {
    TOutcome outcome;
    try {
        outcome.status = zelto::PlatformMethodHandler()->OnMethodCall(method, request, outcome.answer);
    } catch (const fuzz::THandlerFailure&) {
        Require(outcome.answer.empty(), "an exception leaves the answer empty");
    }
    return outcome;
}

bool IsTextOrNull(const json_t* value) {
    return json_is_string(value) || json_is_null(value);
}

void RequireEntries(const json_t* document) {
    const json_t* const params = json_object_get(document, zelto::KEY_PARAMS);
    Require(json_is_array(params), "the answer is a list of parameters");
    for (std::size_t i = 0; i < json_array_size(params); ++i) {
        const json_t* const entry = json_array_get(params, i);
        Require(json_is_string(json_object_get(entry, zelto::KEY_NAME)), "an entry has a name");
        Require(IsTextOrNull(json_object_get(entry, zelto::KEY_VALUE)), "an entry has a value");
    }
}

void RequireIds(const json_t* document) {
    const json_t* const ids = json_object_get(document, zelto::KEY_IDS);
    const json_int_t count = json_integer_value(json_object_get(document, zelto::KEY_COUNT));
    Require(json_is_array(ids) && static_cast<json_int_t>(json_array_size(ids)) == count && count <= 63,
            "the instances come with their count");
}

void RequireAnswerOf(std::string_view method, const json_t* document) {
    if (method == "GET_PARAM" || method == "GET_PARAM_ARRAY" || method == "GET_OBJECT") {
        RequireEntries(document);
    } else if (method == "GET_LONG_PARAM") {
        Require(IsTextOrNull(json_object_get(document, zelto::KEY_VALUE)), "the answer is a value");
    } else if (method == "ADD_OBJECT_INSTANCE") {
        Require(json_is_integer(json_object_get(document, zelto::KEY_ID)), "the answer is an instance");
    } else if (method == "GET_OBJECT_INSTANCES") {
        RequireIds(document);
    } else {
        Require(method == "GET_INDEX_MAP", "the method has an answer");
        Require(json_array_size(json_object_get(document, zelto::KEY_DATA_MODELS)) == 4,
                "all tables are listed");
    }
}

void RequireSound(const char* method, const TOutcome& outcome) {
    if (outcome.answer.empty()) {
        const bool hasAnswer = std::string_view(method).substr(0, 3) == "GET" ||
                               std::string_view(method) == "ADD_OBJECT_INSTANCE";
        Require(outcome.status == -1 || outcome.status == UNANSWERED || (outcome.status == 0 && !hasAnswer),
                "a read that succeeds has an answer");
        return;
    }
    Require(outcome.status == 0, "an answer comes with 0");
    RequireAnswerOf(method, fuzz::RequireObject(outcome.answer, "the answer is a JSON object").get());
}

void RequireSoundEvents() {
    for (const fuzz::TScriptedIpc::TEvent& event : fuzz::Ipc().events) {
        Require(event.name == "DATA_MODEL_CHANGED", "a request sends change events only");
        const auto document = fuzz::RequireObject(event.data, "an event is a JSON object");
        Require(IsTextOrNull(json_object_get(document.get(), zelto::KEY_DATA_MODEL_NAME)) &&
                    IsTextOrNull(json_object_get(document.get(), zelto::KEY_DATA_MODEL_VALUE)),
                "an event has a name and a value");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool isInstalled = (fuzz::InstallHandlers(), true);
    (void)isInstalled;
    fuzz::TInput input(data, size);
    const char* const method = MethodOf(input.Byte());
    fuzz::Script().behaviour = input.Byte();
    fuzz::Script().value = input.Text();
    const std::string request = input.Rest();
    fuzz::Ipc().events.clear();
    const TOutcome outcome = AskByText(method, request);
    RequireSound(method, outcome);
    RequireSoundEvents();
    const std::size_t sent = fuzz::Ipc().events.size();
    if (request.find('\0') == std::string::npos) {
        Require(AskAsBusDoes(method, request) == outcome, "both roads answer the same");
        Require(fuzz::Ipc().events.size() == 2 * sent, "both roads send the same events");
    }
    return 0;
}
