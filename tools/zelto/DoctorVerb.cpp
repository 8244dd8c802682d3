// doctor.

#include "Doctor.h"
#include "ExitCodes.h"
#include "FileContent.h"
#include "Output.h"
#include "Verbs.h"

#include <functional>
#include <memory>

namespace tool {

namespace {

const char* StateText(TFinding::TState state) {
    switch (state) {
    case TFinding::FINE:
        return "ok";
    case TFinding::UNKNOWN:
        return "unknown";
    case TFinding::WARNING:
        return "warning";
    default:
        return "bad";
    }
}

// Prints findings and remembers the code of the first bad one.
class TReport {
public:
    explicit TReport(const TGlobals& globals) : output(globals, "FINDINGS") {}

    void Add(const TFinding& finding) {
        (void)output.Add(LineOf(finding), RecordOf(finding)); // Finish tells of a failure
        if (finding.state == TFinding::BAD && exitCode == EXIT_DONE) {
            exitCode = finding.exitCode;
        }
    }
    // A check that the bus breaks off is a finding too.
    void Add(const char* check, const std::function<TFinding()>& look) {
        try {
            Add(look());
        } catch (const TBusFailure& failure) {
            Add({check, TFinding::BAD, failure.what(), "look at the bus's own log", failure.ExitCode()});
        }
    }
    int Finish() {
        int code = output.Finish(EXIT_DONE); // completes a document whatever was found
        return code == EXIT_DONE ? exitCode : code;
    }

private:
    TOutput output;
    int exitCode = EXIT_DONE;
};

void CheckAll(const TGlobals& globals, const std::string& indexMapPath, TReport& report) {
    std::unique_ptr<TBus> bus;
    report.Add("bus", [&bus]() -> TFinding {
        try {
            bus = std::make_unique<TBus>();
            return {"bus", TFinding::FINE, "answers at " + TBus::Address()};
        } catch (const TBusFailure& failure) {
            return {"bus", TFinding::BAD, failure.what(), "start dbus-daemon, or name its address with --bus",
                    EXIT_RUN_TIME};
        }
    });
    if (!bus) {
        return;
    }
    report.Add("own", [&] { return CheckOwning(globals, *bus); });
    report.Add("monitor", [] { return CheckMonitoring(); });
    report.Add("manager", [&bus] { return CheckManagersOwner(*bus); });
    report.Add("call", [&globals] { return CheckAnswer(globals); });
    report.Add("index-map", [&] { return CheckIndexMap(globals, indexMapPath); });
    report.Add("connections", [&bus] { return CheckConnections(*bus); });
    report.Add("statistics", [&bus] { return CheckStatistics(*bus); });
}

int RunDoctor(const TGlobals& globals, const std::string& indexMapPath) {
    TReport report(globals);
    CheckAll(globals, indexMapPath, report);
    return report.Finish();
}

} // namespace

std::string LineOf(const TFinding& finding) {
    std::string line = std::string(StateText(finding.state)) + " " + finding.check + ": " + finding.text;
    return finding.advice.empty() ? line : line + "; " + finding.advice;
}

TZeltoJsonObject RecordOf(const TFinding& finding) {
    TZeltoJsonObject record;
    (void)record.SetJsonObject("CHECK", record.ToJson(finding.check));
    (void)record.SetJsonObject("STATE", record.ToJson(StateText(finding.state)));
    (void)record.SetJsonObject("FINDING", record.ToJson(finding.text));
    (void)record.SetJsonObject("ADVICE", record.ToJson(finding.advice));
    return record;
}

void AddDoctorVerb(TVerb app, TContext& context) {
    auto path = std::make_shared<std::string>();
    TVerb doctor = app.AddVerb("doctor", "Look at the bus, its policy and limits, and the manager");
    doctor.AddOption("--index-map", *path, "The file that the manager was given, to be checked")
        .Check(CheckFileName);
    doctor.OnChosen(
        [&context, path] { context.run = [&context, path] { return RunDoctor(context.globals, *path); }; });
}

} // namespace tool
