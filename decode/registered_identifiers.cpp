// Application identifiers: who has registered them (ISO/IEC 7816-5), and what they select.
#include <algorithm>
#include <array>

#include "decode/decode.hpp"
#include "decode/lookup.hpp"

namespace quorrin::decode {
namespace {

struct IdentifierRow {
    std::string_view prefix;  // hex digits; the longest that fits counts
    std::string_view name;
    Kernel kernel = Kernel::Unknown;
};

constexpr IdentifierRow identifiers[] = {
    {"315041592E5359532E4444463031", "payment system environment (1PAY.SYS.DDF01)"},
    {"325041592E5359532E4444463031", "proximity payment system environment (2PAY.SYS.DDF01)"},
    {"A000000003", "Visa", Kernel::C3},
    {"A0000000031010", "Visa credit or debit", Kernel::C3},
    {"A0000000032010", "Visa Electron", Kernel::C3},
    {"A0000000032020", "V PAY", Kernel::C3},
    {"A0000000038010", "Visa Plus", Kernel::C3},
    {"A000000003000000", "Visa, card manager"},
    {"A000000004", "Mastercard", Kernel::C2},
    {"A0000000041010", "Mastercard credit or debit", Kernel::C2},
    {"A0000000043060", "Maestro", Kernel::C2},
    {"A0000000042203", "Mastercard, US common debit", Kernel::C2},
    {"A0000000046000", "Cirrus", Kernel::C2},
    {"A000000005", "Mastercard UK (Maestro, Solo)", Kernel::C2},
    {"A000000010", "Mastercard Europe", Kernel::C2},
    {"A000000025", "American Express", Kernel::C4},
    {"A000000065", "JCB", Kernel::C5},
    {"A000000152", "Discover", Kernel::C6},
    {"A0000001523010", "Discover, Diners Club", Kernel::C6},
    {"A000000324", "Discover, ZIP", Kernel::C6},
    {"A000000333", "UnionPay", Kernel::Pboc},
    {"A000000333010101", "UnionPay debit", Kernel::Pboc},
    {"A000000333010102", "UnionPay credit", Kernel::Pboc},
    {"A000000333010103", "UnionPay quasi-credit", Kernel::Pboc},
    {"A000000333010106", "UnionPay electronic cash", Kernel::Pboc},
    {"A000000333010108", "UnionPay, US common debit", Kernel::Pboc},
    {"A000000042", "Cartes Bancaires"},
    {"A000000029", "LINK (United Kingdom)"},
    {"A000000121", "Dankort (Denmark)"},
    {"A000000141", "Bancomat (Italy)"},
    {"A000000154", "Banrisul (Brazil)"},
    {"A000000228", "SPAN, mada (Saudi Arabia)"},
    {"A000000277", "Interac (Canada)"},
    {"A000000359", "girocard (Germany)"},
    {"A000000384", "eftpos (Australia)"},
    {"A000000439", "Exchange network (Canada, USA)"},
    {"A000000444", "Elo (Brazil)"},
    {"A000000494", "China Mobile"},
    {"A000000508", "MEPS (Malaysia)"},
    {"A000000524", "RuPay (India)"},
    {"A000000602", "GPN (Indonesia)"},
    {"A000000615", "MyDebit (Malaysia)"},
    {"A000000620", "Debit Network Alliance (USA)"},
    {"A000000651", "Elo (Brazil)"},
    {"A000000658", "MIR (Russia)"},
    {"A000000672", "TROY (Turkey)"},
    {"A000000727", "NAPAS (Vietnam)"},
    {"A000000736", "Thai payment network"},
    {"A000000151", "GlobalPlatform"},
    {"A000000151000000", "GlobalPlatform, issuer security domain"},
    {"A000000018", "Gemplus"},
    {"A000000030", "Gemalto"},
    {"A000000063", "RSA Laboratories (PKCS #15)"},
    {"A000000087", "3GPP"},
    {"A000000116", "US government (CAC)"},
    {"A000000247", "ICAO travel document"},
    {"A000000308", "US government (PIV)"},
    {"A000000396", "NXP"},
    {"A000000397", "Microsoft"},
    {"A000000632", "China transport, Ministry of Transport"},
    {"D156000015", "Ministry of Housing and Urban-Rural Development (China), city card"},
    {"D276000025", "girocard and GeldKarte (Germany)"},
    {"D276000124", "OpenPGP"},
    {"D276000085", "NFC Forum type 4 tag"},
    {"D040000001", "cards of the French banks"},
};

const IdentifierRow* find_identifier(Bytes identifier) {
    std::string digits;
    for (const std::uint8_t byte : identifier) {
        digits += "0123456789ABCDEF"[byte >> 4];
        digits += "0123456789ABCDEF"[byte & 0x0F];
    }
    const IdentifierRow* best = nullptr;
    for (const IdentifierRow& row : identifiers) {
        if (digits.starts_with(row.prefix) &&
            (best == nullptr || row.prefix.size() > best->prefix.size())) {
            best = &row;
        }
    }
    return best;
}

}  // namespace

Kernel kernel_of(Bytes application_identifier) {
    const IdentifierRow* row = find_identifier(application_identifier);
    return row == nullptr ? Kernel::Unknown : row->kernel;
}

std::string_view application_name(Bytes application_identifier) {
    const IdentifierRow* row = find_identifier(application_identifier);
    return row == nullptr ? std::string_view() : row->name;
}

}  // namespace quorrin::decode
