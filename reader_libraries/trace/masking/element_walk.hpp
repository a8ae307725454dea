// A walk over the data objects of an answer (BER-TLV, EMV Book 3, annex B) that goes as far as it
// understands them. An answer that comes in portions is walked over what has come so far.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace quorrin::trace {

struct Element {
    std::uint32_t tag = 0;
    std::size_t value = 0;   // where the value starts
    std::size_t length = 0;  // as the object says
    bool is_cut = false;     // the data end within the value
};

class ElementWalk {
  public:
    explicit ElementWalk(std::span<const std::uint8_t> data) : data_(data) {}

    // The next object that holds a value and no further objects. False at the end of the data and
    // where they stop making sense: an object that leaves its template, a broken tag or length.
    bool next(Element& element);

    // What lies before has been reported. At the end of the data, when all of it was understood.
    std::size_t position() const { return position_; }

    // The data ended within a tag or a length, which start at the position.
    bool ends_in_header() const { return ends_in_header_; }

  private:
    static constexpr std::size_t deepest = 8;

    std::span<const std::uint8_t> data_;
    std::size_t position_ = 0;
    std::array<std::size_t, deepest> ends_{};  // of the templates around the position
    std::size_t depth_ = 0;
    bool ends_in_header_ = false;
};

}  // namespace quorrin::trace
