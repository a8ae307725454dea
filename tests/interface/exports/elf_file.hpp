// The dynamic part of a 64-bit ELF file: symbols and dynamic entries.
#pragma once

#include <elf.h>

#include <cstdint>
#include <string>
#include <vector>

namespace quorrin::test {

struct DynamicSymbol {
    std::string name;
    std::uint64_t size;
    unsigned type;     // STT_FUNC, STT_OBJECT, ...
    unsigned binding;  // STB_GLOBAL, STB_WEAK, ...
    bool defined;
};

struct ElfFile {
    std::vector<DynamicSymbol> symbols;
    std::vector<std::string> needed;
    std::string soname;
    std::uint64_t flags = 0;                       // DT_FLAGS
    std::uint64_t flags_1 = 0;                     // DT_FLAGS_1
    bool bind_now = false;                         // DT_BIND_NOW
    std::vector<std::string> bound_at_first_call;  // symbols of the procedure linkage table
    std::vector<std::string> bound_at_load;        // symbols of all other relocations
    bool symbolic = false;                         // DT_SYMBOLIC

    // The symbol of that name, or null.
    const DynamicSymbol* symbol(const std::string& name) const;
};

// Throws when the file cannot be read or is not what it should be.
ElfFile read_elf_file(const std::string& path);

}  // namespace quorrin::test
