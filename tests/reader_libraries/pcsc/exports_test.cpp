// What the file of the PC/SC reader library says to the loader.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/interface/exports/elf_file.hpp"

namespace quorrin::test {
namespace {

TEST(PcscLibrary, ExportsTheSixReaderFunctionsAndNothingElse) {
    const ElfFile file = read_elf_file(QUORRIN_PCSC_LIBRARY);
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

TEST(PcscLibrary, IsCalledByItsNameAndMajorVersion) {
    EXPECT_EQ(read_elf_file(QUORRIN_PCSC_LIBRARY).soname, "libquorrin-pcsc.so.1");
}

}  // namespace
}  // namespace quorrin::test
