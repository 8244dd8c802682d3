// zelto-remoted goes on when an allocation for one of its peers fails.

#include "FailingMemory.h"
#include "tools/zelto-remoted/Server.h"

#include "support/TcpClient.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include <sys/eventfd.h>

namespace {

using support::TTcpClient;

constexpr std::size_t MOST_ALLOCATIONS = 500;
constexpr char FILE_REQUEST[] = R"({"REQUEST_TYPE": "GET_FILE", "FILE_NAME": "file"})";
constexpr char BAD_REQUEST[] = R"({"REQUEST_TYPE": "BAKE_A_CAKE"})";

remoted::TServiceOptions Serving(const std::string& folder) {
    remoted::TServiceOptions options;
    options.fileRoot = folder;
    return options;
}

} // namespace

class RemotedMemory : public testing::TestWithParam<memory::TFailure> {
protected:
    RemotedMemory() {
        memory::Install();
        directory.Write("file", "content");
        service = std::make_unique<remoted::TService>(Serving(directory.Path()));
        server = Listen();
        thread = std::thread([this] { server->Run(stopEvent); });
    }
    ~RemotedMemory() override {
        (void)eventfd_write(stopEvent, 1);
        thread.join();
        (void)close(stopEvent);
    }

    // What has come; "(nothing ends)" when the connection stays open.
    std::string Ask(const std::string& request) {
        const memory::TSpared own;
        TTcpClient client(address);
        (void)client.Send(request); // the answer shows whether it came
        return client.ReadToEnd().value_or("(nothing ends)");
    }

    // Fails the first allocation, then the second, and so on, until none is left that could fail.
    void Examine(const std::string& request) {
        const std::string expected = Ask(request);
        ASSERT_NE(expected, "");
        for (std::size_t n = 1; n < MOST_ALLOCATIONS; ++n) {
            memory::FailAt(n, GetParam());
            const std::string answer = Ask(request);
            const bool hasFailed = memory::Stop();
            ASSERT_NE(answer, "(nothing ends)") << n;
            ASSERT_EQ(Ask(request), expected) << "after allocation " << n;
            if (!hasFailed) {
                ASSERT_GT(n, 5U);
                return;
            }
        }
        FAIL() << "there is no end of allocations";
    }

private:
    std::unique_ptr<remoted::TServer> Listen() {
        for (int tries = 0; tries < 20; ++tries) {
            address = support::NewLoopbackAddress();
            try {
                return std::make_unique<remoted::TServer>(
                    remoted::TServerOptions{remoted::TAddress::Parse(address),
                                            {remoted::TNetwork::Parse("127.0.0.0/8")}},
                    [this](const std::string& peer, const std::string& request,
                           const remoted::TReply& reply) { service->Handle(peer, request, reply); });
            } catch (const std::runtime_error&) {
                // The address is taken: the next one.
            }
        }
        throw std::runtime_error("no address to listen on");
    }

    support::TTempDir directory;
    std::string address;
    int stopEvent = eventfd(0, EFD_CLOEXEC);
    std::unique_ptr<remoted::TService> service;
    std::unique_ptr<remoted::TServer> server;
    std::thread thread;
};

TEST_P(RemotedMemory, ThatFailsCostsTheRequestOfAFileOnly) {
    Examine(FILE_REQUEST);
}

TEST_P(RemotedMemory, ThatFailsCostsABadRequestOnly) {
    Examine(BAD_REQUEST);
    Examine("no JSON");
}

INSTANTIATE_TEST_SUITE_P(Failures, RemotedMemory, testing::Values(memory::ONCE, memory::FROM_THEN_ON),
                         [](const auto& testCase) {
                             return testCase.param == memory::ONCE ? "Once" : "FromThenOn";
                         });
