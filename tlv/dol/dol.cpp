#include "tlv/dol/dol.hpp"

#include <cstring>
#include <limits>

#include "boundary/host_bytes.hpp"
#include "emvdata/element_store.hpp"
#include "emvdata/elements.hpp"
#include "quorrin/quorrin.h"

namespace quorrin::dol {
namespace {

using Out = std::span<std::uint8_t>;

void zero(Out entry) {
    std::memset(entry.data(), 0, entry.size());
}

// Walks the list; fill(tag, entry) writes one primitive entry and returns 0 or QUORRIN_DOL_REFUSED.
//
// Deliberate: 00 and FF between entries are read as tags, not skipped as padding. The card computes
// its cryptogram over the answer to every entry that it listed, so a list is taken byte by byte.
template <typename Fill>
Built build_with(Bytes list, Out out, Fill fill) noexcept {
    Built built{QUORRIN_SUCCESS, 0};
    for (tlv::Cursor cursor(list); !cursor.at_end();) {
        const tlv::Tag tag = tlv::read_tag(cursor.rest());
        if (tag.result < 0) {
            built.result = QUORRIN_DOL_BAD_TAG;
            return built;
        }
        const tlv::Length length = tlv::read_length(cursor.rest().subspan(tag.length));
        // No value follows in a list: a length beyond its end is what a list is made of.
        if (length.result != tlv::Length::good && length.result != tlv::Length::value_too_long) {
            built.result = QUORRIN_DOL_BAD_LENGTH;
            return built;
        }
        if (length.value > out.size() - built.length) {
            built.result = no_room;
            return built;
        }
        const Out entry = out.subspan(built.length, length.value);
        if (tag.result == tlv::constructed) {  // EMV book 3, 5.4: a template is answered with zeros
            zero(entry);
        } else if (!entry.empty()) {
            built.result = fill(cursor.rest().first(tag.length), entry);
            if (built.result != QUORRIN_SUCCESS) {
                return built;
            }
        }
        built.length += length.value;
        cursor.advance(std::size_t{tag.length} + length.field_size);
    }
    return built;
}

bool names_no_element(Bytes tag) {
    return tag.empty() || tag.size() > 2;
}

// A terminal that brings no CA public key index of its own answers with the card's.
void substitute_ca_key_index(Element element, Out entry) {
    constexpr Element terminal_index = element::ca_public_key_index_terminal;
    constexpr Element card_index = element::ca_public_key_index_card;
    if (element == terminal_index && record(terminal_index).state == 0 && is_present(card_index) &&
        record(card_index).curLen != 0) {
        read_value(card_index, entry.first(1));
    }
}

}  // namespace

Built build(Bytes list, Out out) noexcept {
    return build_with(list, out, [](Bytes tag, Out entry) -> std::int32_t {
        if (names_no_element(tag)) {
            return QUORRIN_DOL_REFUSED;
        }
        const Element element = find_element(tag);
        if (element.is_none()) {  // EMV book 3, 5.4: and so is an unknown tag
            zero(entry);
            return QUORRIN_SUCCESS;
        }
        if (read_value(element, entry) < 0) {
            return QUORRIN_DOL_REFUSED;
        }
        substitute_ca_key_index(element, entry);
        return QUORRIN_SUCCESS;
    });
}

Built build_pdol(Bytes list, Out out) noexcept {
    return build_with(list, out, [](Bytes tag, Out entry) -> std::int32_t {
        if (names_no_element(tag)) {
            return QUORRIN_DOL_REFUSED;
        }
        const Element element = find_element(tag);
        // Deliberate: a card's own elements go back as zeros, like unknown ones; before GET
        // PROCESSING OPTIONS the terminal speaks for itself alone.
        if (!element.is_terminal()) {
            zero(entry);
            return QUORRIN_SUCCESS;
        }
        return read_value(element, entry) < 0 ? QUORRIN_DOL_REFUSED : 0;
    });
}

namespace {

// The host owns the size of its buffer.
Out host_room(std::uint8_t* out) {
    return {out, out != nullptr ? std::size_t{std::numeric_limits<std::uint32_t>::max()} : 0};
}

using Builder = Built (*)(Bytes list, Out out) noexcept;

std::int32_t build_for_host(Builder builder, std::uint8_t* out, std::uint16_t* out_length,
                            const std::uint8_t* list, std::size_t length) {
    const Built built = is_missing(list, length)
                            ? Built{QUORRIN_DOL_BAD_TAG, 0}
                            : builder(host_bytes(list, length), host_room(out));
    if (out_length != nullptr) {
        *out_length = static_cast<std::uint16_t>(built.length);
    }
    // Only a null pointer has no room.
    return built.result == no_room ? QUORRIN_DOL_REFUSED : built.result;
}

}  // namespace
}  // namespace quorrin::dol

using namespace quorrin;

std::int32_t dolPaddingDOL(std::uint8_t* out, std::uint16_t* outLen, const std::uint8_t* list,
                           std::uint16_t listLen) {
    return dol::build_for_host(dol::build, out, outLen, list, listLen);
}

std::int32_t dolPaddingPdol(std::uint8_t* out, std::uint16_t* outLen, const std::uint8_t* list,
                            std::uint16_t listLen) {
    return dol::build_for_host(dol::build_pdol, out, outLen, list, listLen);
}

std::int32_t dolCheckTagInDol(const std::uint8_t* tag, std::uint8_t tagLen,
                              const std::uint8_t* list, std::uint8_t listLen) {
    if (is_missing(list, listLen)) {
        return QUORRIN_DOL_ENTRY_BAD_TAG;
    }
    for (tlv::Cursor cursor(host_bytes(list, listLen)); !cursor.at_end();) {
        const tlv::Tag entry = tlv::read_tag(cursor.rest());
        if (entry.result < 0) {
            return QUORRIN_DOL_ENTRY_BAD_TAG;
        }
        if (tag != nullptr && entry.length == tagLen &&
            StrCmp(cursor.rest().data(), tag, tagLen) == 0) {
            return QUORRIN_DOL_ENTRY_PRESENT;
        }
        const tlv::Length length = tlv::read_length_field(cursor.rest().subspan(entry.length));
        if (length.result != tlv::Length::good) {
            return QUORRIN_DOL_ENTRY_BAD_LENGTH;
        }
        cursor.advance(std::size_t{entry.length} + length.field_size);
    }
    return QUORRIN_DOL_ENTRY_ABSENT;
}
