// What the files of the reader libraries say to the loader.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/interface/exports/elf_file.hpp"

namespace quorrin::test {
namespace {

struct LibraryFile {
    const char* name;
    const char* file;
    const char* soname;
};

void PrintTo(const LibraryFile& library, std::ostream* out) {
    *out << library.name;
}

class ReaderLibraryFile : public testing::TestWithParam<LibraryFile> {};

TEST_P(ReaderLibraryFile, ExportsTheSixReaderFunctionsAndNothingElse) {
    const ElfFile file = read_elf_file(GetParam().file);
    std::vector<std::string> exported;
    for (const DynamicSymbol& symbol : file.symbols) {
        if (symbol.defined) {
            exported.push_back(symbol.name);
            EXPECT_EQ(symbol.type, unsigned{STT_FUNC}) << symbol.name;
            EXPECT_EQ(symbol.binding, unsigned{STB_GLOBAL}) << symbol.name;
        }
    }
    EXPECT_THAT(exported,
                testing::UnorderedElementsAre("ICC_Reader_Open", "ICC_Reader_Close",
                                              "ICC_Reader_PowerOn", "ICC_Reader_PowerOff",
                                              "ICC_Reader_Application", "ICC_Reader_GetSerial"));
}

TEST_P(ReaderLibraryFile, IsCalledByItsNameAndMajorVersion) {
    EXPECT_EQ(read_elf_file(GetParam().file).soname, GetParam().soname);
}

constexpr LibraryFile libraries[] = {
#ifdef QUORRIN_SIMULATOR_LIBRARY
    {"Simulator", QUORRIN_SIMULATOR_LIBRARY, "libquorrin-simulator.so.1"},
    {"Trace", QUORRIN_TRACE_LIBRARY, "libquorrin-trace.so.1"},
#endif
#ifdef QUORRIN_PCSC_LIBRARY
    {"Pcsc", QUORRIN_PCSC_LIBRARY, "libquorrin-pcsc.so.1"},
#endif
};

INSTANTIATE_TEST_SUITE_P(EachLibrary, ReaderLibraryFile, testing::ValuesIn(libraries),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace quorrin::test
