// remote: get, set and file, asked of a peer gateway over TCP.

#include "ExitCodes.h"
#include "Output.h"
#include "Verbs.h"

#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoJsonObject.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
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

constexpr unsigned int NO_ELEMENT = static_cast<unsigned int>(-1); // the property itself

struct TRemoteOptions {
    std::string host;
    std::vector<std::string> arguments; // of the verb
    bool valuesOnly = false;
    bool commit = false;
    std::string outputFile;
};

// An exchange with the peer and what came of it.
struct TExchange {
    std::string what; // such as "get Device.X", for messages
    TZeltoJsonObject request{};
    TZeltoJsonObject response{};
    std::vector<char> blob{};
    bool isConnected = false;
};

TExchange NewExchange(const TRemoteOptions& options, const std::string& verb, const std::string& type,
                      const std::string& name) {
    TExchange exchange{"remote " + options.host + " " + verb + " " + name};
    TZeltoJsonObject& request = exchange.request;
    (void)request.SetJsonObject("REQUEST_TYPE", request.ToJson(type));
    (void)request.SetJsonObject(type == "GET_FILE" ? "FILE_NAME" : "NAME", request.ToJson(name));
    return exchange;
}

// A text that is not UTF-8 has become null.
bool CanBeSent(const TZeltoJsonObject& request) {
    for (const std::string& key : request.GetProperties()) {
        if (request.GetPropertyType(key) == JSON_TYPE_NULL) {
            return false;
        }
    }
    return true;
}

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
    const TZeltoJsonObject& response = exchange.response;
    if (response.GetPropertyType("STATUS") != JSON_TYPE_STRING) {
        PrintError(exchange.what + ": the peer gave no answer");
        return EXIT_RUN_TIME;
    }
    const auto status = response.GetJsonValue<std::string>(response.GetJsonObject("STATUS", NO_ELEMENT), "");
    if (status == "OK") {
        return EXIT_DONE;
    }
    PrintError(exchange.what + ": " + status);
    return EXIT_REFUSED;
}

// Says on standard error what went wrong.
int Run(const TContext& context, const TRemoteOptions& options, TExchange& exchange) {
    if (!CanBeSent(exchange.request)) {
        PrintError(exchange.what + ": cannot be sent: not UTF-8");
        return EXIT_RUN_TIME;
    }
    if (!PerformInTime(context.timeoutSeconds, options.host, exchange)) {
        PrintError(exchange.what + ": no answer within " + std::to_string(context.timeoutSeconds) + " s");
        std::_Exit(EXIT_TIME_OUT); // past what the thread still uses
    }
    return Explain(exchange);
}

int CannotWrite() {
    PrintError("remote: cannot write the output");
    return EXIT_RUN_TIME;
}

int RunGet(const TContext& context, const TRemoteOptions& options) {
    for (const std::string& path : options.arguments) {
        TExchange exchange = NewExchange(options, "get", "GET_PARAM", path);
        int code = Run(context, options, exchange);
        if (code != EXIT_DONE) {
            return code;
        }
        std::vector<TZeltoApplication::TZeltoAppParam> params;
        TZeltoApplication::GetInstance().PopulateParamArray(exchange.response, params);
        for (const auto& param : params) {
            std::string value = Escape(param.value);
            if (!PrintLine(options.valuesOnly ? value : Escape(param.name) + "=" + value)) {
                return CannotWrite();
            }
        }
    }
    return EXIT_DONE;
}

int RunSet(const TContext& context, const TRemoteOptions& options) {
    for (const std::string& assignment : options.arguments) {
        std::string::size_type equals = assignment.find('=');
        if (equals == std::string::npos || equals == 0) {
            PrintError("remote set: not of the form PATH=VALUE: " + assignment);
            return EXIT_USAGE;
        }
        TExchange exchange = NewExchange(options, "set", "SET_PARAM", assignment.substr(0, equals));
        TZeltoJsonObject& request = exchange.request;
        (void)request.SetJsonObject("VALUE", request.ToJson(assignment.substr(equals + 1)));
        (void)request.SetJsonObject("COMMIT", request.ToJson(options.commit));
        int code = Run(context, options, exchange);
        if (code != EXIT_DONE) {
            return code;
        }
    }
    return EXIT_DONE;
}

bool Write(const std::vector<char>& content, const std::string& path) {
    if (path.empty()) {
        return std::fwrite(content.data(), 1, content.size(), stdout) == content.size() &&
               std::fflush(stdout) == 0;
    }
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    return file.good();
}

int RunFile(const TContext& context, const TRemoteOptions& options) {
    TExchange exchange = NewExchange(options, "file", "GET_FILE", options.arguments.at(0));
    int code = Run(context, options, exchange);
    if (code != EXIT_DONE) {
        return code;
    }
    return Write(exchange.blob, options.outputFile) ? EXIT_DONE : CannotWrite();
}

std::string CheckHost(const std::string& host) {
    in6_addr ignored{};
    bool isNumeric =
        inet_pton(AF_INET, host.c_str(), &ignored) == 1 || inet_pton(AF_INET6, host.c_str(), &ignored) == 1;
    return isNumeric ? "" : "not a numeric address: " + host;
}

using TRunVerb = int (*)(const TContext&, const TRemoteOptions&);

CLI::App* AddVerb(CLI::App& remote, TContext& context, const std::shared_ptr<TRemoteOptions>& options,
                  const std::pair<const char*, const char*>& nameAndHelp, TRunVerb run) {
    CLI::App* verb = remote.add_subcommand(nameAndHelp.first, nameAndHelp.second);
    verb->callback([&context, options, run] {
        context.run = [&context, options, run] { return run(context, *options); };
    });
    return verb;
}

} // namespace

void AddRemoteVerbs(CLI::App& app, TContext& context) {
    auto options = std::make_shared<TRemoteOptions>();
    CLI::App* remote = app.add_subcommand("remote", "Ask a peer gateway, over TCP");
    remote->add_option("HOST", options->host, "Numeric IPv4 address of the peer")
        ->required()
        ->check(CheckHost);
    remote->require_subcommand(1);

    CLI::App* get = AddVerb(*remote, context, options, {"get", "Read parameters of the peer"}, RunGet);
    get->add_option("PATH", options->arguments, "Name of a parameter")->required();
    get->add_flag("-V,--values", options->valuesOnly, "Print the values without the names");

    CLI::App* set = AddVerb(*remote, context, options, {"set", "Write parameters of the peer"}, RunSet);
    set->add_option("PATH=VALUE", options->arguments, "Name of a parameter and its value")->required();
    set->add_flag("-c,--commit", options->commit, "Ask the manager to keep the value");

    CLI::App* file = AddVerb(*remote, context, options, {"file", "Fetch a file of the peer"}, RunFile);
    file->add_option("NAME", options->arguments, "Name of the file")->required()->expected(1);
    file->add_option("-o,--output", options->outputFile, "File to write (default: standard output)");
}

} // namespace tool
