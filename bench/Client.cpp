// The calling side of the benchmark. Every role prints one JSON object.
//   zelto_bench_client calls ROUNDS            round trips of every shape, interleaved
//   zelto_bench_client threads SECONDS         calls a second of 1, 4 and 8 threads
//   zelto_bench_client load SECONDS            calls of this one process
//   zelto_bench_client beside SECONDS          fast calls without and with a slow call beside them
//   zelto_bench_client file copy|read|write SOURCE TARGET

#include "RawDBus.h"
#include "Relay.h"
#include "Samples.h"
#include "Texts.h"

#include "zelto/TZeltoIpc.h"
#include "zelto/ZeltoAppLib.h"
#include "zelto/ZeltoFileUtils.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using bench::NameOf;

template <std::size_t Size>
void Fill(char (&field)[Size], const std::string& text) {
    std::snprintf(field, Size, "%s", text.c_str());
}

bool Get() {
    tZeltoParamRequest request{};
    Fill(request.param.name, NameOf(7));
    return zeltoAppLibGetParam(&request) == ZELTO_APP_OK && request.param.value == std::string(bench::VALUE);
}

bool GetWildcard() {
    tZeltoParamRequest request{};
    Fill(request.param.name, bench::WILDCARD);
    const bool isRight = zeltoAppLibGetParam(&request) == ZELTO_APP_OK && request.isArray &&
                         request.paramArray.count == bench::WILDCARD_INSTANCES;
    zeltoAppLibReleaseParamRequest(&request);
    return isRight;
}

void FillNames(tZeltoParamArray& array, int count) {
    zeltoAppLibAllocateParamArray(&array, static_cast<uint32_t>(count));
    for (int i = 0; i < count; ++i) {
        Fill(array.params[i].name, NameOf(i + 1));
    }
}

// The array that a call returns names what the next one asks for.
struct TArray {
    explicit TArray(int count) { FillNames(array, count); }
    ~TArray() { zeltoAppLibReleaseParamArray(&array); }
    TArray(const TArray&) = delete;
    TArray& operator=(const TArray&) = delete;
    bool Get() { return zeltoAppLibGetParamArray(&array) == ZELTO_APP_OK; }
    tZeltoParamArray array{};
};

bool Set() {
    tZeltoParam param{};
    Fill(param.name, NameOf(7));
    Fill(param.value, bench::VALUE);
    return zeltoAppLibSetParam(&param, false) == ZELTO_APP_OK;
}

bool GetObject() {
    tZeltoObjectRequest request{};
    Fill(request.name, bench::ROOT);
    FillNames(request.paramArray, bench::OBJECT_PARAMS);
    const bool isRight = zeltoAppLibGetObject(&request) == ZELTO_APP_OK;
    zeltoAppLibReleaseParamArray(&request.paramArray);
    return isRight;
}

bool GetLong(int size) {
    tZeltoLongParamRequest request{};
    Fill(request.name, bench::LongNameOf(size));
    const bool isRight =
        zeltoAppLibGetLongParam(&request) == ZELTO_APP_OK && request.size == static_cast<uint32_t>(size) + 1;
    zeltoAppLibReleaseLongParamRequest(&request);
    return isRight;
}

struct TCase {
    std::string name;
    int calls; // in a round
    std::function<bool()> run;
    bench::TSamples samples{};
};

class TCalls {
public:
    TCalls() : raw(bench::Connect()) {
        zeltoAppLibInitWithString("BENCH");
        for (const int count : {1, 10, 100, 1000}) {
            AddBatch(count);
        }
        Add("wildcard_16", 200, "WILDCARD", bench::NameBody(bench::WILDCARD), GetWildcard);
        Add("set", 300, "SET",
            "{\"NAME\": \"" + NameOf(7) + "\", \"VALUE\": \"" + bench::VALUE + "\", \"COMMIT\": false}", Set);
        Add("get_object_10", 200, "OBJECT",
            bench::List(bench::OBJECT_PARAMS, false, std::string(", \"ROOT\": \"") + bench::ROOT + "\"}"),
            GetObject);
        for (const int size : {1024, 1048576}) {
            Add("long_" + std::to_string(size), size > 2000 ? 8 : 200, "LONG" + std::to_string(size),
                bench::NameBody(bench::LongNameOf(size)), [size] { return GetLong(size); });
        }
    }

    bool Run(int rounds) {
        for (int round = 0; round < rounds; ++round) {
            std::fprintf(stderr, "\r  calls: round %d of %d", round + 1, rounds);
            for (TCase& each : cases) {
                if (!bench::Measure(each.calls, each.run, each.samples)) {
                    std::fprintf(stderr, "\n%s fails\n", each.name.c_str());
                    return false;
                }
            }
        }
        std::fputs("\n", stderr);
        return true;
    }

    void Print() const {
        std::fputs("{", stdout);
        for (const TCase& each : cases) {
            std::printf("%s\"%s\": %s", &each == &cases.front() ? "" : ", ", each.name.c_str(),
                        each.samples.Json().c_str());
        }
        std::puts("}");
    }

private:
    void AddBatch(int count) {
        const std::string suffix = "get_" + std::to_string(count);
        const int calls = count == 1 ? 400 : (count == 1000 ? 20 : (count == 100 ? 80 : 200));
        const std::string request = count == 1 ? bench::NameBody(NameOf(7)) : bench::List(count, false);
        const std::size_t answerSize = bench::List(count, true).size();
        cases.push_back({"relay_" + suffix, calls, [this, size = request.size(), answerSize] {
                             return relay.Exchange(size, answerSize);
                         }});
        auto array = std::make_shared<TArray>(count);
        Add(
            suffix, calls, "GET" + std::to_string(count), request,
            count == 1 ? std::function<bool()>(Get) : [array] { return array->Get(); });
    }

    // One shape on raw libdbus and on the library.
    void Add(const std::string& name, int calls, const std::string& member, const std::string& request,
             std::function<bool()> library) {
        cases.push_back({"raw_" + name, calls,
                         [this, member, request] { return bench::Call(raw, member.c_str(), request); }});
        cases.push_back({"library_" + name, calls, std::move(library)});
    }

    bench::TRelay relay; // forks, so it comes first
    DBusConnection* raw;
    std::vector<TCase> cases;
};

// Calls of each thread within the time; none for a thread of which a call failed.
std::vector<long> CallsOfThreads(int count, double seconds) {
    std::vector<long> calls(static_cast<std::size_t>(count));
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (long& own : calls) {
        threads.emplace_back([&own, &go, seconds] {
            while (!go) {
                std::this_thread::yield();
            }
            const auto end = bench::TClock::now() + std::chrono::duration<double>(seconds);
            long done = 0;
            while (bench::TClock::now() < end && Get()) {
                ++done;
            }
            own = done;
        });
    }
    go = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    return calls;
}

void PrintList(const std::vector<long>& numbers) {
    std::fputs("[", stdout);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        std::printf("%s%ld", i == 0 ? "" : ", ", numbers[i]);
    }
    std::fputs("]", stdout);
}

void Threads(double seconds) {
    std::printf("{\"seconds\": %g", seconds);
    for (const int count : {1, 4, 8}) {
        std::fprintf(stderr, "  %d threads\n", count);
        std::printf(", \"%d\": ", count);
        PrintList(CallsOfThreads(count, seconds));
    }
    std::puts("}");
}

void Load(double seconds) {
    std::fputs("{\"calls\": ", stdout);
    PrintList(CallsOfThreads(1, seconds));
    std::puts("}");
}

void Beside(double seconds) {
    (void)CallsOfThreads(1, seconds / 4);
    const long alone = CallsOfThreads(1, seconds).front();
    std::atomic<bool> stop{false};
    long slowCalls = 0;
    std::thread slow([&] {
        while (!stop) {
            TZeltoIpc::TMethodSettings settings{};
            settings.serverId = "SLOW";
            settings.timeout = -1;
            std::string answer;
            slowCalls += getZeltoIpcInstance()->CallMethod("SLOW", "", answer, settings) == 0 ? 1 : 0;
        }
    });
    const long beside = CallsOfThreads(1, seconds).front();
    stop = true;
    slow.join();
    std::printf("{\"alone\": %ld, \"beside\": %ld, \"slow_calls\": %ld}\n", alone, beside, slowCalls);
}

bool File(const std::string& action, const std::string& source, const std::string& target) {
    std::string content;
    const auto begin = bench::TClock::now();
    if (action == "copy") {
        return ZeltoFileUtils::CopyFile(source, target);
    }
    const bool isRead = ZeltoFileUtils::ReadFile(source, content);
    if (action == "read") {
        return isRead && !content.empty();
    }
    const auto middle = bench::TClock::now();
    const bool isWritten = ZeltoFileUtils::WriteFile(target, content, false);
    // Only the writing counts; the reading before it is told apart.
    std::printf("{\"read\": %lld, \"write\": %lld}\n", static_cast<long long>((middle - begin).count()),
                static_cast<long long>((bench::TClock::now() - middle).count()));
    return isWritten;
}

} // namespace

int main(int argc, char** argv) {
    const std::string role = argc > 2 ? argv[1] : "";
    if (role == "file") {
        return argc > 4 && File(argv[2], argv[3], argv[4]) ? 0 : 1;
    }
    if (role == "calls") {
        TCalls calls;
        if (!calls.Run(std::atoi(argv[2]))) {
            return 1;
        }
        calls.Print();
        std::fflush(stdout);
        std::_Exit(0);
    }
    const double seconds = argc > 2 ? std::atof(argv[2]) : 1;
    zeltoAppLibInitWithString(("BENCH_" + std::to_string(::getpid())).c_str());
    if (role == "threads") {
        Threads(seconds);
    } else if (role == "beside") {
        Beside(seconds);
    } else {
        Load(seconds);
    }
    return 0;
}
