// call and emit: what goes over the bus is what the user says.

#include "../Identity.h"
#include "Bodies.h"
#include "ExitCodes.h"
#include "Output.h"
#include "Requests.h"
#include "Verbs.h"

#include "zelto/TZeltoIpc.h"

#include <memory>
#include <stdexcept>

namespace tool {

namespace {

struct TRawOptions {
    std::string name; // of the method or the event
    std::string text;
    std::string server;
};

// A JSON answer as it is, anything else as a text.
void SetAnswer(TZeltoJsonObject& record, const std::string& text) {
    TZeltoJsonObject holder;
    if (holder.DecodeFromString("{\"ANSWER\": " + text + "}") && holder.HasProperty("ANSWER")) {
        (void)record.SetJsonObject("ANSWER", record.ToJson(holder.GetObject("ANSWER")));
        return;
    }
    SetText(record, "ANSWER", text);
}

int PrintAnswer(const TGlobals& globals, const TRawOptions& options, const TAnswer& answer) {
    TZeltoJsonObject record;
    SetText(record, "METHOD", options.name);
    SetInteger(record, "CODE", answer.code);
    SetAnswer(record, answer.text);
    TOutput output(globals, "");
    (void)(answer.text.empty() ? output.Add(record) : output.Add(answer.text, record));
    return output.Finish(answer.exitCode);
}

int RunCall(const TGlobals& globals, const TRawOptions& options) {
    const TAnswer answer = Call(globals, {options.name, options.text, options.server});
    if (answer.exitCode != EXIT_DONE) {
        const std::string code = answer.isAnswered ? " with code " + std::to_string(answer.code) : "";
        PrintError("call " + options.name + ": " + answer.reason + code);
    }
    return answer.isAnswered ? PrintAnswer(globals, options, answer) : answer.exitCode;
}

int RunEmit(const TGlobals& globals, const TRawOptions& options) {
    TZeltoJsonObject record;
    SetText(record, "EVENT", options.name);
    SetText(record, "DATA", options.text);
    try {
        getZeltoIpcInstance()->SendEvent(options.name, options.text);
    } catch (const std::runtime_error& error) {
        PrintError("emit " + options.name + ": " + error.what());
        return EXIT_RUN_TIME;
    }
    TOutput output(globals, "");
    (void)output.Add(record);
    return output.Finish(EXIT_DONE);
}

} // namespace

void AddRawVerbs(TVerb app, TContext& context) {
    auto options = std::make_shared<TRawOptions>();
    TVerb call = app.AddVerb("call", "Call a method with a text and print the answer");
    call.AddOption("METHOD", options->name, "Name of the method").Require();
    call.AddOption("JSON", options->text, "Body of the call (default: empty)");
    call.AddOption("--to", options->server, "Identity to call (default: the manager's)").Check(CheckIdentity);
    call.OnChosen([&context, options] {
        context.run = [&context, options] { return RunCall(context.globals, *options); };
    });
    TVerb emit = app.AddVerb("emit", "Send an event");
    emit.AddOption("EVENT", options->name, "Name of the event").Require();
    emit.AddOption("JSON", options->text, "Body of the event").Require();
    emit.OnChosen([&context, options] {
        context.run = [&context, options] { return RunEmit(context.globals, *options); };
    });
}

} // namespace tool
