#include "cryptography/issuer_authentication.hpp"

#include <algorithm>
#include <stdexcept>

#include "cryptography/block_cipher.hpp"
#include "cryptography/byte_string.hpp"
#include "cryptography/message_authentication.hpp"

namespace quorrin::cryptography {
namespace {

constexpr std::size_t max_proprietary = 8;

bool holds_by_method_1(Algorithm algorithm, const Key& session_key, const Cryptogram& arqc,
                       Bytes value) {
    ResponseCode response_code{};
    if (value.size() != sizeof(Cryptogram) + response_code.size()) {
        return false;
    }
    std::ranges::copy(value.last(response_code.size()), response_code.begin());
    return std::ranges::equal(value,
                              issuer_authentication_1(algorithm, session_key, arqc, response_code));
}

bool holds_by_method_2(Algorithm algorithm, const Key& session_key, const Cryptogram& arqc,
                       Bytes value) {
    constexpr std::size_t fixed_part = sizeof(ShortMac) + sizeof(CardStatusUpdate);
    if (value.size() < fixed_part || value.size() > fixed_part + max_proprietary) {
        return false;
    }
    CardStatusUpdate status_update{};
    std::ranges::copy(value.subspan(sizeof(ShortMac), status_update.size()), status_update.begin());
    return std::ranges::equal(value,
                              issuer_authentication_2(algorithm, session_key, arqc, status_update,
                                                      value.subspan(fixed_part)));
}

}  // namespace

Cryptogram arpc_method_1(Algorithm algorithm, const Key& session_key, const Cryptogram& arqc,
                         const ResponseCode& response_code) {
    std::vector<std::uint8_t> block(block_size(algorithm));
    std::ranges::copy(arqc, block.begin());
    block[0] ^= response_code[0];
    block[1] ^= response_code[1];
    const auto enciphered = encrypt_ecb(algorithm, session_key, block);
    Cryptogram arpc{};
    std::copy_n(enciphered.begin(), arpc.size(), arpc.begin());
    return arpc;
}

ShortMac arpc_method_2(Algorithm algorithm, const Key& session_key, const Cryptogram& arqc,
                       const CardStatusUpdate& status_update, Bytes proprietary) {
    return shortened(mac(algorithm, session_key, concatenated({arqc, status_update, proprietary})));
}

std::vector<std::uint8_t> issuer_authentication_1(Algorithm algorithm, const Key& session_key,
                                                  const Cryptogram& arqc,
                                                  const ResponseCode& response_code) {
    const Cryptogram arpc = arpc_method_1(algorithm, session_key, arqc, response_code);
    return concatenated({arpc, response_code});
}

std::vector<std::uint8_t> issuer_authentication_2(Algorithm algorithm, const Key& session_key,
                                                  const Cryptogram& arqc,
                                                  const CardStatusUpdate& status_update,
                                                  Bytes proprietary) {
    if (proprietary.size() > max_proprietary) {
        throw std::invalid_argument("proprietary authentication data exceed 8 bytes");
    }
    const ShortMac arpc = arpc_method_2(algorithm, session_key, arqc, status_update, proprietary);
    return concatenated({arpc, status_update, proprietary});
}

bool issuer_authentication_holds(ArpcMethod method, Algorithm algorithm, const Key& session_key,
                                 const Cryptogram& arqc, Bytes issuer_authentication_data) {
    return method == ArpcMethod::Method1
               ? holds_by_method_1(algorithm, session_key, arqc, issuer_authentication_data)
               : holds_by_method_2(algorithm, session_key, arqc, issuer_authentication_data);
}

}  // namespace quorrin::cryptography
