// The issuer's answer taken apart: response code, authorisation code, authentication data and
// scripts go into the store.

#include <algorithm>
#include <array>

#include "emvdata/element_store.hpp"
#include "quorrin/quorrin.h"
#include "tlv/codec/ber_tlv.hpp"
#include "tlv/issuer/issuer_script.hpp"

using namespace quorrin;

namespace {

using tlv::Bytes;

constexpr std::size_t max_issuer_data = 512;

constexpr std::uint8_t response_code_tag = 0x8A;
constexpr std::uint8_t authorisation_code_tag = 0x89;
constexpr std::uint8_t authentication_data_tag = 0x91;
constexpr std::uint8_t script_buffer_tag = 0x71;

// What the store refuses (a wrong length) is as good as not sent.
void store(std::uint8_t tag, Bytes value) {
    store_element({}, {&tag, 1}, value);
}

// The scripts as they are kept: their number, each script behind its size, one zero byte.
class ScriptBuffer {
  public:
    void append(Bytes script) {
        bytes_[used_++] = static_cast<std::uint8_t>(script.size());
        std::copy(script.begin(), script.end(), bytes_.data() + used_);
        used_ += script.size();
        ++bytes_[0];
        any_ = true;
    }
    bool any() const { return any_; }
    // Deliberate: the zero byte after the last script counts.
    Bytes stored() const { return {bytes_.data(), used_ + 1}; }

  private:
    // Room for all that the issuer data can hold, at worst empty scripts of two bytes each. What is
    // too long for the script element is refused as a whole by the store.
    static constexpr std::size_t smallest_script = 2;
    static constexpr std::size_t room = 1 + max_issuer_data + max_issuer_data / smallest_script + 1;
    static_assert(room >= 1 + max_issuer_data / smallest_script * (1 + smallest_script) + 1);

    std::array<std::uint8_t, room> bytes_ = {};
    std::size_t used_ = 1;
    bool any_ = false;
};

// 8A and 89 count at the very start only, in this order.
void store_leading_elements(tlv::Cursor& cursor) {
    for (const std::uint8_t tag : {response_code_tag, authorisation_code_tag}) {
        const tlv::Object object = cursor.object();
        if (object.is_primitive() && cursor.has_tag(object, tag)) {
            store(tag, cursor.value(object));
            cursor.step_over(object);
        }
    }
}

void store_authentication_data_and_scripts(tlv::Cursor& cursor) {
    bool authentication_data_met = false;
    ScriptBuffer scripts;
    while (!cursor.at_end()) {
        const tlv::Object object = cursor.object();
        if (object.is_primitive() && cursor.has_tag(object, authentication_data_tag)) {
            if (!authentication_data_met) {
                store(authentication_data_tag, cursor.value(object));
            }
            authentication_data_met = true;
        } else if (object.is_constructed() && script::find_kind(cursor.rest()[0]) != nullptr) {
            scripts.append(cursor.rest().first(object.size()));
        }
        // A malformed object is stepped over by the sizes decoded so far.
        cursor.step_over(object);
    }
    if (scripts.any()) {
        // Deliberate: one buffer under 71 for the scripts of both kinds, in received order.
        store(script_buffer_tag, scripts.stored());
    }
}

}  // namespace

std::int32_t emvExtractIssuerData(const std::uint8_t* data, std::uint16_t length) {
    if (data == nullptr || length > max_issuer_data) {
        return 0;
    }
    tlv::Cursor cursor(Bytes(data, length));
    store_leading_elements(cursor);
    store_authentication_data_and_scripts(cursor);
    return 0;
}
