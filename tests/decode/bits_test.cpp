// Every bit decoder, a row for each bit.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/decode/tree_reading.hpp"

namespace quorrin::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

struct BitCase {
    const char* kind;
    const char* value;
    const char* line;
};

// clang-format off
const BitCase bit_cases[] = {
    // EMV book 3, table 37
    {"aip", "4000", "byte 1 bit 7: Static data authentication (SDA) supported"},
    {"aip", "2000", "byte 1 bit 6: Dynamic data authentication (DDA) supported"},
    {"aip", "1000", "byte 1 bit 5: Cardholder verification supported"},
    {"aip", "0800", "byte 1 bit 4: Terminal risk management to be performed"},
    {"aip", "0400", "byte 1 bit 3: Issuer authentication supported (EXTERNAL AUTHENTICATE)"},
    {"aip", "0200", "byte 1 bit 2: On-device cardholder verification supported"},
    {"aip", "0100", "byte 1 bit 1: Combined DDA / application cryptogram (CDA) supported"},
    {"aip", "0080", "byte 2 bit 8: EMV mode supported, contactless"},
    {"aip", "0001", "byte 2 bit 1: Relay resistance protocol supported"},
    {"aip", "0040", "byte 2 bit 7: reserved"},
    // EMV book 3, table 38
    {"auc", "8000", "byte 1 bit 8: Valid for domestic cash transactions"},
    {"auc", "4000", "byte 1 bit 7: Valid for international cash transactions"},
    {"auc", "2000", "byte 1 bit 6: Valid for domestic goods"},
    {"auc", "1000", "byte 1 bit 5: Valid for international goods"},
    {"auc", "0800", "byte 1 bit 4: Valid for domestic services"},
    {"auc", "0400", "byte 1 bit 3: Valid for international services"},
    {"auc", "0200", "byte 1 bit 2: Valid at ATMs"},
    {"auc", "0100", "byte 1 bit 1: Valid at terminals other than ATMs"},
    {"auc", "0080", "byte 2 bit 8: Domestic cashback allowed"},
    {"auc", "0040", "byte 2 bit 7: International cashback allowed"},
    // EMV book 3, table 42
    {"tvr", "8000000000", "byte 1 bit 8: Offline data authentication was not performed"},
    {"tvr", "4000000000", "byte 1 bit 7: Static data authentication failed"},
    {"tvr", "2000000000", "byte 1 bit 6: ICC data missing"},
    {"tvr", "1000000000", "byte 1 bit 5: Card appears on terminal exception file"},
    {"tvr", "0800000000", "byte 1 bit 4: Dynamic data authentication failed"},
    {"tvr", "0400000000", "byte 1 bit 3: CDA failed"},
    {"tvr", "0200000000", "byte 1 bit 2: SDA selected"},
    {"tvr", "0080000000", "byte 2 bit 8: ICC and terminal have different application versions"},
    {"tvr", "0040000000", "byte 2 bit 7: Expired application"},
    {"tvr", "0020000000", "byte 2 bit 6: Application not yet effective"},
    {"tvr", "0010000000", "byte 2 bit 5: Requested service not allowed for card product"},
    {"tvr", "0008000000", "byte 2 bit 4: New card"},
    {"tvr", "0004000000", "byte 2 bit 3: reserved"},
    {"tvr", "0000800000", "byte 3 bit 8: Cardholder verification was not successful"},
    {"tvr", "0000400000", "byte 3 bit 7: Unrecognised CVM"},
    {"tvr", "0000200000", "byte 3 bit 6: PIN try limit exceeded"},
    {"tvr", "0000100000", "byte 3 bit 5: PIN entry required and PIN pad not present or not working"},
    {"tvr", "0000080000", "byte 3 bit 4: PIN entry required, PIN pad present, but PIN was not entered"},
    {"tvr", "0000040000", "byte 3 bit 3: Online PIN entered"},
    {"tvr", "0000008000", "byte 4 bit 8: Transaction exceeds floor limit"},
    {"tvr", "0000004000", "byte 4 bit 7: Lower consecutive offline limit exceeded"},
    {"tvr", "0000002000", "byte 4 bit 6: Upper consecutive offline limit exceeded"},
    {"tvr", "0000001000", "byte 4 bit 5: Transaction selected randomly for online processing"},
    {"tvr", "0000000800", "byte 4 bit 4: Merchant forced transaction online"},
    {"tvr", "0000000080", "byte 5 bit 8: Default TDOL used"},
    {"tvr", "0000000040", "byte 5 bit 7: Issuer authentication failed"},
    {"tvr", "0000000020", "byte 5 bit 6: Script processing failed before final GENERATE AC"},
    {"tvr", "0000000010", "byte 5 bit 5: Script processing failed after final GENERATE AC"},
    {"tvr", "0000000008", "byte 5 bit 4: Relay resistance threshold exceeded"},
    {"tvr", "0000000004", "byte 5 bit 3: Relay resistance time limits exceeded"},
    {"tvr", "0000000001", "byte 5 bits 2-1: Relay resistance protocol not performed"},
    {"tvr", "0000000002", "byte 5 bits 2-1: Relay resistance protocol performed"},
    // EMV book 3, table 43
    {"tsi", "8000", "byte 1 bit 8: Offline data authentication was performed"},
    {"tsi", "4000", "byte 1 bit 7: Cardholder verification was performed"},
    {"tsi", "2000", "byte 1 bit 6: Card risk management was performed"},
    {"tsi", "1000", "byte 1 bit 5: Issuer authentication was performed"},
    {"tsi", "0800", "byte 1 bit 4: Terminal risk management was performed"},
    {"tsi", "0400", "byte 1 bit 3: Script processing was performed"},
    // EMV book 4, annex A2
    {"terminal-capabilities", "800000", "byte 1 bit 8: Manual key entry"},
    {"terminal-capabilities", "400000", "byte 1 bit 7: Magnetic stripe"},
    {"terminal-capabilities", "200000", "byte 1 bit 6: IC with contacts"},
    {"terminal-capabilities", "008000", "byte 2 bit 8: Plaintext PIN for ICC verification"},
    {"terminal-capabilities", "004000", "byte 2 bit 7: Enciphered PIN for online verification"},
    {"terminal-capabilities", "002000", "byte 2 bit 6: Signature"},
    {"terminal-capabilities", "001000", "byte 2 bit 5: Enciphered PIN for offline verification"},
    {"terminal-capabilities", "000800", "byte 2 bit 4: No CVM required"},
    {"terminal-capabilities", "000001", "byte 3 bit 1: reserved"},
    {"terminal-capabilities", "000080", "byte 3 bit 8: SDA"},
    {"terminal-capabilities", "000040", "byte 3 bit 7: DDA"},
    {"terminal-capabilities", "000020", "byte 3 bit 6: Card capture"},
    {"terminal-capabilities", "000008", "byte 3 bit 4: CDA"},
    // EMV book 4, annex A3
    {"additional-terminal-capabilities", "8000000000", "byte 1 bit 8: Cash"},
    {"additional-terminal-capabilities", "4000000000", "byte 1 bit 7: Goods"},
    {"additional-terminal-capabilities", "2000000000", "byte 1 bit 6: Services"},
    {"additional-terminal-capabilities", "1000000000", "byte 1 bit 5: Cashback"},
    {"additional-terminal-capabilities", "0800000000", "byte 1 bit 4: Inquiry"},
    {"additional-terminal-capabilities", "0400000000", "byte 1 bit 3: Transfer"},
    {"additional-terminal-capabilities", "0200000000", "byte 1 bit 2: Payment"},
    {"additional-terminal-capabilities", "0100000000", "byte 1 bit 1: Administrative"},
    {"additional-terminal-capabilities", "0080000000", "byte 2 bit 8: Cash deposit"},
    {"additional-terminal-capabilities", "0000800000", "byte 3 bit 8: Numeric keys"},
    {"additional-terminal-capabilities", "0000400000", "byte 3 bit 7: Alphabetic and special character keys"},
    {"additional-terminal-capabilities", "0000200000", "byte 3 bit 6: Command keys"},
    {"additional-terminal-capabilities", "0000100000", "byte 3 bit 5: Function keys"},
    {"additional-terminal-capabilities", "0000008000", "byte 4 bit 8: Print or electronic, attendant"},
    {"additional-terminal-capabilities", "0000004000", "byte 4 bit 7: Print or electronic, cardholder"},
    {"additional-terminal-capabilities", "0000002000", "byte 4 bit 6: Display, attendant"},
    {"additional-terminal-capabilities", "0000001000", "byte 4 bit 5: Display, cardholder"},
    {"additional-terminal-capabilities", "0000000200", "byte 4 bit 2: Code table 10"},
    {"additional-terminal-capabilities", "0000000100", "byte 4 bit 1: Code table 9"},
    {"additional-terminal-capabilities", "0000000080", "byte 5 bit 8: Code table 8"},
    {"additional-terminal-capabilities", "0000000001", "byte 5 bit 1: Code table 1"},
    // EMV contactless book A, table 5-4
    {"ttq", "80000000", "byte 1 bit 8: Magnetic stripe data mode supported"},
    {"ttq", "20000000", "byte 1 bit 6: EMV mode (quick PBOC, C-3, C-7) supported"},
    {"ttq", "10000000", "byte 1 bit 5: Contact chip supported"},
    {"ttq", "08000000", "byte 1 bit 4: Offline-only reader"},
    {"ttq", "04000000", "byte 1 bit 3: Online PIN supported"},
    {"ttq", "02000000", "byte 1 bit 2: Signature supported"},
    {"ttq", "01000000", "byte 1 bit 1: Offline data authentication for online authorisations supported"},
    {"ttq", "00800000", "byte 2 bit 8: Online cryptogram required"},
    {"ttq", "00400000", "byte 2 bit 7: CVM required"},
    {"ttq", "00200000", "byte 2 bit 6: Offline PIN supported, contact chip"},
    {"ttq", "00008000", "byte 3 bit 8: Issuer update processing supported"},
    {"ttq", "00004000", "byte 3 bit 7: Consumer device CVM supported"},
    {"ttq", "00000080", "byte 4 bit 8: fDDA version 01 supported"},
    {"ctq", "8000", "byte 1 bit 8: Online PIN required"},
    {"ctq", "4000", "byte 1 bit 7: Signature required"},
    {"ctq", "2000", "byte 1 bit 6: Go online if offline data authentication fails and reader is online capable"},
    {"ctq", "1000", "byte 1 bit 5: Switch interface if offline data authentication fails and reader has contacts"},
    {"ctq", "0800", "byte 1 bit 4: Go online if application expired"},
    {"ctq", "0400", "byte 1 bit 3: Switch interface for cash transactions"},
    {"ctq", "0200", "byte 1 bit 2: Switch interface for cashback transactions"},
    {"ctq", "0100", "byte 1 bit 1: Not valid for contactless ATM transactions"},
    {"ctq", "0080", "byte 2 bit 8: Consumer device CVM performed"},
    {"ctq", "0040", "byte 2 bit 7: Card supports issuer update processing at the point of sale"},
    {"card-processes", "80000000", "byte 1 bit 8: Low value check supported"},
    {"card-processes", "40000000", "byte 1 bit 7: Low value and cumulative total amount check supported"},
    {"card-processes", "20000000", "byte 1 bit 6: New card check supported"},
    {"card-processes", "10000000", "byte 1 bit 5: PIN tries exceeded check supported"},
    {"card-processes", "08000000", "byte 1 bit 4: Offline transactions in another currency allowed"},
    {"card-processes", "04000000", "byte 1 bit 3: Card prefers online over the contact interface"},
    {"card-processes", "02000000", "byte 1 bit 2: Available offline spending amount returned"},
    {"card-processes", "01000000", "byte 1 bit 1: Prepaid supported"},
    {"card-processes", "00800000", "byte 2 bit 8: Transactions in another currency not allowed"},
    {"card-processes", "00400000", "byte 2 bit 7: Declined if new card and reader is offline only"},
    {"card-processes", "00008000", "byte 3 bit 8: Online PIN supported, matching currency"},
    {"card-processes", "00004000", "byte 3 bit 7: Online PIN supported, other currency"},
    {"card-processes", "00002000", "byte 3 bit 6: CVM required by the card, other currency"},
    {"card-processes", "00001000", "byte 3 bit 5: Signature supported"},
    // EMV book 3, table 15
    {"cid", "00", "bits 8-7: AAC: declined"},
    {"cid", "40", "bits 8-7: TC: approved offline"},
    {"cid", "80", "bits 8-7: ARQC: online authorisation requested"},
    {"cid", "08", "bit 4: Advice required"},
    {"cid", "01", "bits 3-1: Service not allowed"},
    {"cid", "02", "bits 3-1: PIN try limit exceeded"},
    {"cid", "03", "bits 3-1: Issuer authentication failed"},
    // PBOC card verification results
    {"cvr", "03000000", "byte 2 bits 8-7: AAC returned in second GENERATE AC"},
    {"cvr", "03400000", "byte 2 bits 8-7: TC returned in second GENERATE AC"},
    {"cvr", "03800000", "byte 2 bits 8-7: Second GENERATE AC not requested"},
    {"cvr", "03000000", "byte 2 bits 6-5: AAC returned in first GENERATE AC"},
    {"cvr", "03100000", "byte 2 bits 6-5: TC returned in first GENERATE AC"},
    {"cvr", "03200000", "byte 2 bits 6-5: ARQC returned in first GENERATE AC"},
    {"cvr", "03080000", "byte 2 bit 4: Issuer authentication performed and failed"},
    {"cvr", "03040000", "byte 2 bit 3: Offline PIN verification performed"},
    {"cvr", "03020000", "byte 2 bit 2: Offline PIN verification failed"},
    {"cvr", "03010000", "byte 2 bit 1: Unable to go online"},
    {"cvr", "03008000", "byte 3 bit 8: Last online transaction not completed"},
    {"cvr", "03004000", "byte 3 bit 7: PIN try limit exceeded"},
    {"cvr", "03002000", "byte 3 bit 6: Velocity checking counters exceeded"},
    {"cvr", "03001000", "byte 3 bit 5: New card"},
    {"cvr", "03000800", "byte 3 bit 4: Issuer authentication failed on last online transaction"},
    {"cvr", "03000400", "byte 3 bit 3: Issuer authentication not performed after online authorisation"},
    {"cvr", "03000200", "byte 3 bit 2: Application blocked as PIN try limit exceeded"},
    {"cvr", "03000100", "byte 3 bit 1: Static data authentication failed on last transaction, declined offline"},
    {"cvr", "03000030", "Script commands processed: 3"},
    {"cvr", "03000008", "byte 4 bit 4: Issuer script processing failed on last transaction"},
    {"cvr", "03000004", "byte 4 bit 3: Dynamic data authentication failed on last transaction, declined offline"},
    {"cvr", "03000002", "byte 4 bit 2: Dynamic data authentication performed"},
    // EMV book 3, annex C10
    {"csu", "00800000", "byte 2 bit 8: Issuer approves online transaction"},
    {"csu", "00400000", "byte 2 bit 7: Card block"},
    {"csu", "00200000", "byte 2 bit 6: Application block"},
    {"csu", "03100000", "PIN try counter: 3"},
    {"csu", "00080000", "byte 2 bit 4: Go online on next transaction"},
    {"csu", "00020000", "byte 2 bits 2-1: Reset offline counters to zero"},
    {"9F52", "02000000", "byte 1 bit 2: New card: online"},
    {"9F56", "80", "bit 8: Issuer authentication mandatory"},
    {"9F56", "00", "bit 8: Issuer authentication optional"},
    {"9F55", "40", "bit 7: Valid for international contactless transactions"},
};
// clang-format on

TEST(DecodeBits, EachBitIsToldByItsPlaceAndMeaning) {
    for (const BitCase& each : bit_cases) {
        const decode::Node node = told_as(each.kind, each.value);
        EXPECT_THAT(told(node), Contains(each.line)) << each.kind << " " << each.value;
        EXPECT_FALSE(decode::has_problems(node)) << each.kind << " " << each.value;
    }
}

TEST(DecodeBits, NothingIsToldOfBitsThatAreNotSet) {
    for (const auto& [kind, value] : {std::pair{"tvr", "0000000000"},
                                      {"tsi", "0000"},
                                      {"aip", "0000"},
                                      {"ctq", "0000"},
                                      {"ttq", "00000000"}}) {
        const decode::Node node = told_as(kind, value);
        EXPECT_EQ(node.text, "none set") << kind;
        EXPECT_THAT(told(node), ElementsAre()) << kind;
    }
}

TEST(DecodeBits, AWrongNumberOfBytesIsAProblem) {
    EXPECT_THAT(problems_of(as("tvr", "00000000")), Contains("0: has 4 bytes, should have 5"));
}

}  // namespace
}  // namespace quorrin::test
