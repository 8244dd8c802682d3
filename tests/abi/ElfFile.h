// What the loader sees of a shared library of this program's own word size.
#ifndef ZELTO_TESTS_ELF_FILE_H
#define ZELTO_TESTS_ELF_FILE_H

#include <cstddef>
#include <string>
#include <vector>

#include <link.h>

namespace contract {

struct TDynamicSymbol {
    std::string name;
    ElfW(Addr) value;
    size_t size;
    unsigned char type; // STT_...
    unsigned char bind; // STB_...
    bool defined;
};

class TElfFile {
public:
    // Raises std::runtime_error when the file cannot be read.
    explicit TElfFile(const std::string& path);

    // The values of all dynamic entries with a tag.
    std::vector<ElfW(Xword)> Dynamic(ElfW(Sxword) tag) const;
    // The same for entries whose value is a place in the table of texts.
    std::vector<std::string> DynamicTexts(ElfW(Sxword) tag) const;
    std::vector<TDynamicSymbol> Symbols() const;
    // The flags of the program headers of a type.
    std::vector<ElfW(Word)> SegmentFlags(ElfW(Word) type) const;

private:
    template <typename T>
    std::vector<T> Table(size_t offset, size_t size) const;
    const ElfW(Shdr) & Section(ElfW(Word) type) const;
    std::string Text(const ElfW(Shdr) & strings, size_t offset) const;

    std::string content;
    std::vector<ElfW(Phdr)> segments;
    std::vector<ElfW(Shdr)> sections;
};

} // namespace contract

#endif
