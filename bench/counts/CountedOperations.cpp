// Runs one operation of the library once, without a bus, for bench/counts/check_counts to count its
// instructions. The library's sources are compiled in, with a transport that answers from a text.
//
//   zelto_counted_operations NAME    the operation NAME, once to warm up and once to be counted; prints its
//   allocations zelto_counted_operations         lists the names

#include "zelto/TZeltoIpc.h"
#include "zelto/ZeltoAppLib.h"
#include "zelto/ZeltoPlatformLib.h"
#include "zelto/ZeltoPlatformOps.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

namespace {

int allocations = 0;

constexpr int BATCH_SIZE = 1000;
constexpr const char* VALUE = "living-room";

std::string NameOf(int instance) {
    return "Device.Hosts.Host." + std::to_string(instance) + ".HostName";
}

// A transport without a bus: a call is answered with the text that is set, an event goes nowhere.
class TAnsweringIpc : public TZeltoIpc {
public:
    void Run() override {}
    void SendEvent(const std::string& /*eventName*/, const std::string& /*eventData*/) override {}
    int CallMethod(const std::string& /*method*/, const std::string& /*request*/,
                   std::string& result) override {
        result = answer;
        return 0;
    }
    int CallMethod(const std::string& method, const std::string& request, std::string& result,
                   TMethodSettings& /*settings*/) override {
        return CallMethod(method, request, result);
    }
    using TZeltoIpc::OnEvent;

    std::string answer;

protected:
    void MainLoop() override {}
};

TAnsweringIpc& Ipc() {
    static TAnsweringIpc instance;
    return instance;
}

int32_t Get(void* request) {
    std::strcpy(static_cast<tZeltoPlatformRequest*>(request)->value, VALUE);
    return PLT_SUCCESS;
}

int32_t Set(void* /*request*/) {
    return PLT_SUCCESS;
}

void OnChange(const char* /*name*/, const char* /*value*/) {}

std::string Entries(int count, bool withValues) {
    std::string text = "{\"PARAMS\": [";
    for (int i = 1; i <= count; ++i) {
        text += (i == 1 ? "{\"NAME\": \"" : ", {\"NAME\": \"") + NameOf(i) + '"';
        text += withValues ? std::string(", \"VALUE\": \"") + VALUE + "\"}" : "}";
    }
    return text + "]}";
}

template <std::size_t Size>
void Fill(char (&field)[Size], const std::string& text) {
    std::snprintf(field, Size, "%s", text.c_str());
}

// Everything that the operations need, made before any of them is counted.
struct TInputs {
    TInputs() {
        Fill(get.param.name, NameOf(7));
        Fill(set.name, NameOf(7));
        Fill(set.value, VALUE);
        Fill(event.name, NameOf(7));
        Fill(event.value, VALUE);
        PrepareBatch();
    }
    ~TInputs() { zeltoAppLibReleaseParamArray(&batch); }
    TInputs(const TInputs&) = delete;
    TInputs& operator=(const TInputs&) = delete;

    void PrepareBatch() {
        zeltoAppLibAllocateParamArray(&batch, BATCH_SIZE);
        for (int i = 0; i < BATCH_SIZE; ++i) {
            Fill(batch.params[i].name, NameOf(i + 1));
        }
    }

    tZeltoParamRequest get{};
    tZeltoParam set{};
    tZeltoParamArray batch{};
    tZeltoPltDataModelEvent event{};
    std::string getBody = "{\"NAME\": \"" + NameOf(7) + "\"}";
    std::string setBody =
        "{\"NAME\": \"" + NameOf(7) + "\", \"VALUE\": \"" + VALUE + "\", \"COMMIT\": false}";
    std::string batchBody = Entries(BATCH_SIZE, false);
    std::string eventBody =
        "{\"DATA_MODEL_NAME\": \"" + NameOf(7) + "\", \"DATA_MODEL_VALUE\": \"" + VALUE + "\"}";
    std::string eventName = "DATA_MODEL_CHANGED";
};

bool Serve(const char* method, const std::string& body) {
    char* answer = nullptr;
    const int code = zeltoPlatformMethodsHandler(method, body.c_str(), &answer);
    zeltoPlatformDealloc(answer);
    return code == 0;
}

struct TOperation {
    const char* name;
    bool (*run)(TInputs& inputs);
    int answered; // entries in the answer of the manager
};

constexpr TOperation OPERATIONS[] = {
    {"app_get", [](TInputs& in) { return zeltoAppLibGetParam(&in.get) == ZELTO_APP_OK; }, 1},
    {"app_set", [](TInputs& in) { return zeltoAppLibSetParam(&in.set, false) == ZELTO_APP_OK; }, 1},
    {"app_batch", [](TInputs& in) { return zeltoAppLibGetParamArray(&in.batch) == ZELTO_APP_OK; },
     BATCH_SIZE},
    {"app_event", [](TInputs& in) { return Ipc().OnEvent(in.eventName, in.eventBody), true; }, 1},
    {"platform_get", [](TInputs& in) { return Serve("GET_PARAM", in.getBody); }, 1},
    {"platform_set", [](TInputs& in) { return Serve("SET_PARAM", in.setBody); }, 1},
    {"platform_batch", [](TInputs& in) { return Serve("GET_PARAM_ARRAY", in.batchBody); }, 1},
    {"platform_event",
     [](TInputs& in) { return zeltoPlatformLibSendEvent(PLT_EVENT_DATA_MODEL_CHANGED, &in.event), true; }, 1},
};

void Start() {
    tZeltoPltFunctionTable entry{"Device.Hosts.Host.{i}.HostName", 0, "bench", false, {}};
    entry.handlers[0] = {PLT_REQUEST_GET_PARAM, Get};
    entry.handlers[1] = {PLT_REQUEST_SET_PARAM, Set};
    const tZeltoPlatformLibTable table{&entry, 1, nullptr};
    zeltoPlatformLibInit(&table);
    zeltoAppLibInitWithString("COUNTED");
    zeltoAppLibSubscribe(nullptr, OnChange);
}

} // namespace

TZeltoIpc* getZeltoIpcInstance() {
    return &Ipc();
}

TZeltoIpc* newZeltoIpcInstance() {
    return new TAnsweringIpc;
}

// The name by which callgrind knows when to count.
extern "C" __attribute__((noinline)) bool Counted(const TOperation& operation, TInputs& inputs) {
    return operation.run(inputs);
}

void* operator new(std::size_t size) {
    ++allocations;
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

bool Run(const TOperation& operation) {
    Start();
    TInputs inputs;
    Ipc().answer = Entries(operation.answered, true);
    if (!operation.run(inputs)) {
        return false;
    }
    allocations = 0;
    const bool done = Counted(operation, inputs);
    std::printf("%d\n", allocations);
    return done;
}

} // namespace

int main(int argc, char** argv) {
    for (const TOperation& operation : OPERATIONS) {
        if (argc < 2) {
            std::puts(operation.name);
        } else if (std::strcmp(argv[1], operation.name) == 0) {
            return Run(operation) ? 0 : 1;
        }
    }
    return argc < 2 ? 0 : 2;
}
