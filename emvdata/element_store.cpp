#include "emvdata/element_store.hpp"

#include <cstring>

namespace quorrin {
namespace {

// A host may raise a row's bounds; they never let an access leave the row's storage.
std::size_t usable_maximum(const QuorrinDataElement& element, Slot slot) {
    return std::min(element.maxLen, storage_size(slot));
}

// FCI and directory templates carry elements that belong elsewhere on many cards.
bool drops_misplaced_elements(Bytes parent) {
    if (parent.size() == 2) {
        return parent[0] == 0xBF && parent[1] == 0x0C;
    }
    return parent[0] == 0x6F || parent[0] == 0x73 || parent[0] == 0xA5;
}

}  // namespace

std::int32_t check_template(const QuorrinDataElement& element, Bytes parent) noexcept {
    if (parent.size() > 2) {
        return template_code::tag_too_long;
    }
    if (parent.empty()) {
        return template_code::accepted;
    }
    const std::uint8_t* allowed = element.templates;
    bool accepted = false;
    if (parent.size() == 2) {
        accepted = element.templateCode == 3 && parent[0] == allowed[0] && parent[1] == allowed[1];
    } else if (element.templateCode == 0) {
        accepted = true;
    } else if (element.templateCode == 3) {
        accepted = parent[0] == allowed[2];
    } else {
        // Deliberate: a row with a single template has 00 as its second byte and so accepts a
        // template byte 00 too.
        accepted = parent[0] == allowed[0] || parent[0] == allowed[1];
    }
    return accepted ? template_code::accepted : template_code::mismatch;
}

std::int32_t store_value(Slot slot, Bytes parent, Bytes value) noexcept {
    QuorrinDataElement& element = record(slot);
    // A terminal element has no home template.
    if (!parent.empty() && slot.is_card() &&
        check_template(element, parent) != template_code::accepted) {
        return drops_misplaced_elements(parent) ? store_code::success : store_code::wrong_template;
    }
    const std::size_t maximum = usable_maximum(element, slot);
    if (value.size() < element.minLen || value.size() > maximum) {
        return store_code::bad_length;
    }
    std::uint8_t* const storage = element.value;
    if (storage == nullptr) {
        return store_code::unknown_format;
    }
    // Deliberate: the fill is counted in 8 bits, so a short value of 86 (up to 261 bytes) leaves
    // old bytes behind its own; its length tells hosts where it ends.
    const auto fill = static_cast<std::uint8_t>(maximum - value.size());
    switch (static_cast<Format>(element.format)) {
        case Format::n:
            std::memset(storage, 0x00, fill);
            std::memmove(storage + fill, value.data(), value.size());
            break;
        case Format::cn:
            std::memmove(storage, value.data(), value.size());
            std::memset(storage + value.size(), 0xFF, fill);
            break;
        case Format::an:
        case Format::ans:
        case Format::b:
        case Format::a:
            std::memmove(storage, value.data(), value.size());
            std::memset(storage + value.size(), 0x00, fill);
            break;
        default:
            return store_code::unknown_format;
    }
    element.curLen = static_cast<std::uint16_t>(value.size());
    element.state = 1;
    return store_code::success;
}

std::int32_t store_element(Bytes parent, Bytes tag, Bytes value) noexcept {
    if (parent.size() > 2) {
        return store_code::template_tag_too_long;
    }
    if (tag.empty() || tag.size() > 2) {
        return store_code::bad_tag_length;
    }
    if (value.empty()) {
        return store_code::no_value;
    }
    const Slot slot = find_slot(tag);
    return slot.is_none() ? store_code::unknown_element : store_value(slot, parent, value);
}

std::int32_t read_value(Slot slot, std::span<std::uint8_t> out) noexcept {
    static constexpr std::uint8_t never_reset[512] = {};
    const QuorrinDataElement& element = record(slot);
    const std::uint8_t* const storage = element.value != nullptr ? element.value : never_reset;
    const std::size_t held = std::min(element.curLen, storage_size(slot));
    const std::size_t copied = std::min(held, out.size());
    const std::size_t padding = out.size() - copied;
    std::uint8_t* const to = out.data();

    switch (static_cast<Format>(element.format)) {
        case Format::n: {
            const std::size_t maximum = usable_maximum(element, slot);
            // Deliberate: a cut numeric value counts its bytes from the start of the storage by its
            // length, and so shows leading zeros when the value is shorter than the element.
            const std::size_t start = padding == 0 && copied < held ? held - copied
                                      : maximum > held              ? maximum - held
                                                                    : 0;
            std::memset(to, 0x00, padding);
            std::memcpy(to + padding, storage + start, copied);
            break;
        }
        case Format::cn:
            std::memcpy(to, storage, copied);
            std::memset(to + copied, 0xFF, padding);
            break;
        case Format::an:
        case Format::ans:
        case Format::b:
        case Format::a:
            std::memcpy(to, storage, copied);
            std::memset(to + copied, 0x00, padding);
            break;
        default:
            return read_code::unknown_format;
    }
    return slot.is_card() ? read_code::from_card : read_code::from_terminal;
}

}  // namespace quorrin
