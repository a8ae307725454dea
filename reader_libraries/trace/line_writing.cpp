#include "reader_libraries/trace/line_writing.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstring>
#include <type_traits>

#include "reader_libraries/trace/call_names.hpp"
#include "reader_libraries/trace/field_names.hpp"
#include "reader_libraries/trace/masking/command_rules.hpp"

namespace quorrin::trace {
namespace {

constexpr char hex_digits[] = "0123456789ABCDEF";

// The eight digits of four bytes, a byte each, the first digit lowest.
constexpr std::uint64_t digits_of(std::uint32_t four) {
    std::uint64_t spread = four;
    spread = (spread | spread << 16) & 0x0000'FFFF'0000'FFFFU;
    spread = (spread | spread << 8) & 0x00FF'00FF'00FF'00FFU;
    return (spread >> 4 & 0x000F'000F'000F'000FU) | (spread & 0x000F'000F'000F'000FU) << 8;
}

// As hex text, with * for the digits that the mask has.
constexpr std::uint64_t text_of(std::uint32_t four, std::uint32_t mask) {
    constexpr std::uint64_t each = 0x0101'0101'0101'0101U;
    const std::uint64_t digits = digits_of(four);
    const std::uint64_t is_letter = (digits + 6 * each) >> 4 & each;
    const std::uint64_t shown = digits + '0' * each + is_letter * ('A' - '0' - 10);
    const std::uint64_t hidden = digits_of(mask) * 0x11;
    return (shown & ~hidden) | ('*' * each & hidden);
}
static_assert(text_of(0xEF'9A'01'40, 0x00'0F'00'F0) == 0x46'45'2A'39'31'30'30'2A);  // *0019*EF

// The bytes of one UTF-8 character at the start of the text; 0 where there is none.
std::size_t character_size(std::string_view text) {
    const auto byte = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const unsigned first = byte(0);
    const auto continues = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return continues(1) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const bool overlong = first == 0xE0 && byte(1) < 0xA0;
        const bool surrogate = first == 0xED && byte(1) >= 0xA0;
        return continues(1) && continues(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool outside =
            (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) >= 0x90);
        return continues(1) && continues(2) && continues(3) && !outside ? 4 : 0;
    }
    return 0;
}

// A card's ordinary answers; everything else is a failure for whoever counts failures.
bool is_success(const Call& call) {
    if (result_name(call.action, call.result) != "ok") {
        return false;
    }
    if (call.action != Action::Exchange || call.answer.size() < status_word_size) {
        return true;
    }
    const std::uint8_t sw1 = call.answer[call.answer.size() - 2];
    return (sw1 == 0x90 && call.answer.back() == 0x00) || sw1 == 0x61 || sw1 == 0x6C;
}

}  // namespace

// The room exceeds what any line needs; the bound keeps a defect from becoming memory damage.
void LineWriter::raw(std::string_view text) {
    const std::size_t size = std::min(text.size(), buffer_.size() - size_);
    std::memcpy(buffer_.data() + size_, text.data(), size);
    size_ += size;
}

void LineWriter::name(std::string_view field) {
    raw(size_ == 0 ? "{\"" : ",\"");
    raw(field);
    raw("\":");
}

void LineWriter::plain_text(std::string_view field, std::string_view value) {
    name(field);
    raw("\"");
    raw(value);
    raw("\"");
}

// Bytes that are no UTF-8 appear as the characters of their value (ISO 8859-1).
void LineWriter::text(std::string_view field, std::string_view value) {
    name(field);
    raw("\"");
    while (!value.empty()) {
        const auto first = static_cast<unsigned char>(value.front());
        const std::size_t size = character_size(value);
        if (size == 0 || first < 0x20 || first == 0x7F) {
            const char escaped[] = {
                '\\', 'u', '0', '0', hex_digits[first >> 4], hex_digits[first & 0x0F]};
            raw({escaped, sizeof escaped});
            value.remove_prefix(1);
            continue;
        }
        if (first == '"' || first == '\\') {
            raw("\\");
        }
        raw(value.substr(0, size));
        value.remove_prefix(size);
    }
    raw("\"");
}

void LineWriter::number(std::string_view field, std::int64_t value) {
    name(field);
    char digits[20];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    raw({digits, static_cast<std::size_t>(end - digits)});
}

void LineWriter::hex(std::string_view field, std::span<const std::uint8_t> bytes,
                     const DigitMask* mask) {
    name(field);
    raw("\"");
    const std::size_t count = std::min(bytes.size(), (buffer_.size() - size_) / 2);
    char* const out = buffer_.data() + size_;
    const auto put = [&](std::size_t i, auto size) {  // a constant size is no call of memcpy
        std::uint32_t four = 0;
        std::uint32_t hidden = 0;
        std::memcpy(&four, bytes.data() + i, size);
        if (mask != nullptr) {
            std::memcpy(&hidden, mask->data() + i, size);
        }
        const std::uint64_t text = text_of(four, hidden);
        std::memcpy(out + 2 * i, &text, 2 * size);
    };
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        put(i, std::integral_constant<std::size_t, 4>{});
    }
    for (; i < count; ++i) {
        put(i, std::integral_constant<std::size_t, 1>{});
    }
    size_ += 2 * count;
    raw("\"");
}

void LineWriter::time(std::string_view field, std::int64_t microseconds) {
    using namespace std::chrono;
    const sys_time<std::chrono::microseconds> moment{std::chrono::microseconds{microseconds}};
    const auto midnight = floor<days>(moment);
    const year_month_day date{midnight};
    const hh_mm_ss clock{moment - midnight};
    char out[] = "0000-00-00T00:00:00.000000Z";
    const auto put = [&out](std::size_t last, std::int64_t value, std::size_t digits) {
        for (; digits > 0; --digits, value /= 10) {
            out[last--] = static_cast<char>('0' + value % 10);
        }
    };
    put(3, int{date.year()}, 4);
    put(6, unsigned{date.month()}, 2);
    put(9, unsigned{date.day()}, 2);
    put(12, clock.hours().count(), 2);
    put(15, clock.minutes().count(), 2);
    put(18, clock.seconds().count(), 2);
    put(25, clock.subseconds().count(), 6);
    plain_text(field, {out, sizeof out - 1});
}

void LineWriter::slot(const Call& call) {
    number(field::slot_code, call.slot);
    if (const auto row = find_slot_row(call.action, call.slot)) {
        plain_text(field::slot_name, slots::slot_rows[*row].name);
    }
}

void LineWriter::exchange(const Call& call, const Shown& shown) {
    if (!shown.application.empty()) {
        hex(field::application, shown.application, nullptr);
    }
    if (const CommandRule* rule = find_command_rule(call.command)) {
        plain_text(field::instruction, rule->name);
    }
    if (call.command.empty()) {
        number(field::command_length, call.command_length);
    } else {
        hex(field::command, call.command, shown.command);
    }
    if (call.answer.size() >= status_word_size) {
        hex(field::answer, call.answer, shown.answer);
        hex(field::status, call.answer.last(status_word_size), nullptr);
    }
}

std::string_view LineWriter::line(const Call& call, const Origin& origin, std::uint64_t sequence,
                                  const Shown& shown) {
    size_ = 0;
    const ActionRow& row = row_of(call.action);
    time(field::timestamp, call.began);
    number(field::version, format_version);
    name(field::masked);
    raw(shown.masked ? "true" : "false");
    plain_text(field::action, row.action);
    number(field::sequence, static_cast<std::int64_t>(sequence));
    number(field::duration, call.duration);
    plain_text(field::outcome, is_success(call) ? "success" : "failure");
    text(field::terminal, origin.terminal.substr(0, longest_identifier));
    text(field::session, origin.session.substr(0, longest_identifier));
    number(field::process, origin.process);
    plain_text(field::function, row.function);
    if (call.action != Action::Open && call.action != Action::Close) {
        number(field::handle, call.handle);
    }
    number(field::result, call.result);
    plain_text(field::result_name, result_name(call.action, call.result));
    switch (call.action) {
        case Action::Open:
            if (!call.text.empty()) {
                text(field::reader_name, call.text.substr(0, name_room));
            }
            break;
        case Action::Serial:
            if (!call.text.empty()) {
                text(field::reader_serial, call.text.substr(0, serial_room));
            }
            break;
        case Action::PowerOn:
            slot(call);
            if (!call.answer.empty()) {
                hex(field::atr, call.answer, nullptr);
            }
            break;
        case Action::PowerOff:
            slot(call);
            break;
        case Action::Exchange:
            slot(call);
            exchange(call, shown);
            break;
        case Action::Close:
            break;
    }
    raw("}\n");
    return {buffer_.data(), size_};
}

}  // namespace quorrin::trace
