// Card responses into the store: every known card element of a BER-TLV string, templates included.

#include "boundary/host_bytes.hpp"
#include "emvdata/element_store.hpp"
#include "emvdata/elements.hpp"
#include "tlv/codec/ber_tlv.hpp"

namespace quorrin {
namespace {

constexpr std::size_t longest_template_tag = 5;

// A longer tag is none that a card has: an answer with one counts as malformed.
constexpr bool is_template_tag(Bytes tag) noexcept {
    return tag.size() <= longest_template_tag;
}

// A template that the walk will come back to.
struct OpenTemplate {
    std::uint16_t rest;  // bytes still to walk behind the template within it
    Template parent;
};

// Every level costs at least a byte. They are kept apart from the call stack, which a card could
// exhaust where a host's threads have small ones; only the levels in use are ever touched.
constexpr std::size_t max_response = 0xFFFF;
OpenTemplate open_templates[max_response];

// Whether the walk goes on after the store refused an element.
bool tolerates(std::int32_t result, Element refused) noexcept {
    constexpr auto is_one_of = [](Element wanted, auto... elements) {
        return ((wanted == elements) || ...);
    };
    const bool display_data =
        is_one_of(refused, element::app_label, element::issuer_code_table_index,
                  element::app_preferred_name, element::language_preference);
    switch (result) {
        case QUORRIN_STORE_BAD_LENGTH:
            // What is only shown to the card holder does not stop a transaction (EMV book 1,
            // 12.2.4).
            return display_data;
        case QUORRIN_STORE_NOT_USED:
            return display_data || is_one_of(refused, element::app_transaction_counter,
                                             element::last_online_atc, element::pin_try_counter);
        default:
            return false;
    }
}

std::int32_t walk(Template outermost, Bytes data) noexcept {
    std::size_t depth = 0;
    Template parent = outermost;
    Bytes rest = data;  // of the innermost template
    for (;;) {
        while (rest.empty()) {
            if (depth == 0) {
                return QUORRIN_SUCCESS;
            }
            const OpenTemplate& outer = open_templates[--depth];
            rest = Bytes(rest.data(), outer.rest);
            parent = outer.parent;
        }
        // 00 and FF before, between and after objects mean nothing (EMV book 3, annex B; ISO/IEC
        // 7816-4).
        if (tlv::is_padding(rest[0])) {
            rest = rest.subspan(1);
            continue;
        }
        const tlv::Object object = tlv::read_object(rest);
        if (object.is_malformed()) {
            return QUORRIN_WALK_MALFORMED;
        }
        // An empty object stores nothing.
        if (object.value_length != 0) {
            const Bytes tag = rest.first(object.tag_length);
            const Bytes value = rest.subspan(object.header_size(), object.value_length);
            if (object.is_constructed()) {
                if (!is_template_tag(tag)) {
                    return QUORRIN_WALK_MALFORMED;
                }
                open_templates[depth++] = {static_cast<std::uint16_t>(rest.size() - object.size()),
                                           parent};
                parent = Template::of(tag);
                rest = value;
                continue;
            }
            const Element element = find_element(tag);
            if (element.is_card()) {
                const std::int32_t result = store_value(element, parent, value);
                if (result != QUORRIN_SUCCESS && !tolerates(result, element)) {
                    return QUORRIN_WALK_REFUSED;
                }
            } else if (element.is_none() &&
                       (parent.is_too_long() || tag.empty() || tag.size() > 2)) {
                // Deliberate: unknown tags are ignored, but not those that could not even be looked
                // up. Data objects of payment cards have tags of one or two bytes (EMV book 3,
                // annex B); an answer with others is refused. Terminal tags always are ignored: a
                // card can never overwrite terminal data.
                return QUORRIN_WALK_REFUSED;
            }
        }
        rest = rest.subspan(object.size());
    }
}

}  // namespace

std::int32_t store_response(Bytes data) noexcept {
    return walk(Template::of({}), data);
}

std::int32_t store_template_contents(Bytes template_tag, Bytes data) noexcept {
    return is_template_tag(template_tag) ? walk(Template::of(template_tag), data)
                                         : QUORRIN_WALK_MALFORMED;
}

}  // namespace quorrin

using namespace quorrin;

std::int32_t emvExtractDataElement(const std::uint8_t* data, std::uint16_t length) {
    return is_missing(data, length) ? QUORRIN_WALK_MALFORMED
                                    : store_response(host_bytes(data, length));
}

std::int32_t emvExtractDataTemplate(const std::uint8_t* templateTag, std::uint8_t templateTagLen,
                                    const std::uint8_t* data, std::uint16_t length) {
    if (is_missing(templateTag, templateTagLen) || is_missing(data, length)) {
        return QUORRIN_WALK_MALFORMED;
    }
    return store_template_contents(host_bytes(templateTag, templateTagLen),
                                   host_bytes(data, length));
}
