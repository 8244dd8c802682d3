#include "Log.h"

#include <unistd.h>

namespace remoted {

void Log(const std::string& line) {
    const std::string whole = "zelto-remoted: " + line + "\n";
    // In one call, so that lines of several threads do not mix. There is nobody to tell of a failure.
    (void)!write(STDERR_FILENO, whole.data(), whole.size());
}

} // namespace remoted
