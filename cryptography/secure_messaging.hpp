// Protection of issuer script commands: EMV book 2 section 9. Card and issuer share these
// definitions, so what one side seals the other opens.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "cryptography/algorithm.hpp"
#include "cryptography/card_keys.hpp"

namespace quorrin::cryptography {

// CLA INS P1 P2 Lc. Lc counts the MAC.
using CommandHeader = std::array<std::uint8_t, 5>;

// How script data are enciphered.
enum class ScriptEncipherment : std::uint8_t {
    Pboc,  // length byte ahead, filled where that is no full block, ECB
    Emv,   // EMV book 2 section 9.3: always filled (ISO/IEC 9797-1 method 2), CBC from zeros
};

// The transaction that a script belongs to.
struct ScriptContext {
    SessionKeyScheme scheme = SessionKeyScheme::Pboc;
    Algorithm algorithm = Algorithm::TripleDes;
    std::uint16_t atc = 0;
    Cryptogram arqc{};
    ScriptEncipherment encipherment = ScriptEncipherment::Pboc;
};

// The MACs of one answer's script commands, in the order of sending: each covers the one before.
//
// No worked example of the layout is published for PBOC, and EMV leaves the covered data to the
// issuer. The reading used here, for both kinds of session key:
//   previous full MAC || CLA INS P1 P2 Lc || ATC || ARQC || data
// with nothing for "previous" at the first command, `data` as sent but without the MAC, padding
// method 2, and the left 4 bytes of the result sent.
class ScriptMacChain {
  public:
    ScriptMacChain(const ScriptContext& context, const Key& card_mac_key);

    // The issuer's side: the MAC of the next command.
    [[nodiscard]] ShortMac seal(const CommandHeader& header, Bytes data);

    // The card's side: whether this is the next command's MAC. A wrong one leaves the chain where
    // it is.
    [[nodiscard]] bool accept(const CommandHeader& header, Bytes data, Bytes received_mac);

  private:
    [[nodiscard]] Mac next(const CommandHeader& header, Bytes data) const;

    ScriptContext context_;
    Key session_key_;
    std::optional<Mac> previous_;
};

// As the context says. `card_key` is the card's encipherment key. More than 255 bytes throw
// std::invalid_argument.
std::vector<std::uint8_t> encipher_script_data(const ScriptContext& context, const Key& card_key,
                                               Bytes plain);

// Empty unless length byte and filling are as enciphering makes them.
std::optional<std::vector<std::uint8_t>> decipher_script_data(const ScriptContext& context,
                                                              const Key& card_key,
                                                              Bytes enciphered);

}  // namespace quorrin::cryptography
