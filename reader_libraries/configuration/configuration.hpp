// Typed reading of the TOML files that people write for the reader libraries. Every complaint names
// file, line, field and reason, so that a typing error is found without looking at any code.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quorrin {

struct ConfigurationError : std::runtime_error {
    ConfigurationError(std::string file, std::size_t line, std::string field, std::string reason);

    std::string file;
    std::size_t line;   // 0 where the file as a whole is meant
    std::string field;  // dotted path such as "contact.profile"; empty where no field is meant
    std::string reason;
};

// The file itself cannot be read.
struct ConfigurationMissing : ConfigurationError {
    using ConfigurationError::ConfigurationError;
};

// One table of a file. Copies are cheap and look at the same table; each key that is asked for
// counts as known, whether it is there or not.
class Section {
  public:
    // Keys of a required value; absent is an error.
    std::int64_t integer(std::string_view key, std::int64_t least, std::int64_t most) const;
    bool boolean(std::string_view key) const;
    std::string text(std::string_view key) const;
    // Text of hex digits, blanks allowed: "9F02 06" and the like. Length limits in bytes.
    std::vector<std::uint8_t> hex(std::string_view key, std::size_t least, std::size_t most) const;
    std::vector<std::uint8_t> hex(std::string_view key, std::size_t exactly) const {
        return hex(key, exactly, exactly);
    }
    Section section(std::string_view key) const;

    // The same for values that may be absent.
    std::optional<std::int64_t> optional_integer(std::string_view key, std::int64_t least,
                                                 std::int64_t most) const;
    std::optional<bool> optional_boolean(std::string_view key) const;
    std::optional<std::string> optional_text(std::string_view key) const;
    std::optional<std::vector<std::uint8_t>> optional_hex(std::string_view key, std::size_t least,
                                                          std::size_t most) const;
    std::optional<Section> optional_section(std::string_view key) const;

    // Lists; an absent one is empty.
    std::vector<Section> sections(std::string_view key) const;  // [[key]]
    std::vector<std::string> texts(std::string_view key) const;
    std::vector<std::vector<std::uint8_t>> hex_list(std::string_view key, std::size_t least,
                                                    std::size_t most) const;

    bool has(std::string_view key) const;

    // The keys in the order of the file, for tables whose keys are data (tags, for example).
    std::vector<std::string> keys() const;

    // Refuses the first key that is none of these: where the absence of a key would be complained about
    // next, its misspelling is what a person has to be told.
    void allow_only(std::initializer_list<std::string_view> allowed) const;

    // Refuses the first key, here or in any table below that was asked for, that nobody asked for.
    void finish() const;

    // A complaint about a key of this table, or about the table when the key is empty.
    [[noreturn]] void fail(std::string_view key, std::string_view reason) const;

    // Path of this table in the file, empty for the whole file.
    const std::string& path() const;
    // Where relative paths of the file start; empty for text that did not come from a file.
    std::filesystem::path directory() const;

  private:
    struct State;
    explicit Section(std::shared_ptr<State> state);
    static Section from_text(std::string_view text, const std::filesystem::path& file);
    friend Section read_configuration(const std::filesystem::path& file);
    friend Section parse_configuration(std::string_view text, const std::string& name);

    std::shared_ptr<State> state_;
};

// The whole file as a table. Throws ConfigurationMissing or, for text that is not TOML,
// ConfigurationError.
Section read_configuration(const std::filesystem::path& file);

// The same for text; `name` stands for the file in complaints.
Section parse_configuration(std::string_view text, const std::string& name);

// "9F02 06" as bytes; nothing when it is not pairs of hex digits (blanks allowed).
std::optional<std::vector<std::uint8_t>> bytes_from_hex(std::string_view text);

}  // namespace quorrin
