// emvInitGACData: what a GENERATE AC left in the store is taken back before the next one.

#include "tests/tlv/issuer/issuer_script_fixture.hpp"

namespace quorrin::test {
namespace {

using GenerateAcReset = IssuerScriptTest;

TEST_F(GenerateAcReset, MarksTheElementsAbsentAndKeepsTheirValues) {
    struct Stored {
        const char* tag;
        const char* value;
    };
    const Stored stored[] = {{"9F27", "80"},     {"9F26", "0102030405060708"},
                             {"9F36", "0042"},   {"9F10", "07010103A0A002"},
                             {"9F4B", "A1A2A3"}, {"82", "7C00"}};
    for (const Stored& row : stored) {
        const ByteString tag = hex(row.tag);
        const ByteString value = hex(row.value);
        ASSERT_EQ(emvSetDataElement(nullptr, 0, tag.data(), static_cast<std::uint8_t>(tag.size()),
                                    static_cast<std::uint16_t>(value.size()), value.data()),
                  0);
    }
    emvSetCardATCErrFlg(1);
    emvInitGACData();
    for (const Stored& row : stored) {
        const std::string kept =
            std::string(row.tag) == "82" ? row.value : std::string("unset ") + row.value;
        EXPECT_EQ(element(row.tag), kept) << row.tag;
    }
    EXPECT_EQ(emvGetCardATCErrFlg(), 0);
    EXPECT_EQ(gl_ATC_Err, 0);
}

}  // namespace
}  // namespace quorrin::test
