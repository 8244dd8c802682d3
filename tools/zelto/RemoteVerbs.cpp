// remote: get, set and file, asked of a peer gateway over TCP.

#include "Assignments.h"
#include "ExitCodes.h"
#include "FileContent.h"
#include "Output.h"
#include "ParamRequests.h"
#include "Verbs.h"
#include "WaitNotice.h"

#include "zelto/TZeltoApplication.h"

#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace tool {

namespace {

constexpr size_t LARGER_THAN_ANY_FILE = 1048576; // of which no peer can send one

struct TRemoteOptions {
    std::string host;
    std::vector<std::string> arguments; // of the verb
    bool valuesOnly = false;
    bool commit = false;
    std::string outputFile;
};

// An exchange with the peer and what came of it.
struct TExchange {
    std::string what{}; // such as "get Device.X", for messages
    TZeltoJsonObject request{};
    TZeltoJsonObject response{};
    std::vector<char> blob{};
    bool isConnected = false;
};

TExchange NewExchange(const TRemoteOptions& options, const std::string& verb, const std::string& type,
                      const std::string& name) {
    TExchange exchange{"remote " + options.host + " " + verb + " " + name};
    SetText(exchange.request, "REQUEST_TYPE", type);
    SetText(exchange.request, type == "GET_FILE" ? "FILE_NAME" : "NAME", name);
    return exchange;
}

// A thread still waits for a peer that did not answer in time.
bool isThreadLeft = false;

void Perform(const std::string& host, TExchange& exchange) {
    std::string answer;
    exchange.isConnected = TZeltoApplication::GetInstance().PerformRemoteRequest(
        exchange.request.EncodeToString(), host, answer, &exchange.blob);
    (void)exchange.response.DecodeFromString(answer); // what cannot be decoded has no status
}

// The exchange itself waits for the peer without a limit, so it gets a thread of its own, which is left
// behind with the process when the time is over.
bool PerformInTime(int timeoutSeconds, const std::string& host, TExchange& exchange) {
    auto shared = std::make_shared<TExchange>(exchange);
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> end = done->get_future();
    std::thread([host, shared, done] {
        Perform(host, *shared);
        done->set_value();
    }).detach();
    if (end.wait_for(std::chrono::seconds(timeoutSeconds)) != std::future_status::ready) {
        return false;
    }
    exchange = *shared;
    return true;
}

int Explain(const TExchange& exchange) {
    if (!exchange.isConnected) {
        PrintError(exchange.what + ": no connection to the peer");
        return EXIT_NO_OWNER;
    }
    if (exchange.response.GetPropertyType("STATUS") != JSON_TYPE_STRING) {
        PrintError(exchange.what + ": the peer gave no answer");
        return EXIT_RUN_TIME;
    }
    const std::string status = GetText(exchange.response, "STATUS");
    if (status == "OK") {
        return EXIT_DONE;
    }
    PrintError(exchange.what + ": " + status);
    return EXIT_REFUSED;
}

// Says on standard error what went wrong.
int Run(const TGlobals& globals, const TRemoteOptions& options, TExchange& exchange) {
    const TWaitNotice notice("waiting for the peer, at most " + std::to_string(globals.timeoutSeconds) +
                             " s");
    if (!PerformInTime(globals.timeoutSeconds, options.host, exchange)) {
        PrintError(exchange.what + ": no answer within " + std::to_string(globals.timeoutSeconds) + " s");
        isThreadLeft = true;
        return EXIT_TIME_OUT;
    }
    return Explain(exchange);
}

int RunGet(const TGlobals& globals, const TRemoteOptions& options) {
    std::vector<int> codes;
    TObjects entries;
    for (const std::string& path : options.arguments) {
        TExchange exchange = NewExchange(options, "get", "GET_PARAM", path);
        codes.push_back(Run(globals, options, exchange));
        if (!IsAboutParameters(codes.back())) {
            break;
        }
        const TObjects read = GetList(exchange.response, "PARAMS");
        entries.insert(entries.end(), read.begin(), read.end());
    }
    const int code = Conclude("remote " + options.host + " get", options.arguments, codes);
    return code == EXIT_DONE || !entries.empty() ? PrintParams(globals, entries, options.valuesOnly, code)
                                                 : code;
}

TExchange NewSet(const TRemoteOptions& options, const TParam& param) {
    TExchange exchange = NewExchange(options, "set", "SET_PARAM", param.name);
    SetText(exchange.request, "VALUE", param.value);
    SetBoolean(exchange.request, "COMMIT", options.commit);
    return exchange;
}

void TellOthers(const TRemoteOptions& options, const TParams& params, size_t failed) {
    for (size_t i = 0; i < params.size(); ++i) {
        if (i != failed) {
            PrintError("remote " + options.host + " set " + params[i].name +
                       (i < failed ? ": done" : ": not tried"));
        }
    }
}

int RunSet(const TGlobals& globals, const TRemoteOptions& options) {
    TParams params;
    const int readCode = ReadArguments("remote set", options.arguments, params);
    if (readCode != EXIT_DONE) {
        return readCode;
    }
    TOutput output(globals, "PARAMS");
    for (size_t i = 0; i < params.size(); ++i) {
        TExchange exchange = NewSet(options, params[i]);
        const int code = Run(globals, options, exchange);
        if (code != EXIT_DONE) {
            TellOthers(options, params, i);
            return output.Finish(i == 0 ? code : int{EXIT_PARTLY_DONE});
        }
        (void)output.Add(ParamEntry(params[i]));
    }
    return output.Finish(EXIT_DONE);
}

int WriteBlob(const TGlobals& globals, const TRemoteOptions& options, const std::vector<char>& blob) {
    if (!options.outputFile.empty()) {
        return WriteFile(options.outputFile, std::string(blob.begin(), blob.end())) ? EXIT_DONE
                                                                                    : EXIT_RUN_TIME;
    }
    return globals.isQuiet || WriteRaw(blob.data(), blob.size()) ? EXIT_DONE : EXIT_RUN_TIME;
}

// What does not come of a file leaves the blob as it was, and nothing else tells. So its last byte has come
// if it is not the one that stood there; a file that ends in that one is fetched once more over another. One
// that ends in 255 and is rewritten in between to end in 0 is taken for cut off.
int FetchFile(const TGlobals& globals, const TRemoteOptions& options, TExchange& exchange) {
    for (const char filler : {'\xff', '\0'}) {
        exchange = NewExchange(options, "file", "GET_FILE", options.arguments.at(0));
        exchange.blob.assign(LARGER_THAN_ANY_FILE, filler);
        const int code = Run(globals, options, exchange);
        if (code != EXIT_DONE) {
            return code;
        }
        if (exchange.blob.size() == LARGER_THAN_ANY_FILE) {
            exchange.blob.clear(); // nothing of a file was announced: it is empty
            return EXIT_DONE;
        }
        if (exchange.blob.back() != filler) {
            return EXIT_DONE;
        }
    }
    PrintError(exchange.what + ": the file was cut off on its way");
    return EXIT_RUN_TIME;
}

int RunFile(const TGlobals& globals, const TRemoteOptions& options) {
    if (globals.format != FORMAT_TEXT && options.outputFile.empty()) {
        PrintError("remote file: JSON needs -o, since the file goes to standard output otherwise");
        return EXIT_USAGE;
    }
    TExchange exchange;
    int code = FetchFile(globals, options, exchange);
    code = code == EXIT_DONE ? WriteBlob(globals, options, exchange.blob) : code;
    if (code != EXIT_DONE) {
        return code;
    }
    TZeltoJsonObject record;
    SetText(record, "FILE_NAME", options.arguments.at(0));
    SetInteger(record, "SIZE", static_cast<int>(exchange.blob.size()));
    TOutput output(globals, "");
    (void)output.Add(record);
    return output.Finish(EXIT_DONE);
}

std::string CheckHost(const std::string& host) {
    in6_addr ignored{};
    bool isNumeric =
        inet_pton(AF_INET, host.c_str(), &ignored) == 1 || inet_pton(AF_INET6, host.c_str(), &ignored) == 1;
    return isNumeric ? "" : "not a numeric address: " + host;
}

using TRunVerb = int (*)(const TGlobals&, const TRemoteOptions&);

int RunToTheEnd(TRunVerb run, const TGlobals& globals, const TRemoteOptions& options) {
    const int code = run(globals, options);
    if (isThreadLeft) {
        std::_Exit(code); // past what the thread still uses
    }
    return code;
}

TVerb AddVerb(TVerb remote, TContext& context, const std::shared_ptr<TRemoteOptions>& options,
              const std::pair<const char*, const char*>& nameAndHelp, TRunVerb run) {
    TVerb verb = remote.AddVerb(nameAndHelp.first, nameAndHelp.second);
    verb.OnChosen([&context, options, run] {
        context.run = [&context, options, run] { return RunToTheEnd(run, context.globals, *options); };
    });
    return verb;
}

} // namespace

void AddRemoteVerbs(TVerb app, TContext& context) {
    auto options = std::make_shared<TRemoteOptions>();
    TVerb remote = app.AddVerb("remote", "Ask a peer gateway, over TCP");
    remote.AddOption("HOST", options->host, "Numeric IPv4 address of the peer").Require().Check(CheckHost);
    remote.RequireVerb();

    TVerb get = AddVerb(remote, context, options, {"get", "Read parameters of the peer"}, RunGet);
    get.AddOption("PATH", options->arguments, "Name of a parameter").Require();
    get.AddFlag("-V,--values", options->valuesOnly, "Print the values without the names");

    TVerb set = AddVerb(remote, context, options, {"set", "Write parameters of the peer"}, RunSet);
    set.AddOption("PATH=VALUE", options->arguments, "Name of a parameter and its value").Require();
    set.AddFlag("-c,--commit", options->commit, "Ask the manager to keep the value");

    TVerb file = AddVerb(remote, context, options, {"file", "Fetch a file of the peer"}, RunFile);
    file.AddOption("NAME", options->arguments, "Name of the file").Require().TakeOne();
    file.AddOption("-o,--output", options->outputFile, "File to write (default: standard output)")
        .Check(CheckFileName);
}

} // namespace tool
