// One application whose threads all use the C interface at once, against the real manager: every answer
// belongs to its question and every event is whole, while callbacks come and go. ZELTO_STRESS_SECONDS makes
// it run longer than usual.
#include "e2e/Programs.h"

#include "support/LogSpy.h"
#include "zelto/ZeltoAppLib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

constexpr int THREADS = 16;
constexpr int DEFAULT_SECONDS = 5;
constexpr char TABLE[] = "Device.NAT.PortMapping.";

std::chrono::seconds Duration() {
    const char* const text = std::getenv("ZELTO_STRESS_SECONDS");
    return std::chrono::seconds(text == nullptr ? DEFAULT_SECONDS : std::atoi(text));
}

void Fill(char (&field)[ZELTO_TEXT_SIZE], const std::string& text) {
    ASSERT_LT(text.size(), sizeof(field));
    std::memcpy(field, text.c_str(), text.size() + 1);
}

// The thread that owns each instance of the table; the manager never gives a number twice.
std::array<std::atomic<int>, 64> ownerOf{};

// What a thread writes into its own instance begins so.
std::string Mark(int owner) {
    return "thread " + std::to_string(owner) + " ";
}

// One thread of the application, with an instance of the table to itself.
class TCaller {
public:
    explicit TCaller(int number) : thread(number) {
        EXPECT_EQ(zeltoAppLibAddObjectInstance(TABLE, &instance), ZELTO_APP_OK);
        ownerOf.at(static_cast<size_t>(instance)) = thread;
        object = TABLE + std::to_string(instance) + ".";
        EXPECT_TRUE(Set("ExternalPort", Port()));
    }
    ~TCaller() { EXPECT_EQ(zeltoAppLibDelObjectInstance(object.c_str()), ZELTO_APP_OK); }
    TCaller(const TCaller&) = delete;
    TCaller& operator=(const TCaller&) = delete;

    // Whether all answers of a round were those to its questions.
    bool Round() {
        text = Mark(thread) + "round " + std::to_string(++rounds);
        return Set("Description", text) && GetsItsText() && GetsItsArray() && GetsItsTable() &&
               GetsItsLongText();
    }

    long Rounds() const { return rounds; }

private:
    std::string Port() const { return std::to_string(1000 + thread); }

    bool Set(const char* name, const std::string& value) const {
        tZeltoParam param = {};
        Fill(param.name, object + name);
        Fill(param.value, value);
        return zeltoAppLibSetParam(&param, true) == ZELTO_APP_OK;
    }

    bool GetsItsText() const {
        tZeltoParamRequest request = {};
        Fill(request.param.name, object + "Description");
        const bool right = zeltoAppLibGetParam(&request) == ZELTO_APP_OK && request.param.value == text;
        zeltoAppLibReleaseParamRequest(&request);
        return right;
    }

    bool GetsItsArray() const {
        tZeltoParamArray array = {};
        zeltoAppLibAllocateParamArray(&array, 2);
        Fill(array.params[0].name, object + "ExternalPort");
        Fill(array.params[1].name, object + "Description");
        const bool right = zeltoAppLibGetParamArray(&array) == ZELTO_APP_OK && array.count == 2 &&
                           object + "ExternalPort" == array.params[0].name &&
                           array.params[0].value == Port() &&
                           object + "Description" == array.params[1].name && array.params[1].value == text;
        zeltoAppLibReleaseParamArray(&array);
        return right;
    }

    bool GetsItsTable() const {
        tZeltoObjectIdsRequest request = {};
        Fill(request.name, TABLE);
        const bool right = zeltoAppLibGetObjectIds(&request) == ZELTO_APP_OK &&
                           std::count(request.ids, request.ids + request.count, instance) == 1;
        zeltoAppLibReleaseObjectIdsRequest(&request);
        return right;
    }

    bool GetsItsLongText() const {
        tZeltoLongParamRequest request = {};
        Fill(request.name, object + "Description");
        const bool right = zeltoAppLibGetLongParam(&request) == ZELTO_APP_OK && request.value == text;
        zeltoAppLibReleaseLongParamRequest(&request);
        return right;
    }

    int thread;
    int instance = 0;
    std::string object;
    std::string text;
    long rounds = 0;
};

std::atomic<bool> subscribed{false};
std::atomic<long> events{0};
std::atomic<long> wrongEvents{0};

// The name and the value of an event are of one set, and it comes only while there is a subscription.
void OnChange(const char* name, const char* value) {
    const bool isDescription = std::strstr(name, ".Description") != nullptr;
    const auto instance = static_cast<size_t>(std::atoi(name + sizeof(TABLE) - 1));
    const std::string mark = Mark(ownerOf.at(instance));
    const bool right = subscribed && (!isDescription || std::strncmp(value, mark.c_str(), mark.size()) == 0);
    wrongEvents += right ? 0 : 1;
    ++events;
}

TEST(ApplicationThreads, GetTheirOwnAnswersWhileCallbacksComeAndGo) {
    LogSpy::SetRecording(false);
    e2e::TGateway gateway;
    gateway.Client().SetRecording(false);
    zeltoAppLibInitWithString("E2E_THREADS");

    const auto end = std::chrono::steady_clock::now() + Duration();
    std::atomic<int> running{THREADS};
    std::atomic<long> wrong{0};
    std::atomic<long> rounds{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < THREADS; ++number) {
        threads.emplace_back([number, end, &running, &wrong, &rounds] {
            TCaller caller(number);
            do {
                wrong += caller.Round() ? 0 : 1;
            } while (std::chrono::steady_clock::now() < end);
            rounds += caller.Rounds();
            --running;
        });
    }
    while (running > 0) {
        const long before = events;
        subscribed = true;
        zeltoAppLibSubscribe(nullptr, OnChange);
        EXPECT_TRUE(support::Eventually([before, &running] { return events > before || running == 0; }));
        zeltoAppLibUnsubscribe();
        subscribed = false;
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(wrongEvents, 0);
    EXPECT_GE(rounds, THREADS);
    EXPECT_GT(events, 0);
    RecordProperty("rounds", std::to_string(rounds));
    RecordProperty("events", std::to_string(events));
    LogSpy::SetRecording(true);
}

} // namespace
