// What people and programs hand in: hex with spaces, line ends and 0x, base64, or the bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorrin::decode {

enum class Encoding { Hex, Base64, Binary };

struct Input {
    std::vector<std::uint8_t> bytes;
    Encoding encoding = Encoding::Hex;
    // Why nothing was read, with the position; empty when all is well. Never repeats the input, which
    // may hold what must not be seen.
    std::string error;
};

Input read_hex(std::string_view text);
Input read_base64(std::string_view text);

// Hex, else base64, else binary: the encoding that was found is told, for the caller to say so.
Input read_any(std::string_view data);

std::string_view encoding_name(Encoding encoding);

}  // namespace quorrin::decode
