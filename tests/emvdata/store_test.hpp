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
