// What the recorder's library file says to the loader.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/interface/exports/elf_file.hpp"

namespace quorrin::test {
namespace {

TEST(TraceLibrary, ExportsTheSixReaderFunctionsAndNothingElse) {
    const ElfFile file = read_elf_file(QUORRIN_TRACE_LIBRARY);
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

TEST(TraceLibrary, IsCalledByItsNameAndMajorVersion) {
    EXPECT_EQ(read_elf_file(QUORRIN_TRACE_LIBRARY).soname, "libquorrin-trace.so.1");
}

}  // namespace
}  // namespace quorrin::test
