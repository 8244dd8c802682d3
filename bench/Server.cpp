// The answering sides of the benchmark:
//   zelto_bench_server library      a manager on the library; its handlers do no work
//   zelto_bench_server raw          raw libdbus with ready-made answers
//   zelto_bench_server slow         answers every call to com.Ulmet.Zelto.SLOW after 100 ms
// Each prints "ready" and serves until it is killed.

#include "RawDBus.h"
#include "Texts.h"

#include "zelto/ZeltoPlatformLib.h"

#include <cstring>
#include <map>

#include <unistd.h>

namespace {

constexpr int SLOW_MS = 100;

int32_t Get(void* record) {
    std::strcpy(static_cast<tZeltoPlatformRequest*>(record)->value, bench::VALUE);
    return PLT_SUCCESS;
}

int32_t GetLong(void* record) {
    auto* const request = static_cast<tZeltoPlatformRequest*>(record);
    const auto size = static_cast<std::size_t>(request->indices[0]);
    request->longValue = static_cast<char*>(std::malloc(size + 1));
    std::memset(request->longValue, 'v', size);
    request->longValue[size] = '\0';
    return PLT_SUCCESS;
}

int32_t Set(void* /*record*/) {
    return PLT_SUCCESS;
}

int32_t GetObject(void* record) {
    auto* const request = static_cast<tZeltoPlatformObjectRequest*>(record);
    for (int32_t i = 0; i < request->paramCount; ++i) {
        std::strcpy(request->params[i].value, bench::VALUE);
    }
    return PLT_SUCCESS;
}

int32_t GetIds(void* record) {
    auto* const request = static_cast<tZeltoPlatformRequest*>(record);
    int32_t numbers[bench::WILDCARD_INSTANCES + 1] = {bench::WILDCARD_INSTANCES};
    for (int32_t i = 1; i <= bench::WILDCARD_INSTANCES; ++i) {
        numbers[i] = i;
    }
    std::memcpy(request->value, numbers, sizeof(numbers));
    return PLT_SUCCESS;
}

void ServeLibrary() {
    tZeltoPltFunctionTable entries[] = {
        {"Device.Hosts.Host.{i}.HostName",
         0,
         "host",
         false,
         {{PLT_REQUEST_GET_PARAM, Get}, {PLT_REQUEST_SET_PARAM, Set}}},
        {"Device.Hosts.Host.", 0, "ids", false, {{PLT_REQUEST_GET_OBJECT_IDS, GetIds}}},
        {"Device.Bench.Long.{i}.Value", 0, "long", false, {{PLT_REQUEST_GET_PARAM, GetLong}}},
        {bench::ROOT, 0, "hosts", false, {{PLT_REQUEST_GET_OBJECT, GetObject}}},
    };
    const tZeltoPlatformLibTable table{entries, sizeof(entries) / sizeof(entries[0]), nullptr};
    zeltoPlatformLibInit(&table);
}

std::map<std::string, std::string> Answers() {
    std::map<std::string, std::string> answers{{"SET", ""}};
    for (const int count : {1, 10, 100, 1000}) {
        answers["GET" + std::to_string(count)] = bench::List(count, true);
    }
    answers["WILDCARD"] = bench::List(bench::WILDCARD_INSTANCES, true);
    answers["OBJECT"] = bench::List(bench::OBJECT_PARAMS, true);
    for (const int size : {1024, 1048576}) {
        answers["LONG" + std::to_string(size)] =
            "{\"VALUE\": \"" + std::string(static_cast<std::size_t>(size), 'v') + "\"}";
    }
    return answers;
}

DBusHandlerResult AnswerRaw(DBusConnection* connection, DBusMessage* call, void* answers) {
    if (dbus_message_get_type(call) == DBUS_MESSAGE_TYPE_METHOD_CALL) {
        const auto& texts = *static_cast<std::map<std::string, std::string>*>(answers);
        const char* const body = texts.at(dbus_message_get_member(call)).c_str();
        const dbus_int32_t code = 0;
        DBusMessage* const reply = dbus_message_new_method_return(call);
        dbus_message_append_args(reply, DBUS_TYPE_STRING, &body, DBUS_TYPE_INT32, &code, DBUS_TYPE_INVALID);
        dbus_connection_send(connection, reply, nullptr);
        dbus_message_unref(reply);
    }
    return DBUS_HANDLER_RESULT_HANDLED;
}

DBusHandlerResult AnswerSlowly(DBusConnection* connection, DBusMessage* call, void* /*unused*/) {
    if (dbus_message_get_type(call) == DBUS_MESSAGE_TYPE_METHOD_CALL) {
        ::usleep(SLOW_MS * 1000);
        const char* const body = "";
        const dbus_int32_t code = 0;
        DBusMessage* const reply = dbus_message_new_method_return(call);
        dbus_message_append_args(reply, DBUS_TYPE_STRING, &body, DBUS_TYPE_INT32, &code, DBUS_TYPE_INVALID);
        dbus_connection_send(connection, reply, nullptr);
        dbus_message_unref(reply);
    }
    return DBUS_HANDLER_RESULT_HANDLED;
}

DBusConnection* Own(const char* name, DBusHandleMessageFunction answer, void* data) {
    DBusConnection* const connection = bench::Connect();
    dbus_bus_request_name(connection, name, 0, nullptr);
    dbus_connection_add_filter(connection, answer, data, nullptr);
    return connection;
}

void Ready() {
    std::puts("ready");
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    const std::string role = argc > 1 ? argv[1] : "";
    if (role == "library") {
        ServeLibrary();
        Ready();
        for (;;) {
            ::pause();
        }
    }
    std::map<std::string, std::string> answers = Answers();
    DBusConnection* const connection = role == "raw" ? Own(bench::RAW_NAME, AnswerRaw, &answers)
                                                     : Own("com.Ulmet.Zelto.SLOW", AnswerSlowly, nullptr);
    Ready();
    while (dbus_connection_read_write_dispatch(connection, -1) != FALSE) {
    }
    return 0;
}
