// Fixture of the tests of the data element store: a store that was fully reset, with the element
// bounds as after loading, and short ways to store and read by tag.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "quorrin/quorrin.h"
#include "tests/emvdata/element_listing.hpp"
#include "tests/support/guarded_buffer.hpp"
#include "tests/support/stored_elements.hpp"

namespace quorrin::test {

// 01 02 03 ...
inline ByteString counted(std::size_t size) {
    ByteString bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i + 1);
    }
    return bytes;
}

inline std::int32_t walk(const ByteString& response) {
    const ExactBytes bytes(response);
    return emvExtractDataElement(bytes.data(), bytes.size16());
}
inline std::int32_t walk(std::string_view response) {
    return walk(hex(response));
}
inline std::int32_t walk_template(std::string_view tag, const ByteString& contents) {
    const ExactBytes tag_bytes(hex(tag));
    const ExactBytes bytes(contents);
    return emvExtractDataTemplate(tag_bytes.data(), tag_bytes.size8(), bytes.data(),
                                  bytes.size16());
}
inline std::int32_t walk_template(std::string_view tag, std::string_view contents) {
    return walk_template(tag, hex(contents));
}

// What reading an element gives: result, length after the call, and the bytes written into a buffer
// of exactly the wanted size.
struct Read {
    std::int32_t result;
    std::uint16_t length;
    std::string bytes;
    bool operator==(const Read&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const Read& read) {
    return out << "result " << read.result << ", length " << read.length << ", " << read.bytes;
}

inline std::int32_t state_of(std::string_view tag) {
    const ByteString bytes = hex(tag);
    return emvGetDataElementState(bytes.data(), static_cast<std::uint8_t>(bytes.size()));
}
enum Which : std::uint8_t { Current = 0, Shortest = 1, Longest = 2 };
inline std::uint16_t length_of(std::string_view tag, std::uint8_t which = Current) {
    const ByteString bytes = hex(tag);
    return emvGetDataElementLength(bytes.data(), static_cast<std::uint8_t>(bytes.size()), which);
}
inline std::int32_t set_length_of(std::string_view tag, std::uint16_t length, std::uint8_t which) {
    const ByteString bytes = hex(tag);
    return emvSetDataElementLength(bytes.data(), static_cast<std::uint8_t>(bytes.size()), length,
                                   which);
}
inline std::int32_t set_state_of(std::string_view tag, std::uint8_t state) {
    const ByteString bytes = hex(tag);
    return emvSetDataElementState(bytes.data(), static_cast<std::uint8_t>(bytes.size()), state);
}

inline Read read(std::string_view tag, std::uint16_t wanted) {
    const ExactBytes tag_bytes(hex(tag));
    std::uint16_t length = wanted;
    GuardedBuffer out(wanted != 0 ? wanted : length_of(tag));
    const std::int32_t result =
        emvGetDataElement(tag_bytes.data(), tag_bytes.size8(), &length, out.data());
    return {result, length, to_hex(out.first(out.size()))};
}

inline std::string held(const std::uint8_t* storage, std::size_t count) {
    return to_hex({storage, count});
}

// The tables as the library brings them, copied before any test runs.
inline const std::vector<QuorrinDataElement> loaded_terminal_rows(std::begin(TermDt),
                                                                  std::end(TermDt));
inline const std::vector<QuorrinDataElement> loaded_card_rows(std::begin(IccDt), std::end(IccDt));

class StoreTest : public testing::Test {
  protected:
    StoreTest() {
        restore_bounds(TermDt, loaded_terminal_rows);
        restore_bounds(IccDt, loaded_card_rows);
        for (const auto& element : listed_terminal_elements) {
            std::fill_n(element.storage, element.declared_size, std::uint8_t{0});
        }
        for (const auto& element : listed_card_elements) {
            std::fill_n(element.storage, element.declared_size, std::uint8_t{0});
        }
        emvClrIccAndTermData();
    }

  private:
    template <std::size_t Rows>
    static void restore_bounds(QuorrinDataElement (&table)[Rows],
                               const std::vector<QuorrinDataElement>& loaded) {
        for (std::size_t row = 0; row < Rows; ++row) {
            table[row].minLen = loaded.at(row).minLen;
            table[row].maxLen = loaded.at(row).maxLen;
        }
    }
};

}  // namespace quorrin::test
