// A bus that did not read held up a party for two seconds at each of its answers, one after the other.

#include "bus/BusParty.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

// More than a socket takes, and less than may wait to be sent.
constexpr std::size_t LARGE_SIZE = 700U * 1024;
constexpr int CALLS = 15;
// All of them at two seconds each would take longer, and one of them is not even near.
constexpr std::chrono::seconds ENOUGH{15};

// Answers the first call with a large text, once it may, and the others with their own.
class TServer {
public:
    TServer() {
        party.AddMethodHandler("CALL", &handler);
        party.Init("SERVER");
        party.Run();
    }

    std::promise<void> mayAnswer;
    std::atomic<int> begun{0};
    std::atomic<int> answered{0};

private:
    int Answer(const std::string& request, std::string& result) {
        answered = begun.load(); // the former ones have been sent as far as they could be
        if (++begun == 1) {
            mayAnswer.get_future().wait();
            result.assign(LARGE_SIZE, 'x');
        } else {
            result = request;
        }
        return 0;
    }

    THandler handler{
        [this](const std::string& request, std::string& result) { return Answer(request, result); }};
    TAccessParty party;
};

} // namespace

TEST(FrozenAnswers, AreWaitedForOnceAndNotEach) {
    ASSERT_TRUE(BUS_READY);
    TServer server;
    TRawPeer caller(BusAddress());
    std::vector<uint32_t> serials;
    for (int number = 0; number < CALLS; ++number) {
        serials.push_back(caller.Post(PartyTarget("SERVER", "CALL"), TRawArguments{std::to_string(number)}));
    }
    ASSERT_TRUE(HasOwner("SERVER")); // the bus has handed on what came before this question
    ASSERT_TRUE(Eventually([&] { return server.begun == 1; }));
    TBusEnvironment::Bus().Hang();
    server.mayAnswer.set_value();
    const bool areAnswered = Eventually([&] { return server.answered == CALLS - 1; }, ENOUGH);
    TBusEnvironment::Bus().Resume();
    EXPECT_TRUE(areAnswered);
    for (int number = 0; number < CALLS; ++number) {
        const auto serial = serials[static_cast<std::size_t>(number)];
        const auto answer =
            caller.WaitFor([&](const auto& message) { return message.replySerial == serial; });
        ASSERT_TRUE(answer) << number;
        EXPECT_EQ(answer->Text(0).size(), number == 0 ? LARGE_SIZE : std::to_string(number).size());
    }
}
