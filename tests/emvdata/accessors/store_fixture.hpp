// Fixture of the accessor tests: an empty store for each test, and views of it by tag.
#pragma once

#include <array>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/emvdata/store_test.hpp"

namespace quorrin::test {

using Lengths = std::vector<std::uint16_t>;

// The dictionary row of a tag: "9F38".
inline QuorrinDataElement& row(std::string_view tag) {
    const ByteString bytes = hex(tag);
    std::uint16_t index = 0;
    switch (emvFindDataElement(bytes.data(), static_cast<std::uint8_t>(bytes.size()), &index)) {
        case 1:
            return IccDt[index];
        case 2:
            return TermDt[index];
        default:
            throw std::invalid_argument("no element " + std::string(tag));
    }
}

// The first bytes of an element's storage; all of it (its longest length) unless a count is given.
inline ByteString stored(std::string_view tag) {
    const QuorrinDataElement& element = row(tag);
    return {element.value, element.value + element.maxLen};
}
inline ByteString stored(std::string_view tag, std::size_t count) {
    const QuorrinDataElement& element = row(tag);
    return {element.value, element.value + count};
}

// State and length of an element, as a host can set them apart from its value.
inline void mark(std::string_view tag, std::uint8_t state, std::uint16_t length) {
    row(tag).state = state;
    row(tag).curLen = length;
}

// All ones in the storage of every element, so that a step beside one shows.
inline void fill_every_element() {
    for (QuorrinDataElement& element : TermDt) {
        std::fill_n(element.value, element.maxLen, std::uint8_t{0xFF});
    }
    for (QuorrinDataElement& element : IccDt) {
        std::fill_n(element.value, element.maxLen, std::uint8_t{0xFF});
    }
}

// Bytes that differ from each other, from zero and from the guards.
inline ByteString pattern(std::size_t count, std::uint8_t first = 1) {
    ByteString bytes;
    for (std::uint8_t next = first; bytes.size() < count; next = next == 0x9F ? 1 : next + 1) {
        bytes.push_back(next);
    }
    return bytes;
}

// The element data at one moment, to tell what an accessor changed.
class StoreImage {
  public:
    StoreImage() {
        for (const QuorrinDataElement& element : TermDt) {
            add(element);
        }
        for (const QuorrinDataElement& element : IccDt) {
            add(element);
        }
    }

    // Tags of the elements whose value, length or state is now another.
    std::vector<std::string> changed() const {
        const StoreImage now;
        std::vector<std::string> tags;
        for (std::size_t i = 0; i < elements_.size(); ++i) {
            if (elements_[i] != now.elements_[i]) {
                tags.push_back(elements_[i].tag);
            }
        }
        return tags;
    }

  private:
    struct Element {
        std::string tag;
        ByteString value;
        unsigned length;
        unsigned state;
        bool operator==(const Element&) const = default;
    };

    void add(const QuorrinDataElement& element) {
        elements_.push_back({to_hex({element.tag, element.tagLen}),
                             {element.value, element.value + element.maxLen},
                             element.curLen,
                             element.state});
    }

    std::vector<Element> elements_;
};

class AccessorTest : public StoreTest {
  protected:
    AccessorTest() { std::ranges::fill(gl_tIccPk_GM, std::uint8_t{0}); }
    // Formats outlive every reset; tests that change them do not.
    ~AccessorTest() override {
        std::ranges::copy(terminal_, TermDt);
        std::ranges::copy(card_, IccDt);
    }

  private:
    template <std::size_t Rows>
    using Table = std::array<QuorrinDataElement, Rows>;

    Table<std::size(TermDt)> terminal_ = std::to_array(TermDt);
    Table<std::size(IccDt)> card_ = std::to_array(IccDt);
};

}  // namespace quorrin::test
