#include "cryptography/secure_messaging.hpp"

#include <algorithm>
#include <stdexcept>

#include "cryptography/block_cipher.hpp"
#include "cryptography/byte_string.hpp"
#include "cryptography/message_authentication.hpp"

namespace quorrin::cryptography {
namespace {

Key session_key(const ScriptContext& context, const Key& card_key) {
    return script_session_key(context.scheme, context.algorithm, card_key, context.atc,
                              context.arqc);
}

// PBOC: the length byte tells where the data end, so full blocks need no padding (80, then 00).
std::vector<std::uint8_t> length_prefixed(Bytes plain, std::size_t block) {
    const auto length = static_cast<std::uint8_t>(plain.size());
    const auto prefixed = concatenated({{&length, 1}, plain});
    return prefixed.size() % block == 0 ? prefixed : padded(prefixed, Padding::Method2, block);
}

}  // namespace

ScriptMacChain::ScriptMacChain(const ScriptContext& context, const Key& card_mac_key)
    : context_(context), session_key_(session_key(context, card_mac_key)) {}

// EMV book 2, 9.2.3.1: header, ATC, ARQC and data; from the second command on behind the MAC before it,
// whole.
Mac ScriptMacChain::next(const CommandHeader& header, Bytes data) const {
    const Bytes previous = previous_ ? Bytes(*previous_) : Bytes();
    const auto message =
        concatenated({previous, header, big_endian(context_.atc), context_.arqc, data});
    return mac(context_.algorithm, session_key_, message);
}

ShortMac ScriptMacChain::seal(const CommandHeader& header, Bytes data) {
    previous_ = next(header, data);
    return shortened(*previous_);
}

bool ScriptMacChain::accept(const CommandHeader& header, Bytes data, Bytes received_mac) {
    const Mac expected = next(header, data);
    if (!std::ranges::equal(shortened(expected), received_mac)) {
        return false;
    }
    previous_ = expected;
    return true;
}

std::vector<std::uint8_t> encipher_script_data(const ScriptContext& context, const Key& card_key,
                                               Bytes plain) {
    if (plain.size() > 0xFF) {
        throw std::invalid_argument("enciphered script data exceed 255 bytes");
    }
    const std::size_t block = block_size(context.algorithm);
    const Key key = session_key(context, card_key);
    if (context.encipherment == ScriptEncipherment::Emv) {
        return encrypt_cbc(context.algorithm, key, std::vector<std::uint8_t>(block),
                           padded(plain, Padding::Method2, block));
    }
    return encrypt_ecb(context.algorithm, key, length_prefixed(plain, block));
}

std::optional<std::vector<std::uint8_t>> decipher_script_data(const ScriptContext& context,
                                                              const Key& card_key,
                                                              Bytes enciphered) {
    const std::size_t block = block_size(context.algorithm);
    if (enciphered.empty() || enciphered.size() % block != 0) {
        return std::nullopt;
    }
    if (context.encipherment == ScriptEncipherment::Emv) {
        auto clear = decrypt_cbc(context.algorithm, session_key(context, card_key),
                                 std::vector<std::uint8_t>(block), enciphered);
        // EMV book 2, 9.3.1: the padding is an 80 and the 00 behind it, at most a block.
        const auto last = std::ranges::find_if(clear.rbegin(), clear.rend(),
                                               [](std::uint8_t byte) { return byte != 0; });
        const auto plain_size = static_cast<std::size_t>(clear.rend() - last) - 1;
        if (last == clear.rend() || *last != 0x80 || clear.size() - plain_size > block) {
            return std::nullopt;
        }
        clear.resize(plain_size);
        return clear;
    }
    const auto clear = decrypt_ecb(context.algorithm, session_key(context, card_key), enciphered);
    const std::size_t length = clear[0];
    if (length >= clear.size()) {
        return std::nullopt;
    }
    const Bytes plain = Bytes(clear).subspan(1, length);
    if (length_prefixed(plain, block) != clear) {
        return std::nullopt;
    }
    return std::vector<std::uint8_t>(plain.begin(), plain.end());
}

}  // namespace quorrin::cryptography
