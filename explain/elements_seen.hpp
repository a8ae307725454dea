// The data elements that went over the line in a transaction, by tag.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "reader_libraries/trace/trace_format.hpp"

namespace quorrin::explain {

struct SeenElement {
    trace::MaskedBytes value;
    std::size_t line = 0;   // of the trace, first seen
    std::size_t times = 1;  // in records: more than once is a mistake of the card
};

class ElementsSeen {
  public:
    // All primitive objects of an answer, templates opened. Malformed data count as far as they parse.
    void add_objects(const trace::MaskedBytes& data, std::size_t line);
    void set(std::uint32_t tag, trace::MaskedBytes value, std::size_t line);

    const SeenElement* find(std::uint32_t tag) const;
    bool has(std::uint32_t tag) const { return find(tag) != nullptr; }
    // The value's bytes; empty when it was not seen. Masked digits are 0.
    std::span<const std::uint8_t> bytes(std::uint32_t tag) const;
    // The same, empty also when digits of it are masked.
    std::span<const std::uint8_t> clear_bytes(std::uint32_t tag) const;

    const std::map<std::uint32_t, SeenElement>& all() const { return elements_; }

  private:
    std::map<std::uint32_t, SeenElement> elements_;
};

// A part of masked bytes; ends where they end.
trace::MaskedBytes part_of(const trace::MaskedBytes& data, std::size_t first, std::size_t count);

// The values that answer a data object list, by tag, as far as list and data go.
void add_list_data(ElementsSeen& seen, std::span<const std::uint8_t> list,
                   const trace::MaskedBytes& data, std::size_t line);

// Sum of the lengths that a list asks for.
std::size_t list_data_size(std::span<const std::uint8_t> list);
std::vector<std::uint32_t> tags_of_list(std::span<const std::uint8_t> list);

}  // namespace quorrin::explain
