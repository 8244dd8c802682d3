// The names that make up the wire protocol, and the checks that a text must pass before libdbus sees it:
// libdbus ends the process over a malformed one.
#ifndef ZELTO_IPC_DBUS_NAMES_H
#define ZELTO_IPC_DBUS_NAMES_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zelto {

constexpr const char* BUS_NAME_PREFIX = "com.Ulmet.Zelto.";
constexpr std::size_t BUS_NAME_PREFIX_LENGTH = 16;
constexpr const char* OBJECT_PATH_PREFIX = "/com/Ulmet/Zelto/";
constexpr const char* INTERFACE_NAME = "com.Ulmet.Zelto.Zelto";
constexpr const char* MATCH_RULE = "interface='com.Ulmet.Zelto.Zelto'";
// A party that releases its name releases this one of its client connection as well.
constexpr const char* CLIENT_NAME_SUFFIX = "_CLIENT";
constexpr const char* WAKE_UP_MEMBER = "Disconnected";

constexpr std::size_t MAX_IDENTITY_LENGTH = 200;

// Letters, digits and '_', not beginning with a digit: an element of both a bus name and an object path.
bool IsIdentity(const std::string& text);

// Each logs and throws std::runtime_error that names the text and the rule it breaks.
void RequireIdentity(const std::string& text);
// `what` says what the member is: "method" or "event".
void RequireMember(const char* what, const std::string& text);
// UTF-8 and not too long. `what` says what the text is, `name` which one; the text itself is not shown.
void RequireText(const char* what, const std::string& name, const std::string& text);
// What RequireText would complain about; empty when it would not, and then without a need for memory.
std::string TextFault(const char* what, std::string_view name, const std::string& text);

// Logs `text` at error level and throws it.
[[noreturn]] void Fail(const std::string& text);

} // namespace zelto

#endif
