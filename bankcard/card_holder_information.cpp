// Card holder and account data for the host, as keyed value text.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "bankcard/application_reading.hpp"
#include "bankcard/card_commands.hpp"
#include "bankcard/keyed_text.hpp"
#include "emvdata/element_store.hpp"
#include "quorrin/quorrin.h"
#include "reader/hex_bytes.hpp"

namespace quorrin {
namespace {

// The text for the host, handed over when it is complete. An item without room is left out whole.
class KeyedText {
  public:
    void append(const QuorrinKeyRow& row, Bytes value) {
        const bool as_hex = row.hexFlag == 1;
        const std::size_t characters = as_hex ? 2 * value.size() : value.size();
        char header[item_header + 1];
        if (characters > max_item_value || item_header + characters > text_.size() - length_) {
            return;
        }
        std::snprintf(header, sizeof header, "%c%03u", row.key, static_cast<unsigned>(characters));
        char* item = text_.data() + length_;
        std::memcpy(item, header, item_header);
        if (as_hex) {
            write_hex(item + item_header, value);
        } else {
            std::copy(value.begin(), value.end(), item + item_header);
        }
        length_ += item_header + characters;
    }

    void copy_to(char* out) const { std::copy_n(text_.begin(), length_, out); }

  private:
    std::array<char, 2048> text_{};
    std::size_t length_ = 0;
};

void append_element(KeyedText& text, const QuorrinKeyRow& row) {
    const Element element = find_element(Bytes(row.tag).first(row.tagLen));
    if (!element.is_card() || !is_present(element)) {
        return;
    }
    std::array<std::uint8_t, 1024> value{};
    const auto room =
        std::span(value).first(std::min<std::size_t>(record(element).curLen, value.size()));
    if (read_value(element, room) == QUORRIN_READ_FROM_CARD) {
        text.append(row, room);
    }
}

}  // namespace
}  // namespace quorrin

using namespace quorrin;

std::int32_t emvGetDataCmd(const std::uint8_t* tag, std::uint8_t tagLen) {
    if (tag == nullptr || tagLen < 1 || tagLen > 2) {
        return QUORRIN_DATA_MALFORMED;
    }
    CardAnswer answer;
    const CardCommand command = get_data(tag[0], tagLen == 2 ? tag[1] : std::uint8_t{0x00});
    // Deliberate: the open reader is asked, whatever handle the operation was given.
    if (const std::int64_t failure = card_step(ReaderHandle, command, answer)) {
        return static_cast<std::int32_t>(failure);
    }
    return store_response(answer.data()) == 0 ? 0 : QUORRIN_DATA_MALFORMED;
}

std::int32_t packUserInfo(const char* keys, char* out) {
    if (keys == nullptr || out == nullptr) {
        return 0;
    }
    KeyedText text;
    for (; *keys != '\0'; ++keys) {
        const QuorrinKeyRow* row = find_key(static_cast<std::uint8_t>(*keys), TagMapgetIccInfo);
        if (row == nullptr) {
            continue;
        }
        if (row->getDataFlag == 1) {
            emvGetDataCmd(row->tag, row->tagLen);  // a card that refuses has the element absent
        }
        append_element(text, *row);
    }
    text.copy_to(out);
    return 0;
}

std::int64_t getIccInfo(std::int64_t handle, const char* aidHex, const char* keys, char* out) {
    if (keys == nullptr || out == nullptr) {
        return QUORRIN_BAD_PARAMETER;
    }
    if (const std::int64_t failure = read_application(handle, aidHex, nullptr, nullptr)) {
        return failure;
    }
    return packUserInfo(keys, out);
}
