// chaos_manager GENERATION: a manager whose answers can be told right from wrong.
//
//   Device.Load.Echo.N.Text    "echo N"
//   Device.Load.Slot.N.Value   what was written to it, behind the generation; changes are announced
//
// Serves until its input ends.

#include "zelto/TZeltoIpc.h"
#include "zelto/ZeltoPlatformLib.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>

#include <poll.h>
#include <unistd.h>

namespace {

constexpr int RETRY_MS = 100;

std::string generation;
std::map<int32_t, std::string> slots; // one request is served at a time

int32_t Answer(tZeltoPlatformRequest& request, const std::string& value) {
    if (value.size() >= ZELTO_TEXT_SIZE) {
        return PLT_FAILURE;
    }
    std::strcpy(request.value, value.c_str());
    return PLT_SUCCESS;
}

int32_t GetEcho(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    return request.indexCount == 1 ? Answer(request, "echo " + std::to_string(request.indices[0]))
                                   : PLT_INVALID_ARGUMENT;
}

int32_t GetSlot(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    if (request.indexCount != 1) {
        return PLT_INVALID_ARGUMENT;
    }
    const auto found = slots.find(request.indices[0]);
    return Answer(request, generation + (found == slots.end() ? "" : " " + found->second));
}

int32_t SetSlot(void* record) {
    const auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    if (request.indexCount != 1) {
        return PLT_INVALID_ARGUMENT;
    }
    slots[request.indices[0]] = request.longValue;
    return PLT_SUCCESS;
}

// False at the end of the input.
bool Wait(int timeoutMs) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    return poll(&input, 1, timeoutMs) == 0;
}

bool WaitForBus() {
    do {
        try {
            getZeltoIpcInstance()->Init("ZELTO_DISPATCHER");
            return true;
        } catch (const std::runtime_error&) {
            // Logged. The bus may be away when a manager starts.
        }
    } while (Wait(RETRY_MS));
    return false;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        (void)std::fprintf(stderr, "usage: chaos_manager GENERATION\n");
        return 2;
    }
    generation = argv[1];
    if (WaitForBus()) {
        const tZeltoPltFunctionTable entries[] = {
            {"Device.Load.Echo.{i}.Text", 0, "echo", false, {{PLT_REQUEST_GET_PARAM, GetEcho}}},
            {"Device.Load.Slot.{i}.Value",
             0,
             "slot",
             true,
             {{PLT_REQUEST_GET_PARAM, GetSlot}, {PLT_REQUEST_SET_PARAM, SetSlot}}},
        };
        const tZeltoPlatformLibTable table{entries, sizeof(entries) / sizeof(entries[0]), nullptr};
        zeltoPlatformLibInit(&table);
        (void)Wait(-1);
        zeltoPlatformLibTerm();
        getZeltoIpcInstance()->Stop();
    }
    return 0;
}
