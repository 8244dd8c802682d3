#include "abi/AbiLists.h"

#include "abi/ElfFile.h"

#include "zelto/TZeltoIpc.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <stdexcept>

#include <dlfcn.h>

namespace contract {

namespace {

constexpr const char* TABLE_PREFIX = "_ZTV";

Dl_info LibraryInfo() {
    (void)getZeltoIpcInstance(); // a call, or the linker would leave the library out
    Dl_info info{};
    void* address = dlsym(RTLD_DEFAULT, "_Z19getZeltoIpcInstancev");
    if (address == nullptr || dladdr(address, &info) == 0) {
        throw std::runtime_error("the library is not loaded");
    }
    return info;
}

bool IsExported(const TDynamicSymbol& symbol) {
    return symbol.defined && symbol.bind != STB_LOCAL && !symbol.name.empty();
}

std::string SymbolLine(const TDynamicSymbol& symbol) {
    if (symbol.type == STT_OBJECT) {
        return symbol.name + " object " + std::to_string(symbol.size);
    }
    return symbol.name + (symbol.type == STT_FUNC ? " function" : " of another kind");
}

// The words of the loaded library by what they point to.
class TNames {
public:
    explicit TNames(const std::vector<TDynamicSymbol>& symbols)
        : base(reinterpret_cast<uintptr_t>(LibraryInfo().dli_fbase)) {
        for (const TDynamicSymbol& symbol : symbols) {
            std::string& name = names[base + symbol.value];
            if (IsExported(symbol) && (name.empty() || symbol.name < name)) {
                name = symbol.name; // of the two names of a destructor always the same one
            }
        }
    }

    uintptr_t Base() const { return base; }

    std::string Of(uintptr_t word) const {
        const auto found = names.find(word);
        if (found != names.end() && !found->second.empty()) {
            return found->second;
        }
        Dl_info info{};
        if (dladdr(reinterpret_cast<void*>(word), &info) != 0) {
            return info.dli_sname == nullptr ? "(hidden)" : info.dli_sname;
        }
        return std::to_string(static_cast<intptr_t>(word));
    }

private:
    uintptr_t base;
    std::map<uintptr_t, std::string> names;
};

} // namespace

std::string LibraryPath() {
    return LibraryInfo().dli_fname;
}

TLines SymbolLines() {
    TLines lines;
    for (const TDynamicSymbol& symbol : TElfFile(LibraryPath()).Symbols()) {
        if (IsExported(symbol)) {
            lines.push_back(SymbolLine(symbol));
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

TLines SlotLines() {
    std::vector<TDynamicSymbol> symbols = TElfFile(LibraryPath()).Symbols();
    const TNames names(symbols);
    std::sort(symbols.begin(), symbols.end(),
              [](const TDynamicSymbol& a, const TDynamicSymbol& b) { return a.name < b.name; });
    TLines lines;
    for (const TDynamicSymbol& symbol : symbols) {
        if (!IsExported(symbol) || symbol.name.rfind(TABLE_PREFIX, 0) != 0) {
            continue;
        }
        const auto* words = reinterpret_cast<const uintptr_t*>(names.Base() + symbol.value);
        for (size_t index = 0; index < symbol.size / sizeof(uintptr_t); ++index) {
            lines.push_back(symbol.name + " " + std::to_string(index) + " " + names.Of(words[index]));
        }
    }
    return lines;
}

} // namespace contract
