// The card's transaction log (PBOC part 5): log format, log entry of the FCI, log records as text.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "bankcard/candidate_list.hpp"
#include "bankcard/card_commands.hpp"
#include "bankcard/log_record.hpp"
#include "quorrin/quorrin.h"
#include "reader/card_step.hpp"
#include "reader/hex_bytes.hpp"
#include "tlv/codec/ber_tlv.hpp"

using namespace quorrin;

namespace {

using tlv::Bytes;

struct LogKind {
    std::uint8_t format_tag[2];  // asked for with GET DATA
    std::uint8_t entry_tag[2];   // in the application's FCI
};
constexpr LogKind transaction_log = {{0x9F, 0x4F}, {0x9F, 0x4D}};
constexpr LogKind load_log = {{0xDF, 0x4F}, {0xDF, 0x4D}};

constexpr std::size_t aid_text_room = 100;
constexpr std::size_t list_text_room = 256;  // of a directory's candidate list

// The application's name as bytes, with room for whatever text it comes from.
struct Aid {
    std::array<std::uint8_t, list_text_room / 2> bytes = {};
    std::size_t length = 0;
    Bytes name() const { return Bytes(bytes).first(length); }
};

Aid from_hex(std::string_view text) {
    Aid aid;
    aid.length = read_hex(text, aid.bytes).size();
    return aid;
}

// The AID that the host names, or the first application of the card's directory.
Aid choose_application(std::int64_t handle, std::string_view aid_hex) {
    if (!aid_hex.empty()) {
        return from_hex(aid_hex);
    }
    // Deliberate: whatever comes of the directory, what it listed is selected, be it the empty
    // name.
    std::array<char, list_text_room + 1> list = {};
    selectByPse(handle, list.data());
    return from_hex(first_aid(list.data()));
}

// Where the log records are.
struct LogEntry {
    std::uint8_t sfi;
    std::uint8_t record_count;
};

bool find_log_entry(const LogKind& kind, Bytes fci, LogEntry& entry) {
    const tlv::Search search = tlv::find_tag(fci, kind.entry_tag);
    if (search.result != tlv::Search::found) {
        return false;
    }
    const auto byte = [&](std::size_t position) {
        return position < search.value.size() ? search.value[position] : std::uint8_t{0};
    };
    entry = {byte(0), byte(1)};
    return true;
}

// A selector of 1 to 10 names one record, 0 or more than 10 stand for all. A negative one names a
// record that no log has.
bool is_selected(std::int32_t selector, int record) {
    constexpr std::int32_t highest_record_to_name = 10;
    return selector == 0 || selector > highest_record_to_name || selector == record;
}

// The output text: the length of the first record's text, then the records' texts back to back.
// Deliberate: the length stands there once. The records of a log share one format and thus one text
// length, by which the host cuts the rest.
class LogText {
  public:
    explicit LogText(char* out) : next_(out) {}

    void append(const log_record::Text& text) {
        if (!begun_) {
            std::array<char, 8> digits;
            const int count = std::snprintf(digits.data(), digits.size(), "%03d", text.length);
            next_ = std::copy_n(digits.data(), count, next_);
            begun_ = true;
        }
        next_ = std::copy_n(text.characters.data(), text.length, next_);
    }

  private:
    char* next_;
    bool begun_ = false;
};

std::int64_t read_records(std::int64_t handle, const LogEntry& entry, std::int32_t selector,
                          Bytes format_answer, char* out) {
    LogText text(out);
    CardAnswer answer;
    for (int record = 1; record <= entry.record_count; ++record) {
        if (!is_selected(selector, record)) {
            continue;
        }
        const CardCommand command =
            read_record(static_cast<std::uint8_t>(record), record_of_file(entry.sfi));
        if (const std::int64_t failure = card_step(handle, command, answer)) {
            return failure;
        }
        const auto format = log_record::read_format(format_answer);
        if (!format) {
            return QUORRIN_DATA_MALFORMED;
        }
        text.append(log_record::make_text(*format, answer.data()));
    }
    return QUORRIN_SUCCESS;
}

}  // namespace

std::int64_t GetIcBankCardTrDetail(std::int32_t logType, std::int64_t handle, std::int32_t selector,
                                   const char* aidHex, char* out) {
    if (out == nullptr) {
        return QUORRIN_BAD_PARAMETER;
    }
    const LogKind& kind = logType == QUORRIN_LOAD_LOG ? load_log : transaction_log;
    const std::size_t text_length = aidHex != nullptr ? strnlen(aidHex, aid_text_room) : 0;
    if (text_length == aid_text_room) {
        return QUORRIN_BAD_PARAMETER;
    }
    const Aid aid = choose_application(handle, {aidHex, text_length});

    CardAnswer fci;
    if (const std::int64_t failure = card_step(handle, select_by_name(aid.name()), fci)) {
        return failure;
    }
    CardAnswer format;
    if (const std::int64_t failure =
            card_step(handle, get_data(kind.format_tag[0], kind.format_tag[1]), format)) {
        return failure;
    }
    if (aid.length > max_aid_size) {
        return QUORRIN_BAD_PARAMETER;
    }
    LogEntry entry{};
    if (!find_log_entry(kind, fci.data(), entry)) {
        return QUORRIN_OBJECT_MISSING;
    }
    return read_records(handle, entry, selector, format.data(), out);
}
