// zelto-remoted: answers the remote requests of other gateways.

#include "../Identity.h"
#include "Log.h"
#include "Server.h"
#include "Service.h"

#include "zelto/TZeltoDataMapper.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include <malloc.h>
#include <sys/signalfd.h>

namespace {

using namespace remoted;

constexpr int LONGEST_TIMEOUT = 86400;
constexpr int MOST_CONNECTIONS = 4096;
constexpr std::chrono::milliseconds STOP_TIME{500};

struct TOptions {
    std::string address = "127.0.0.1";
    std::vector<std::string> allowed;
    std::string bus;
    TServiceOptions service;
    TLimits limits;
};

constexpr char DESCRIPTION[] =
    "Answers the remote requests of other gateways on TCP port 42042: reads of parameters and, where it is "
    "told to, writes of parameters and reads of files.";

constexpr char FOOTER[] = R"(A connection carries one request and its answer. The request is a JSON object of
at most 65536 bytes, which must have come within 5 s; it ends where its text ends.
The answer is the length of a JSON text (at most 4096) and the length of a blob (at
most 1048575), 32 bits each and little-endian, the text, and the blob. "STATUS" in
the text is "OK" or says what is wrong. A line on standard error tells who asked
for what.

Peers are known by their addresses only and nothing is encrypted: listen on a
network that you trust.

Exit codes: 0 ended by SIGTERM or SIGINT, 2 usage, 3 a run-time error.)";

std::string CheckPrefix(const std::string& prefix) {
    return prefix.empty() ? "a prefix is not empty" : "";
}

void AddAccessOptions(CLI::App& app, TOptions& options) {
    app.add_option(
           "--allow", options.allowed,
           "A peer or network that may ask, such as 192.168.7.2 or 192.168.7.0/24; may be repeated. "
           "Required unless the address to listen on is a loopback one; there they are 127.0.0.0/8 and ::1")
        ->allow_extra_args(false);
    CLI::Option* allowSet = app.add_flag("--allow-set", "Let peers write the parameters below the prefixes");
    CLI::Option* setPrefix =
        app.add_option(
               "--set-prefix", options.service.setPrefixes,
               "An object such as Device.WiFi.SSID. whose parameters peers may write, or one parameter; "
               "may be repeated")
            ->allow_extra_args(false)
            ->check(CheckPrefix);
    allowSet->needs(setPrefix);
    setPrefix->needs(allowSet);
    app.add_option("--root", options.service.fileRoot,
                   "Folder whose files peers may read; nothing outside it can be reached. Default: no files");
    app.add_option("--max-connections", options.limits.connections, "Connections that are served at once")
        ->check(CLI::Range(1, MOST_CONNECTIONS))
        ->capture_default_str();
    app.add_option("--max-per-peer", options.limits.connectionsPerPeer, "The same of one address")
        ->check(CLI::Range(1, MOST_CONNECTIONS))
        ->capture_default_str();
}

void AddOptions(CLI::App& app, TOptions& options) {
    app.set_version_flag("--version", "zelto-remoted " ZELTO_VERSION);
    app.footer(FOOTER);
    app.add_option("--listen", options.address, "Numeric address to listen on")->capture_default_str();
    AddAccessOptions(app, options);
    options.service.identity = TZeltoDataMapper::GetInstance()->MapClientIdToStr(ZELTO_REMOTE);
    app.add_option("--identity", options.service.identity, "Name on the bus")
        ->check(tool::CheckIdentity)
        ->capture_default_str();
    app.add_option("--bus", options.bus, "Address of the bus (default: the system bus)");
    app.add_option("-t,--timeout", options.service.timeoutSeconds, "Seconds to wait for the manager's answer")
        ->check(CLI::Range(1, LONGEST_TIMEOUT))
        ->capture_default_str();
}

TServerOptions MakeServerOptions(const TOptions& options) {
    TServerOptions server;
    server.address = TAddress::Parse(options.address);
    server.limits = options.limits;
    for (const std::string& text : options.allowed) {
        server.allowed.push_back(TNetwork::Parse(text));
    }
    if (server.allowed.empty() && !server.address.IsLoopback()) {
        throw std::runtime_error("--allow is required to listen on " + options.address);
    }
    if (server.allowed.empty()) {
        server.allowed = {TNetwork::Parse("127.0.0.0/8"), TNetwork::Parse("::1")};
    }
    return server;
}

// Blocked in every thread, to be read from a descriptor. To be called before there are other threads.
TUniqueFd CatchStopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    TUniqueFd descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!descriptor || pthread_sigmask(SIG_BLOCK, &signals, nullptr) != 0 ||
        std::signal(SIGPIPE, SIG_IGN) == SIG_ERR) {
        throw std::runtime_error("cannot catch signals");
    }
    return descriptor;
}

int Serve(const TOptions& options, const TServerOptions& serverOptions) {
    const TUniqueFd stopSignals = CatchStopSignals();
    // Large answers are to go back to the system one by one, not to stay behind small ones.
    (void)mallopt(M_MMAP_THRESHOLD, 131072); // without it memory only goes back later
    TService service(options.service);
    TServer server(serverOptions, [&service](const std::string& peer, const std::string& request,
                                             const TReply& reply) { service.Handle(peer, request, reply); });
    server.Run(stopSignals.Get());
    if (!service.Stop(STOP_TIME)) {
        // A worker waits for a manager that hangs. There is nobody left to tell what it will say.
        std::_Exit(0);
    }
    return 0;
}

int Run(int argc, char** argv) {
    TOptions options;
    CLI::App app(DESCRIPTION, "zelto-remoted");
    AddOptions(app, options);
    TServerOptions serverOptions;
    try {
        app.parse(argc, argv);
        serverOptions = MakeServerOptions(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::runtime_error& error) {
        Log(error.what());
        return 2;
    }
    if (!options.bus.empty()) {
        (void)setenv("DBUS_SYSTEM_BUS_ADDRESS", options.bus.c_str(), 1); // fails only without memory
    }
    return Serve(options, serverOptions);
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        Log(error.what());
        return 3;
    }
}
