#include "ipc/DBusCalls.h"

#include "ipc/DBusNames.h"
#include "ipc/DBusPrivate.h"
#include "utils/Log.h"

#include <cstring>
#include <utility>

using namespace zelto;

namespace {

constexpr const char* CALL_FAILURE = "dbus_connection_send_with_reply failed";
constexpr const char* SEND_FAILURE = "dbus_connection_send failed";
// The text of the answer that libdbus makes up when none comes; log readers know it.
constexpr const char* NO_ANSWER =
    "Did not receive a reply. Possible causes include: the remote application did not send a reply, the "
    "message bus security policy blocked the reply, the reply timeout expired, or the network connection was "
    "broken.";
constexpr int32_t EVENT_FLUSH_MS = 1000;
// A message is looked at no further than this.
constexpr int MAX_ARGUMENTS = 3;

// While a dispatch thread waits on a link, stopping its run wakes it there.
class TWaitScope {
public:
    TWaitScope(TRun* waitingRun, const std::shared_ptr<TBusLink>& link) : run(waitingRun) {
        if (run != nullptr) {
            run->SetWaiting(link);
        }
    }
    ~TWaitScope() {
        if (run != nullptr) {
            run->SetWaiting(nullptr);
        }
    }
    TWaitScope(const TWaitScope&) = delete;
    TWaitScope& operator=(const TWaitScope&) = delete;

private:
    TRun* const run;
};

void AppendText(DBusMessage* message, const std::string& text) {
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message, &arguments);
    const char* const value = text.c_str();
    if (dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &value) == FALSE) {
        Fail("dbus_message_iter_append_basic failed");
    }
}

// What is missing reads as its default, so a call may fail without the server having said so. An answer
// without any argument is told of by whoever reads it.
void LogOddAnswer(const std::string& method, DBusMessage* answer) {
    const char* const signature = dbus_message_get_signature(answer);
    if (*signature != '\0' && std::strcmp(signature, "si") != 0) {
        qvLogging_log(LOG_LEVEL_NOTICE, "\"The answer to '%s' is '%s' instead of a text and a code.\"",
                      method.c_str(), signature);
    }
}

} // namespace

namespace zelto {

TMessageHandle Exchange(const std::shared_ptr<TBusLink>& link, DBusMessage* call,
                        TClock::time_point deadline) {
    TRun* const run = TRun::OfThisThread();
    const TWaitScope waitScope(run, link);
    const TPendingCallHandle pending = link->client.SendCall(call);
    if (!pending) {
        Fail(CALL_FAILURE);
    }
    return link->client.WaitForAnswer(pending.get(), deadline, run);
}

std::string FirstText(DBusMessage* message) {
    DBusMessageIter argument;
    int type = dbus_message_iter_init(message, &argument) == FALSE
                   ? DBUS_TYPE_INVALID
                   : dbus_message_iter_get_arg_type(&argument);
    while (type != DBUS_TYPE_INVALID && type != DBUS_TYPE_STRING) {
        (void)dbus_message_iter_next(&argument);
        type = dbus_message_iter_get_arg_type(&argument);
    }
    const char* text = "";
    if (type == DBUS_TYPE_STRING) {
        dbus_message_iter_get_basic(&argument, &text);
    }
    return text;
}

} // namespace zelto

int TZeltoDBus::CallMethod(const std::string& method, const std::string& request, std::string& result) {
    std::string serverId;
    GetMethodServerId(method, serverId);
    if (serverId.empty()) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"No server ID provided for '%s' method!\"", method.c_str());
        return -1;
    }
    TMethodSettings settings{std::move(serverId), -1};
    return CallMethod(method, request, result, settings);
}

int TZeltoDBus::CallMethod(const std::string& method, const std::string& request, std::string& result,
                           TMethodSettings& settings) {
    const int32_t timeoutMs =
        settings.timeout == -1 ? methodTimeoutMs : SecondsToMilliseconds(settings.timeout);
    qvLogging_log(LOG_LEVEL_DEBUG, "\"%s\"", request.c_str());
    std::string serverId = settings.serverId;
    if (serverId.empty()) {
        GetMethodServerId(method, serverId);
    }
    if (serverId.empty()) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"No server ID provided for '%s' method!\"", method.c_str());
        return -1;
    }
    RequireIdentity(serverId);
    RequireMember("method", method);
    RequireText("request", method, request);
    const TPrivate::TLinkRef link = own->RequireLink(CALL_FAILURE);
    const TBusMessage call(dbus_message_new_method_call((BUS_NAME_PREFIX + serverId).c_str(),
                                                        (OBJECT_PATH_PREFIX + serverId).c_str(),
                                                        interfaceName.c_str(), method.c_str()));
    AppendText(call(), request);
    const TMessageHandle answer = Exchange(link, call(), DeadlineAfter(timeoutMs));
    if (link->client.IsLost()) {
        own->LoseLink(link);
    }
    return ReadAnswer(method, answer.get(), result);
}

int TZeltoDBus::ReadAnswer(const std::string& method, DBusMessage* answer, std::string& result) {
    if (answer == nullptr) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", NO_ANSWER);
        return -1;
    }
    if (dbus_message_get_type(answer) != DBUS_MESSAGE_TYPE_METHOD_RETURN) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", FirstText(answer).c_str());
        return -1;
    }
    LogOddAnswer(method, answer);
    int32_t code = -1;
    GetMessageValue(answer, result, &code);
    return code;
}

void TZeltoDBus::SendEvent(const std::string& eventName, const std::string& eventData) {
    own->RequireOwnProcess(); // before any lock, which a thread of the parent may have held at the fork
    const TPrivate::TNamesRef names = own->GetNames();
    qvLogging_log(LOG_LEVEL_DEBUG, "\"'%s' '%s' '%s'\"", names->objectPath.c_str(), interfaceName.c_str(),
                  eventName.c_str());
    RequireMember("event", eventName);
    RequireText("data", eventName, eventData);
    const TPrivate::TLinkRef link = own->RequireLink(SEND_FAILURE);
    const TPrivate::TNamesRef sender = own->GetNames();
    if (dbus_validate_path(sender->objectPath.c_str(), nullptr) == FALSE) {
        Fail(SEND_FAILURE); // an Init on another thread has failed meanwhile
    }
    const TBusMessage event(
        dbus_message_new_signal(sender->objectPath.c_str(), interfaceName.c_str(), eventName.c_str()));
    AppendText(event(), eventData);
    TRun* const run = TRun::OfThisThread();
    const TWaitScope waitScope(run, link);
    const bool isSent = link->client.Send(event(), DeadlineAfter(EVENT_FLUSH_MS), run);
    if (link->client.IsLost()) {
        own->LoseLink(link);
    } else if (link->client.IsStalled()) {
        own->WakeDispatch();
    }
    if (!isSent) {
        Fail(SEND_FAILURE);
    }
}

void TZeltoDBus::GetMessageValue(DBusMessage* message, std::string& text, int32_t* code) {
    text.clear();
    if (message == nullptr || code == nullptr) {
        return;
    }
    *code = -1;
    DBusMessageIter argument;
    if (dbus_message_iter_init(message, &argument) == FALSE) {
        qvLogging_log(LOG_LEVEL_NOTICE, "\"Message has no parameters.\"");
        return;
    }
    for (int position = 0; position < MAX_ARGUMENTS; ++position) {
        const int type = dbus_message_iter_get_arg_type(&argument);
        if (type == DBUS_TYPE_STRING) {
            const char* value = nullptr;
            dbus_message_iter_get_basic(&argument, &value);
            text = value;
        } else if (type == DBUS_TYPE_INT32) {
            dbus_message_iter_get_basic(&argument, code);
        }
        (void)dbus_message_iter_next(&argument);
    }
}
