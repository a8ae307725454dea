// The built library against cmake/exports.list and the public header.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <type_traits>

#include "quorrin/quorrin.h"
#include "tests/interface/exports/elf_file.hpp"

namespace quorrin::test {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::UnorderedElementsAreArray;

const std::string reader_functions[] = {"ICC_Reader_Open",        "ICC_Reader_Close",
                                        "ICC_Reader_PowerOn",     "ICC_Reader_PowerOff",
                                        "ICC_Reader_Application", "ICC_Reader_GetSerial"};

struct Export {
    std::string symbol;
    unsigned type;
    std::uint64_t size;  // of a variable, as declared
};

Export variable_row(const char* symbol, std::size_t size) {
    return {symbol, STT_OBJECT, size};
}

template <typename Function>
Export function_row(const char* symbol) {
    static_assert(std::is_function_v<Function>, "listed as a function, declared as something else");
    return {symbol, STT_FUNC, 0};
}

const std::vector<Export>& export_list() {
    static const std::vector<Export> list = {
#include "export_table.inc"
    };
    return list;
}

const ElfFile& library() {
    static const ElfFile file = read_elf_file(QUORRIN_LIBRARY_FILE);
    return file;
}

TEST(Exports, ListNamesEverySymbolOnce) {
    std::vector<std::string> symbols;
    for (const Export& row : export_list()) {
        symbols.push_back(row.symbol);
    }
    std::sort(symbols.begin(), symbols.end());
    EXPECT_EQ(std::adjacent_find(symbols.begin(), symbols.end()), symbols.end());
}

// The names that are in the first list and not in the second.
std::vector<std::string> without(std::vector<std::string> first, std::vector<std::string> second) {
    std::sort(first.begin(), first.end());
    std::sort(second.begin(), second.end());
    std::vector<std::string> difference;
    std::set_difference(first.begin(), first.end(), second.begin(), second.end(),
                        std::back_inserter(difference));
    return difference;
}

TEST(Exports, LibraryExportsTheListAndNothingElse) {
    std::vector<std::string> listed;
    for (const Export& row : export_list()) {
        listed.push_back(row.symbol);
    }
    std::vector<std::string> exported;
    for (const DynamicSymbol& symbol : library().symbols) {
        if (symbol.defined) {
            exported.push_back(symbol.name);
        }
    }
    EXPECT_THAT(without(listed, exported), IsEmpty()) << "listed, not exported";
    EXPECT_THAT(without(exported, listed), IsEmpty()) << "exported, not listed";
}

TEST(Exports, HeaderDeclaresTheListAndNothingElse) {
    const std::vector<std::string> declared = {
#include "header_rows.inc"
    };
    const std::vector<std::string> listed = {
#include "list_rows.inc"
    };
    EXPECT_THAT(without(listed, declared), IsEmpty()) << "listed, not declared";
    EXPECT_THAT(without(declared, listed), IsEmpty()) << "declared, not listed";
}

TEST(Exports, AreGlobalAndOfTheListedKindAndSize) {
    for (const Export& row : export_list()) {
        const DynamicSymbol* symbol = library().symbol(row.symbol);
        if (symbol == nullptr) {
            ADD_FAILURE() << row.symbol << " is not exported";
            continue;
        }
        EXPECT_EQ(symbol->binding, STB_GLOBAL) << row.symbol;
        EXPECT_EQ(symbol->type, row.type) << row.symbol;
        if (row.type == STT_OBJECT) {
            EXPECT_EQ(symbol->size, row.size) << row.symbol;
        }
    }
}

TEST(Exports, ReaderFunctionsStayUndefined) {
    std::vector<std::string> imported;
    for (const DynamicSymbol& symbol : library().symbols) {
        if (symbol.name.starts_with("ICC_")) {
            EXPECT_FALSE(symbol.defined) << symbol.name;
            imported.push_back(symbol.name);
        }
    }
    EXPECT_THAT(imported, UnorderedElementsAreArray(reader_functions));
}

TEST(Exports, LibraryIsKnownByItsMajorVersion) {
    EXPECT_EQ(library().soname, "libQuorrin.so.1");
}

TEST(Exports, LibraryNeedsQtCoreAndTheRuntimeOnly) {
    std::vector<std::string> allowed = {QUORRIN_QT_CORE, "libstdc++.so.6", "libm.so.6",
                                        "libgcc_s.so.1", "libc.so.6",      "ld-linux-x86-64.so.2"};
#ifdef __SANITIZE_ADDRESS__
    allowed.insert(allowed.end(), {"libasan.so.8", "libubsan.so.1"});
#endif
    for (const std::string& name : library().needed) {
        EXPECT_NE(std::find(allowed.begin(), allowed.end(), name), allowed.end()) << name;
    }
    EXPECT_NE(std::count(library().needed.begin(), library().needed.end(), QUORRIN_QT_CORE), 0);
}

class Binding : public testing::TestWithParam<const char*> {
  protected:
    const ElfFile file = read_elf_file(GetParam());
};

// Reader functions may come later than the library.
TEST_P(Binding, ReaderFunctionsAreBoundAtTheirFirstCall) {
    EXPECT_FALSE(file.bind_now);
    EXPECT_EQ(file.flags & DF_BIND_NOW, 0u);
    EXPECT_EQ(file.flags_1 & DF_1_NOW, 0u);
    EXPECT_THAT(file.bound_at_first_call, IsSupersetOf(reader_functions));
    for (const std::string& function : reader_functions) {
        EXPECT_THAT(file.bound_at_load, Not(Contains(function)));
    }
}

// Hosts share the library's variables, and have functions of the same names as the library's.
TEST_P(Binding, VariablesAreBoundByNameAndFunctionsInside) {
    EXPECT_FALSE(file.symbolic);
    EXPECT_EQ(file.flags & DF_SYMBOLIC, 0u);
    EXPECT_THAT(file.bound_at_load, Contains("EG_nUserCardType"));
    for (const char* function : {"TransRetCode", "StrCmp", "PowerUp", "IccComm"}) {
        EXPECT_THAT(file.bound_at_first_call, Not(Contains(function)));
        EXPECT_THAT(file.bound_at_load, Not(Contains(function)));
    }
}

INSTANTIATE_TEST_SUITE_P(Library, Binding, testing::Values(QUORRIN_LIBRARY_FILE));
INSTANTIATE_TEST_SUITE_P(LinkedWithADistributionsFlags, Binding,
                         testing::Values(QUORRIN_HARDENED_FILE));

}  // namespace
}  // namespace quorrin::test
