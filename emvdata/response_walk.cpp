// Card responses into the store: every known card element of a BER-TLV string, templates included.

#include <array>

#include "emvdata/element_store.hpp"
#include "reader/process_stop.hpp"
#include "tlv/ber_tlv.hpp"

namespace quorrin {
namespace {

constexpr std::int32_t walked = 0;
constexpr std::int32_t malformed = -30;
constexpr std::int32_t aborted = -31;

constexpr std::size_t longest_template_tag = 5;

void check_template_tag(Bytes tag) noexcept {
    if (tag.size() > longest_template_tag) {
        stop_process("a template tag in a card response has more than 5 bytes");
    }
}

// The templates that the walk is inside of, kept here so that no card can exhaust the call stack. A
// level costs a tag byte and a length field, which takes 1 byte up to 127, 2 up to 255 and 3 above:
// 64 KiB hold no more levels than this.
class OpenTemplates {
  public:
    bool empty() const { return count_ == 0; }
    void open(std::size_t end, std::size_t tag_position) {
        levels_[count_++] = {static_cast<std::uint16_t>(end),
                             static_cast<std::uint16_t>(tag_position)};
    }
    void close() { --count_; }
    std::size_t end() const { return levels_[count_ - 1].end; }
    Bytes tag(Bytes data) const {
        const Bytes object = data.subspan(levels_[count_ - 1].tag_position);
        return object.first(tlv::read_tag(object).length);
    }

  private:
    static constexpr std::size_t max_levels = 128 / 2 + 128 / 3 + 65536 / 4 + 8;
    struct Level {
        std::uint16_t end;
        std::uint16_t tag_position;
    };
    std::size_t count_ = 0;
    std::array<Level, max_levels> levels_;  // only the levels in use are ever touched
};

// Stores one primitive element. Unknown tags are ignored; a card can never overwrite terminal data.
std::int32_t store_from_card(Bytes parent, Bytes tag, Bytes value) noexcept {
    const Slot slot = find_slot(tag);
    if (slot.is_terminal()) {
        return store_code::success;
    }
    if (parent.size() > 2) {
        return store_code::template_tag_too_long;
    }
    if (tag.size() > 2) {
        return store_code::bad_tag_length;
    }
    return slot.is_none() ? store_code::unknown_element : store_value(slot, parent, value);
}

bool has_tag(Bytes tag, std::uint8_t first, std::uint8_t second) {
    return tag.size() == 2 && tag[0] == first && tag[1] == second;
}

// Whether the walk goes on after an element was refused.
bool tolerates(std::int32_t result, Bytes tag) noexcept {
    if (result == store_code::success || result == store_code::unknown_element) {
        return true;
    }
    constexpr std::int32_t value_rejected = -26;
    const bool display_data = tag[0] == 0x50 || has_tag(tag, 0x9F, 0x11) ||
                              has_tag(tag, 0x9F, 0x12) || has_tag(tag, 0x5F, 0x2D);
    switch (result) {
        case store_code::bad_length:
            // What is only shown to the card holder does not stop a transaction (EMV book
            // 1, 12.2.4).
            return display_data;
        case value_rejected:
            return display_data || has_tag(tag, 0x9F, 0x36) || has_tag(tag, 0x9F, 0x13) ||
                   has_tag(tag, 0x9F, 0x17);
        default:
            return false;
    }
}

std::int32_t walk(Bytes outermost_template, Bytes data) noexcept {
    OpenTemplates templates;
    Bytes parent = outermost_template;
    std::size_t end = data.size();
    std::size_t position = 0;
    for (;;) {
        while (position == end) {
            if (templates.empty()) {
                return walked;
            }
            templates.close();
            end = templates.empty() ? data.size() : templates.end();
            parent = templates.empty() ? outermost_template : templates.tag(data);
        }
        if (tlv::is_padding(data[position])) {
            ++position;
            continue;
        }
        const Bytes rest = data.subspan(position, end - position);
        const tlv::Object object = tlv::read_object(rest);
        if (object.is_malformed()) {
            return malformed;
        }
        const Bytes tag = rest.first(object.tag_length);
        if (object.is_constructed() && object.value_length != 0) {
            check_template_tag(tag);
            const std::size_t value_start = position + object.header_size();
            end = position + object.size();
            templates.open(end, position);
            parent = tag;
            position = value_start;
            continue;
        }
        // An empty element stores nothing.
        if (object.value_length != 0) {
            const Bytes value = rest.subspan(object.header_size(), object.value_length);
            if (!tolerates(store_from_card(parent, tag, value), tag)) {
                return aborted;
            }
        }
        position += object.size();
    }
}

}  // namespace

std::int32_t store_response(Bytes data) noexcept {
    return walk({}, data);
}

std::int32_t store_template_contents(Bytes template_tag, Bytes data) noexcept {
    check_template_tag(template_tag);
    return walk(template_tag, data);
}

}  // namespace quorrin

using namespace quorrin;

std::int32_t emvExtractDataElement(const std::uint8_t* data, std::uint16_t length) {
    return store_response({data, data != nullptr ? length : std::size_t{0}});
}

std::int32_t emvExtractDataTemplate(const std::uint8_t* templateTag, std::uint8_t templateTagLen,
                                    const std::uint8_t* data, std::uint16_t length) {
    return store_template_contents(
        {templateTag, templateTag != nullptr ? templateTagLen : std::size_t{0}},
        {data, data != nullptr ? length : std::size_t{0}});
}
