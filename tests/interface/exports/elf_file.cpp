#include "tests/interface/exports/elf_file.hpp"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace quorrin::test {
namespace {

// The bytes of a file; every access is checked against its end.
class FileImage {
  public:
    explicit FileImage(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(file), {});
        if (!file || bytes_.empty()) {
            throw std::runtime_error("cannot read " + path);
        }
    }

    template <typename Record>
    Record record(std::uint64_t offset) const {
        if (offset > bytes_.size() || sizeof(Record) > bytes_.size() - offset) {
            throw std::runtime_error("record beyond the end of the file");
        }
        Record record;
        std::memcpy(&record, bytes_.data() + offset, sizeof record);
        return record;
    }

    template <typename Record>
    std::vector<Record> records(const Elf64_Shdr& section) const {
        std::vector<Record> records;
        for (std::uint64_t at = 0; at < section.sh_size; at += sizeof(Record)) {
            records.push_back(record<Record>(section.sh_offset + at));
        }
        return records;
    }

    std::string text(const Elf64_Shdr& table, std::uint64_t offset) const {
        const std::uint64_t start = table.sh_offset + offset;
        const auto end = start < bytes_.size() ? bytes_.find('\0', start) : std::string::npos;
        if (end == std::string::npos) {
            throw std::runtime_error("text beyond the end of the file");
        }
        return bytes_.substr(start, end - start);
    }

  private:
    std::string bytes_;
};

}  // namespace

const DynamicSymbol* ElfFile::symbol(const std::string& name) const {
    for (const DynamicSymbol& symbol : symbols) {
        if (symbol.name == name) {
            return &symbol;
        }
    }
    return nullptr;
}

ElfFile read_elf_file(const std::string& path) {
    const FileImage image(path);
    const auto header = image.record<Elf64_Ehdr>(0);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_machine != EM_X86_64) {
        throw std::runtime_error(path + " is no x86-64 ELF file");
    }
    std::vector<Elf64_Shdr> sections;
    for (unsigned i = 0; i < header.e_shnum; ++i) {
        sections.push_back(image.record<Elf64_Shdr>(header.e_shoff + i * header.e_shentsize));
    }

    ElfFile elf;
    for (const Elf64_Shdr& section : sections) {
        if (section.sh_type == SHT_DYNSYM) {
            const Elf64_Shdr& names = sections.at(section.sh_link);
            for (const auto& entry : image.records<Elf64_Sym>(section)) {
                elf.symbols.push_back({image.text(names, entry.st_name), entry.st_size,
                                       static_cast<unsigned>(ELF64_ST_TYPE(entry.st_info)),
                                       static_cast<unsigned>(ELF64_ST_BIND(entry.st_info)),
                                       entry.st_shndx != SHN_UNDEF});
            }
        }
        if (section.sh_type == SHT_DYNAMIC) {
            const Elf64_Shdr& names = sections.at(section.sh_link);
            for (const auto& entry : image.records<Elf64_Dyn>(section)) {
                switch (entry.d_tag) {
                    case DT_NEEDED:
                        elf.needed.push_back(image.text(names, entry.d_un.d_val));
                        break;
                    case DT_SONAME:
                        elf.soname = image.text(names, entry.d_un.d_val);
                        break;
                    case DT_FLAGS:
                        elf.flags = entry.d_un.d_val;
                        break;
                    case DT_FLAGS_1:
                        elf.flags_1 = entry.d_un.d_val;
                        break;
                    case DT_BIND_NOW:
                        elf.bind_now = true;
                        break;
                    case DT_SYMBOLIC:
                        elf.symbolic = true;
                        break;
                    default:
                        break;
                }
            }
        }
    }
    for (const Elf64_Shdr& section : sections) {
        if (section.sh_type == SHT_RELA) {
            for (const auto& entry : image.records<Elf64_Rela>(section)) {
                const bool at_first_call = ELF64_R_TYPE(entry.r_info) == R_X86_64_JUMP_SLOT;
                (at_first_call ? elf.bound_at_first_call : elf.bound_at_load)
                    .push_back(elf.symbols.at(ELF64_R_SYM(entry.r_info)).name);
            }
        }
    }
    if (elf.symbols.empty()) {
        throw std::runtime_error(path + " has no dynamic symbols");
    }
    return elf;
}

}  // namespace quorrin::test
