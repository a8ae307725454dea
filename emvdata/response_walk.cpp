// Card responses into the store: every known card element of a BER-TLV string, templates included.

#include <array>

#include "boundary/host_bytes.hpp"
#include "emvdata/element_store.hpp"
#include "emvdata/elements.hpp"
#include "tlv/codec/ber_tlv.hpp"

namespace quorrin {
namespace {

constexpr std::int32_t walked = 0;
constexpr std::int32_t malformed = -30;
constexpr std::int32_t aborted = -31;

constexpr std::size_t longest_template_tag = 5;

// A longer tag is none that a card has: an answer with one counts as malformed.
constexpr bool is_template_tag(Bytes tag) noexcept {
    return tag.size() <= longest_template_tag;
}

// The templates that the walk will come back to, kept here so that no card can exhaust the call
// stack. A level costs a tag byte and a length field, which takes 1 byte up to 127, 2 up to 255 and
// 3 above: 64 KiB hold no more levels than this. That holds for constructed tags of 256 bytes too,
// which count as length 0: their first byte is then the length field. BF makes it 64 bytes (FF is
// padding); 3F and 7F are the length itself, and the at most 127 bytes behind them are too few for
// a second such tag: one level more.
class OpenTemplates {
  public:
    struct Level {
        std::uint16_t rest;  // bytes still to walk behind the template that is being walked
        TemplateSet templates;
    };

    bool empty() const { return count_ == 0; }
    void push(std::size_t rest, TemplateSet templates) {
        levels_[count_++] = {static_cast<std::uint16_t>(rest), templates};
    }
    Level pop() { return levels_[--count_]; }

  private:
    static constexpr std::size_t max_levels = 128 / 2 + 128 / 3 + 65536 / 4 + 8;
    std::size_t count_ = 0;
    union {
        std::array<Level, max_levels> levels_;  // only the levels in use are ever touched
    };

  public:
    OpenTemplates() {}
};

// Whether the walk goes on after the store refused an element.
bool tolerates(std::int32_t result, Element refused) noexcept {
    constexpr std::int32_t value_rejected = -26;
    constexpr auto is_one_of = [](Element wanted, auto... elements) {
        return ((wanted == elements) || ...);
    };
    const bool display_data =
        is_one_of(refused, element::app_label, element::issuer_code_table_index,
                  element::app_preferred_name, element::language_preference);
    switch (result) {
        case store_code::bad_length:
            // What is only shown to the card holder does not stop a transaction (EMV book 1,
            // 12.2.4).
            return display_data;
        case value_rejected:
            return display_data || is_one_of(refused, element::app_transaction_counter,
                                             element::last_online_atc, element::pin_try_counter);
        default:
            return false;
    }
}

std::int32_t walk(TemplateSet outermost, Bytes data) noexcept {
    OpenTemplates outer;
    TemplateSet parent = outermost;
    Bytes rest = data;  // of the innermost template
    for (;;) {
        while (rest.empty()) {
            if (outer.empty()) {
                return walked;
            }
            const OpenTemplates::Level level = outer.pop();
            rest = Bytes(rest.data(), level.rest);
            parent = level.templates;
        }
        if (tlv::is_padding(rest[0])) {
            rest = rest.subspan(1);
            continue;
        }
        const tlv::Object object = tlv::read_object(rest);
        if (object.is_malformed()) {
            return malformed;
        }
        // An empty object stores nothing.
        if (object.value_length != 0) {
            const Bytes tag = rest.first(object.tag_length);
            const Bytes value = rest.subspan(object.header_size(), object.value_length);
            if (object.is_constructed()) {
                if (!is_template_tag(tag)) {
                    return malformed;
                }
                outer.push(rest.size() - object.size(), parent);
                parent = TemplateSet::of(tag);
                rest = value;
                continue;
            }
            const Element element = find_element(tag);
            if (element.is_card()) {
                const std::int32_t result = store_value(element, parent, value);
                if (result != store_code::success && !tolerates(result, element)) {
                    return aborted;
                }
            } else if (element.is_none() &&
                       (parent.is_too_long() || tag.empty() || tag.size() > 2)) {
                // Deliberate: unknown tags are ignored, but not those that could not even be looked
                // up. Data objects of payment cards have tags of one or two bytes (EMV book 3,
                // annex B); an answer with others is refused. Terminal tags always are ignored: a
                // card can never overwrite terminal data.
                return aborted;
            }
        }
        rest = rest.subspan(object.size());
    }
}

}  // namespace

std::int32_t store_response(Bytes data) noexcept {
    return walk(TemplateSet::of({}), data);
}

std::int32_t store_template_contents(Bytes template_tag, Bytes data) noexcept {
    return is_template_tag(template_tag) ? walk(TemplateSet::of(template_tag), data) : malformed;
}

}  // namespace quorrin

using namespace quorrin;

std::int32_t emvExtractDataElement(const std::uint8_t* data, std::uint16_t length) {
    return is_missing(data, length) ? malformed : store_response(host_bytes(data, length));
}

std::int32_t emvExtractDataTemplate(const std::uint8_t* templateTag, std::uint8_t templateTagLen,
                                    const std::uint8_t* data, std::uint16_t length) {
    if (is_missing(templateTag, templateTagLen) || is_missing(data, length)) {
        return malformed;
    }
    return store_template_contents(host_bytes(templateTag, templateTagLen),
                                   host_bytes(data, length));
}
