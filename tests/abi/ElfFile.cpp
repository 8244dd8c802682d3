#include "abi/ElfFile.h"

#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace contract {

TElfFile::TElfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream whole;
    whole << file.rdbuf();
    content = whole.str();
    const auto headers = Table<ElfW(Ehdr)>(0, sizeof(ElfW(Ehdr)));
    const ElfW(Ehdr)& header = headers.front();
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
        throw std::runtime_error(path + " is no library");
    }
    segments = Table<ElfW(Phdr)>(header.e_phoff, header.e_phnum * sizeof(ElfW(Phdr)));
    sections = Table<ElfW(Shdr)>(header.e_shoff, header.e_shnum * sizeof(ElfW(Shdr)));
}

template <typename T>
std::vector<T> TElfFile::Table(size_t offset, size_t size) const {
    if (size < sizeof(T) || offset > content.size() || size > content.size() - offset) {
        throw std::runtime_error("the file ends too early");
    }
    std::vector<T> table(size / sizeof(T));
    std::memcpy(table.data(), content.data() + offset, table.size() * sizeof(T));
    return table;
}

const ElfW(Shdr) & TElfFile::Section(ElfW(Word) type) const {
    for (const ElfW(Shdr) & section : sections) {
        if (section.sh_type == type) {
            return section;
        }
    }
    throw std::runtime_error("a section is missing");
}

std::string TElfFile::Text(const ElfW(Shdr) & strings, size_t offset) const {
    return content.c_str() + strings.sh_offset + offset;
}

std::vector<ElfW(Xword)> TElfFile::Dynamic(ElfW(Sxword) tag) const {
    const ElfW(Shdr)& section = Section(SHT_DYNAMIC);
    std::vector<ElfW(Xword)> values;
    for (const ElfW(Dyn) & entry : Table<ElfW(Dyn)>(section.sh_offset, section.sh_size)) {
        if (entry.d_tag == tag && tag != DT_NULL) {
            values.push_back(entry.d_un.d_val);
        }
    }
    return values;
}

std::vector<std::string> TElfFile::DynamicTexts(ElfW(Sxword) tag) const {
    const ElfW(Shdr)& strings = sections.at(Section(SHT_DYNAMIC).sh_link);
    std::vector<std::string> texts;
    for (const ElfW(Xword) value : Dynamic(tag)) {
        texts.push_back(Text(strings, static_cast<size_t>(value)));
    }
    return texts;
}

std::vector<TDynamicSymbol> TElfFile::Symbols() const {
    const ElfW(Shdr)& section = Section(SHT_DYNSYM);
    const ElfW(Shdr)& strings = sections.at(section.sh_link);
    std::vector<TDynamicSymbol> symbols;
    for (const ElfW(Sym) & symbol : Table<ElfW(Sym)>(section.sh_offset, section.sh_size)) {
        // The macros are the same for both word sizes.
        symbols.push_back(
            {Text(strings, symbol.st_name), symbol.st_value, static_cast<size_t>(symbol.st_size),
             static_cast<unsigned char>(ELF32_ST_TYPE(symbol.st_info)),
             static_cast<unsigned char>(ELF32_ST_BIND(symbol.st_info)), symbol.st_shndx != SHN_UNDEF});
    }
    return symbols;
}

std::vector<ElfW(Word)> TElfFile::SegmentFlags(ElfW(Word) type) const {
    std::vector<ElfW(Word)> flags;
    for (const ElfW(Phdr) & segment : segments) {
        if (segment.p_type == type) {
            flags.push_back(segment.p_flags);
        }
    }
    return flags;
}

} // namespace contract
