// What makers of seeds share: the parts of inputs as the targets read them (fuzz_input.hpp,
// hostile_reader.hpp, recorder.cpp), and the files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorrin::fuzz {

using ByteString = std::vector<std::uint8_t>;

ByteString joined(std::initializer_list<ByteString> parts);
ByteString from_text(std::string_view text);
// Behind its length in one byte.
ByteString piece(std::span<const std::uint8_t> bytes);
// What the reader reports and gives; without bytes the number alone.
ByteString block(std::int64_t result, std::span<const std::uint8_t> bytes);

// Terminal data and the bank's answer (an approval with issuer authentication and a script of each
// phase), as hosts hand them over.
inline constexpr std::string_view terminal_data =
    "P012000000001000Q012000000000000R0040156S006260101T00200U006120000V020TEST MERCHANT       ";
inline constexpr std::string_view issuer_text =
    "8A023030890651303030303191081122334455667788710E9F180400000001860504DA9F7800"
    "72128610841E00000B0102030405060708090A0B";

// Calls of a reader library, for the target `recorder`.
ByteString power_on_call(const ByteString& answer_block);
ByteString exchange_call(std::span<const std::uint8_t> command, const ByteString& answer_block);

class Seeds {
  public:
    explicit Seeds(std::filesystem::path place) : place_(std::move(place)) {}

    // Throws std::runtime_error where the file cannot be written.
    void add(const std::string& target, const std::string& name, const ByteString& bytes) const;

  private:
    std::filesystem::path place_;
};

}  // namespace quorrin::fuzz
