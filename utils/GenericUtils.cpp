#include "zelto/ZeltoGenericUtils.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>

#include <cxxabi.h>
#include <sys/sysinfo.h>

namespace ZeltoGenericUtils {

namespace {

constexpr int BASE = 10;

// Reaching the end is the only measure of success: callers rely on the empty text being 0 and on numbers out
// of range being clamped.
template <typename TNumber, typename TConversion>
bool Convert(const std::string& text, TNumber& value, TConversion convert) {
    char* end = nullptr;
    value = convert(text.c_str(), &end, BASE);
    return end == text.c_str() + text.size();
}

struct TFree {
    void operator()(char* text) const { std::free(text); }
};

} // namespace

std::string TimeToLocalTimeString(const long& seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm local{};
    // localtime() with a result of our own: it reads TZ at every call, which localtime_r() alone does not.
    ::tzset();
    if (::localtime_r(&time, &local) == nullptr) {
        return {};
    }
    char buffer[50];
    return std::string(buffer, std::strftime(buffer, sizeof buffer, "%a, %d %b %Y %H:%M:%S %Z", &local));
}

// strtol() of a machine whose long has 32 bits, on every machine.
bool StringToInteger(const std::string& text, int& value) {
    long long wide = 0;
    const bool consumed = StringToInteger(text, wide);
    value = static_cast<int>(std::clamp<long long>(wide, INT32_MIN, INT32_MAX));
    if (value != wide) {
        errno = ERANGE;
    }
    return consumed;
}

bool StringToInteger(const std::string& text, long& value) {
    return Convert(text, value, std::strtol);
}

bool StringToInteger(const std::string& text, long long& value) {
    return Convert(text, value, std::strtoll);
}

// strtoul() of a machine whose long has 32 bits, on every machine: a number with a sign wraps as long as its
// digits fit, and digits that do not fit give the upper limit whatever the sign.
bool StringToInteger(const std::string& text, unsigned int& value) {
    long long wide = 0;
    const bool consumed = StringToInteger(text, wide);
    const bool fits = -static_cast<long long>(UINT32_MAX) <= wide && wide <= UINT32_MAX;
    value = fits ? static_cast<unsigned int>(wide) : UINT32_MAX;
    if (!fits) {
        errno = ERANGE;
    }
    return consumed;
}

bool StringToInteger(const std::string& text, unsigned long& value) {
    return Convert(text, value, std::strtoul);
}

bool StringToInteger(const std::string& text, unsigned long long& value) {
    return Convert(text, value, std::strtoull);
}

bool StringToBoolean(const std::string& text, bool& value) {
    std::string lower = text;
    ToLowerCase(lower);
    if (lower == "true" || lower == "1") {
        value = true;
        return true;
    }
    if (lower == "false" || lower == "0") {
        value = false;
        return true;
    }
    return false;
}

void ToLowerCase(std::string& text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
}

long GetSystemUpTime() {
    struct sysinfo info {};
    (void)::sysinfo(&info); // fails only for a bad address
    return info.uptime;
}

void PThreadCondInit(pthread_cond_t& cond) {
    // The results cannot be handed on, and on this platform none of the calls fails.
    pthread_condattr_t attributes;
    (void)::pthread_condattr_init(&attributes);
    (void)::pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    (void)::pthread_cond_init(&cond, &attributes);
    (void)::pthread_condattr_destroy(&attributes);
}

std::string DemangleTypeName(const char* mangledName) {
    if (mangledName == nullptr) {
        return {};
    }
    int status = -4;
    const std::unique_ptr<char, TFree> name(abi::__cxa_demangle(mangledName, nullptr, nullptr, &status));
    return status == 0 ? name.get() : mangledName;
}

// Finds the items of std::getline, which keeps it to itself when memory runs out.
std::vector<std::string> Split(const std::string& text, char delimiter) {
    std::vector<std::string> items;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find(delimiter, begin), text.size());
        items.emplace_back(text, begin, end - begin);
        begin = end + 1;
    }
    return items;
}

} // namespace ZeltoGenericUtils
