// The exported BER-TLV codec, and the searches behind it.

#include "tlv/codec/ber_tlv.hpp"

#include <algorithm>
#include <cstring>

#include "boundary/host_bytes.hpp"
#include "quorrin/quorrin.h"

namespace quorrin::tlv {

Search find_tag(Bytes string, Bytes tag) noexcept {
    Search search{Search::not_found, false, {}};
    if (string.size() > max_search_size) {
        search.result = Search::malformed;
        return search;
    }
    for (Cursor cursor(string);;) {
        cursor.skip_padding();
        if (cursor.at_end()) {
            return search;
        }
        const Object object = cursor.object();
        if (object.is_malformed()) {
            search.result = Search::malformed;
            return search;
        }
        if (std::ranges::equal(cursor.tag(object), tag)) {
            if (search.has_value) {
                search.result = Search::found_twice;
                return search;
            }
            search = {Search::found, true, cursor.value(object)};
            // Deliberate: the first script identifier ends the search, whatever follows. Issuer
            // data may carry several scripts, each with its own (EMV book 3, 10.10).
            if (std::ranges::equal(tag, issuer_script_identifier_tag)) {
                return search;
            }
        }
        cursor.advance_flat(object);
    }
}

bool is_well_formed(Bytes string) noexcept {
    for (Cursor cursor(string);;) {
        cursor.skip_padding();
        if (cursor.at_end()) {
            return true;
        }
        const Object object = cursor.object();
        if (object.is_malformed()) {
            return false;
        }
        cursor.advance_flat(object);
    }
}

namespace {

template <typename Value>
void put(Value* target, Value value) {
    if (target != nullptr) {
        *target = value;
    }
}

}  // namespace
}  // namespace quorrin::tlv

using namespace quorrin;
using namespace quorrin::tlv;

std::int8_t tlvGetTag(const std::uint8_t* buffer, std::uint16_t available, std::uint8_t* tagLen) {
    const Tag tag = read_tag(host_bytes(buffer, available));
    if (tag.result != Tag::no_data) {
        put(tagLen, tag.length);
    }
    return tag.result;
}

std::int8_t tlvGetLength(const std::uint8_t* buffer, std::uint16_t available,
                         std::uint8_t* lengthFieldSize) {
    const Length length = read_length_field(host_bytes(buffer, available));
    if (length.field_size != 0) {
        put(lengthFieldSize, length.field_size);
    }
    return length.result;
}

std::int8_t tlvGetLengthValue(const std::uint8_t* buffer, std::uint16_t available,
                              std::uint8_t* lengthFieldSize, std::uint16_t* valueLen) {
    const Length length = read_length(host_bytes(buffer, available));
    put(valueLen, length.value);
    if (length.field_size != 0) {
        put(lengthFieldSize, length.field_size);
    }
    return length.result;
}

std::int8_t tlvGetTLV(const std::uint8_t* buffer, std::uint16_t available, std::uint8_t* tagLen,
                      std::uint8_t* lengthFieldSize, std::uint16_t* valueLen) {
    const Object object = read_object(host_bytes(buffer, available));
    put(tagLen, object.tag_length);
    put(lengthFieldSize, object.length_size);
    put(valueLen, object.value_length);
    return object.result;
}

std::int8_t tlvGetTLVDataInString(const std::uint8_t* string, std::uint16_t length,
                                  const std::uint8_t* tag, std::uint8_t tagLen, std::uint8_t* out,
                                  std::uint16_t* outLen) {
    put<std::uint16_t>(outLen, 0);
    if (is_missing(string, length)) {
        return Search::malformed;
    }
    const Search search = find_tag(host_bytes(string, length), host_bytes(tag, tagLen));
    if (search.has_value) {
        // The value may lie in the buffer that the host also gave as output.
        if (out != nullptr) {
            std::memmove(out, search.value.data(), search.value.size());
        }
        put(outLen, static_cast<std::uint16_t>(search.value.size()));
    }
    return search.result;
}

std::int8_t emvCheckTLVString(const std::uint8_t* string, std::uint16_t length) {
    const bool good = !is_missing(string, length) && is_well_formed(host_bytes(string, length));
    return good ? std::int8_t{0} : std::int8_t{QUORRIN_STRING_MALFORMED};
}

std::int8_t ucAppendTLV(std::uint8_t* out, std::uint32_t* position, const std::uint8_t* tag,
                        std::uint8_t tagLen, const std::uint8_t* value, std::uint16_t valueLen) {
    if (tagLen == 0 || out == nullptr || position == nullptr || tag == nullptr ||
        (value == nullptr && valueLen > 0)) {
        return QUORRIN_STRING_NOTHING_WRITTEN;
    }
    std::uint8_t* end = out + *position;
    const auto append = [&](unsigned byte) { *end++ = static_cast<std::uint8_t>(byte); };
    end = std::copy_n(tag, tagLen, end);
    if (valueLen >= 0x100) {
        append(0x82);
        append(valueLen >> 8);
    } else if (valueLen >= 0x80) {
        append(0x81);
    }
    append(valueLen);
    end = std::copy_n(value, valueLen, end);
    *position = static_cast<std::uint32_t>(end - out);
    return 0;
}
