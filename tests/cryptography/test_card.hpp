// The card of these tests, with values for every kind of product that it could be.
//
// PAN, sequence number, ATC, transaction data and issuer master key are those of the worked example
// that PBOC prints. Its card exists here as Triple DES and as SM4, with PBOC and EMV common session
// keys. Published is the ARQC of the first; all other values were computed with a separate program,
// straight from the formulas. Derived DES keys have odd parity, SM4 keys are as they come.
#pragma once

#include <array>
#include <cstdint>

#include "cryptography/application_cryptogram.hpp"
#include "cryptography/card_keys.hpp"
#include "cryptography/secure_messaging.hpp"
#include "tests/cryptography/fixed_bytes.hpp"

namespace quorrin::test {

struct TestCard {
    const char* name;
    cryptography::Algorithm algorithm;
    cryptography::SessionKeyScheme scheme;
    const char* card_keys;  // cryptogram, MAC, encipherment
    const char* cryptogram_session_key;
    const char* arqc;
    const char* arpc_method_1;           // response code "00"
    const char* arpc_method_2;           // status update 00800000
    const char* arpc_method_2_extended;  // status update 80800000, proprietary 01 to 08
    const char* mac_session_key;
    const char* encipherment_session_key;
    const char* block_mac;  // APPLICATION BLOCK
    const char* put_mac;    // PUT DATA 9F79 000000100000, after APPLICATION BLOCK
    const char* pin_block;  // new PIN 1234, no current one
    const char* enciphered_pin;
    const char* pin_mac;  // PIN CHANGE with it, as the only command
};

inline constexpr std::array<TestCard, 4> test_cards{{
    {"Triple DES, PBOC session keys", cryptography::Algorithm::TripleDes,
     cryptography::SessionKeyScheme::Pboc,
     "014C986ECD8F49157CC8B59E3BCDFD98 9883F7E6045DDAECC23E6B1A0780C8D5 "
     "3DC194E5F87F372A677C0819FBA22513",
     "D5102625E6E5AD329E54ABB50BF23DA8", "5D016C91005E7CC2", "C01B237749040E2B", "270AD7BF",
     "7DBBE9A8", "1067D946F4DF9B045425C2E94623498A", "91DAAB2F67529B9ED0251CD95D9B46A8", "1703FB02",
     "0258FEA7", "041234FF3270B6EA", "4CFB846D3C00E2F7F14221FA248DC408", "8DF221A5"},
    {"Triple DES, EMV common session keys", cryptography::Algorithm::TripleDes,
     cryptography::SessionKeyScheme::EmvCommon,
     "014C986ECD8F49157CC8B59E3BCDFD98 9883F7E6045DDAECC23E6B1A0780C8D5 "
     "3DC194E5F87F372A677C0819FBA22513",
     "68B962FDC2F79BD9B9E59149B379DC98", "AB14183F91A520B7", "81AA1DA511EDC968", "38A48F2C",
     "8C7837FA", "29207A8357EA20076104013E62F84C6E", "3D071CF78A4CE0FED54686B3B09B7964", "719E5567",
     "7A87E81A", "041234FF3270B6EA", "1D715C4CDB434403E17FE497FD3EA536", "78ED6D20"},
    {"SM4, PBOC session keys", cryptography::Algorithm::Sm4, cryptography::SessionKeyScheme::Pboc,
     "7FFAA44D749A5FC72C88CAA85A340D9F A1EB5BFA593733B46F1A087C9376144C "
     "25524CF9B289F990B64BE5CE2C113149",
     "6F108B43D40C6B098EABB30C4DD50E56", "520A1DE30C1F85F7", "F2377BD16CB641D5", "46DC65F5",
     "B8708AE4", "F69C2F6751FF1C6233A9B391E65D4DD3", "C542E713209F9895090B73C09C85795B", "969A4ECD",
     "1B63AD63", "041234FF8B65A038", "44B58374F60C42966312C81FB77EFAD4", "4B031E59"},
    {"SM4, EMV common session keys", cryptography::Algorithm::Sm4,
     cryptography::SessionKeyScheme::EmvCommon,
     "7FFAA44D749A5FC72C88CAA85A340D9F A1EB5BFA593733B46F1A087C9376144C "
     "25524CF9B289F990B64BE5CE2C113149",
     "F8AE3DB48F269514904CD1047A804471", "44471AD87C688501", "B66C126F4BF16BB5", "945D1844",
     "50ACC86B", "CE8A313EA7B49417F02E3FA4CD8EE872", "3145A841FE026421F6E08258C5094B87", "AC6F007F",
     "DA5742C0", "041234FF8B65A038", "73E1A718C6D299A7C2A12CA64502DCD6", "22CC2BDB"},
}};

inline constexpr const char* test_pan = "6228000100001";
inline constexpr std::uint8_t test_pan_sequence_number = 0x01;
inline constexpr std::uint16_t test_atc = 0x0240;

inline cryptography::KeySet test_issuer_master_keys() {
    return {fixed_hex<16>("F0C34A8124CEE0A91A0B034AA97D6EAC"),
            fixed_hex<16>("00112233445566778899AABBCCDDEEFF"),
            fixed_hex<16>("FFEEDDCCBBAA99887766554433221100")};
}

inline cryptography::TransactionData test_transaction() {
    cryptography::TransactionData data;
    data.amount_authorised = fixed_hex<6>("000000000001");
    data.amount_other = fixed_hex<6>("000000000000");
    data.terminal_country = fixed_hex<2>("0156");
    data.terminal_verification = fixed_hex<5>("0080046000");
    data.currency = fixed_hex<2>("0156");
    data.date = fixed_hex<3>("140701");
    data.type = 0x00;
    data.unpredictable_number = fixed_hex<4>("1E78EEBC");
    data.interchange_profile = fixed_hex<2>("7D00");
    data.atc = test_atc;
    data.card_verification = fixed_hex<4>("03A04002");
    return data;
}

inline cryptography::KeySet card_keys_of(const TestCard& card) {
    const ByteString keys = hex(card.card_keys);
    return {fixed<16>(std::span(keys).subspan(0, 16)), fixed<16>(std::span(keys).subspan(16, 16)),
            fixed<16>(std::span(keys).subspan(32))};
}

inline cryptography::ScriptContext script_context_of(const TestCard& card) {
    return {card.scheme, card.algorithm, test_atc, fixed_hex<8>(card.arqc)};
}

}  // namespace quorrin::test
