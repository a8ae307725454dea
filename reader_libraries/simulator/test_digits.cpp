#include "reader_libraries/simulator/test_digits.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "reader_libraries/trace/masking/element_walk.hpp"

namespace quorrin::simulator {
namespace {

using trace::Action;
using trace::Entry;
using trace::MaskedBytes;

constexpr std::uint32_t tag_expiry = 0x5F24;

// What stands in a text element; the rest of the value is filled up.
struct TextRow {
    std::uint32_t tag;
    std::string_view text;
    char filler;
};
constexpr std::array text_rows = {
    TextRow{0x5F20, "TEST/CARDHOLDER", ' '},
    TextRow{0x9F0B, "TEST/CARDHOLDER", ' '},
    TextRow{0x9F61, "TEST", '0'},
    TextRow{0x9F1F, "", '0'},
    TextRow{0x56, "", '0'},
};

// Digit by digit: bytes of a value and which of their digits are masked.
class Digits {
  public:
    Digits(MaskedBytes& bytes, std::size_t from, std::size_t to)
        : bytes_(bytes), from_(2 * from), to_(2 * to) {}

    std::size_t size() const { return to_ - from_; }
    bool is_masked(std::size_t index) const {
        return ((bytes_.mask[place(index)] >> shift(index)) & 0x0F) != 0;
    }
    void put(std::size_t index, unsigned digit) {
        auto& byte = bytes_.bytes[place(index)];
        byte = static_cast<std::uint8_t>((byte & ~(0x0FU << shift(index))) | digit << shift(index));
    }

  private:
    std::size_t place(std::size_t index) const { return (from_ + index) / 2; }
    unsigned shift(std::size_t index) const { return (from_ + index) % 2 == 0 ? 4 : 0; }

    MaskedBytes& bytes_;
    std::size_t from_;
    std::size_t to_;
};

// Account number, then, behind a separator, expiry date, service code and zeros.
void fill_account(Digits value, std::string_view expiry) {
    std::size_t at = 0;
    std::size_t run = 0;
    while (at < value.size()) {
        if (!value.is_masked(at)) {
            ++at;
            continue;
        }
        std::size_t end = at;
        while (end < value.size() && value.is_masked(end)) {
            ++end;
        }
        std::string digits = run++ == 0 ? test_account(end - at) : std::string(expiry) + "201";
        digits.resize(end - at, '0');
        for (const char digit : digits) {
            value.put(at++, static_cast<unsigned>(digit - '0'));
        }
    }
}

void fill_text(MaskedBytes& bytes, std::size_t from, std::size_t to, const TextRow& row) {
    for (std::size_t i = from; i < to; ++i) {
        if (bytes.mask[i] == 0xFF) {
            const std::size_t place = i - from;
            bytes.bytes[i] =
                static_cast<std::uint8_t>(place < row.text.size() ? row.text[place] : row.filler);
        }
    }
}

void fill(MaskedBytes& bytes, std::string_view expiry) {
    const std::vector<std::uint8_t> before = bytes.bytes;
    trace::ElementWalk walk(before);
    trace::Element element;
    while (walk.next(element)) {
        const std::size_t end = std::min(element.value + element.length, before.size());
        if (element.tag == 0x5A || element.tag == 0x57 || element.tag == 0x9F6B) {
            fill_account(Digits(bytes, element.value, end), expiry);
        }
        const auto* row = std::ranges::find(text_rows, element.tag, &TextRow::tag);
        if (row != text_rows.end()) {
            fill_text(bytes, element.value, end, *row);
        }
    }
}

// The answers that GET RESPONSE puts together: from the entry, the one that is no longer of them.
std::size_t end_of_chain(const std::vector<Entry>& entries, std::size_t first) {
    std::size_t end = first + 1;
    while (end < entries.size() && entries[end].action == Action::Exchange &&
           entries[end].command.size() == 5 && entries[end].command.bytes[1] == 0xC0 &&
           (entries[end - 1].status().value_or(0) >> 8) == 0x61) {
        ++end;
    }
    return end;
}

std::size_t data_size(const Entry& entry) {
    return entry.answer.size() - std::min<std::size_t>(entry.answer.size(), 2);
}

// Works on the data of each chain as a whole.
template <typename Work>
void for_each_chain(std::vector<Entry>& entries, Work&& work) {
    for (std::size_t first = 0; first < entries.size();) {
        if (entries[first].action != Action::Exchange) {
            ++first;
            continue;
        }
        const std::size_t end = end_of_chain(entries, first);
        MaskedBytes whole;
        for (std::size_t i = first; i < end; ++i) {
            const auto size = static_cast<std::ptrdiff_t>(data_size(entries[i]));
            const MaskedBytes& part = entries[i].answer;
            whole.bytes.insert(whole.bytes.end(), part.bytes.begin(), part.bytes.begin() + size);
            whole.mask.insert(whole.mask.end(), part.mask.begin(), part.mask.begin() + size);
        }
        work(whole);
        auto from = whole.bytes.begin();
        for (std::size_t i = first; i < end; ++i) {
            const auto size = static_cast<std::ptrdiff_t>(data_size(entries[i]));
            std::copy(from, from + size, entries[i].answer.bytes.begin());
            from += size;
        }
        first = end;
    }
}

}  // namespace

std::string test_account(std::size_t digits) {
    std::string account = "9999";
    account.resize(digits, '0');
    if (digits < 8) {
        return account;
    }
    int sum = 0;
    for (std::size_t i = 1; i < digits; ++i) {  // from the right, the check digit left out
        const int digit = account[digits - 1 - i] - '0';
        sum += i % 2 == 0 ? digit : digit < 5 ? 2 * digit : 2 * digit - 9;
    }
    account.back() = static_cast<char>('0' + (10 - sum % 10) % 10);
    return account;
}

void replace_masked_digits(std::vector<Entry>& entries) {
    std::string expiry = "4912";
    for_each_chain(entries, [&expiry](const MaskedBytes& whole) {
        trace::ElementWalk walk(whole.bytes);
        trace::Element element;
        while (walk.next(element)) {
            if (element.tag == tag_expiry && element.length == 3 && !element.is_cut) {
                for (std::size_t i = 0; i < 4; ++i) {
                    const unsigned byte = whole.bytes[element.value + i / 2];
                    const unsigned digit = i % 2 == 0 ? byte >> 4 : byte & 0x0F;
                    expiry[i] = static_cast<char>('0' + std::min(digit, 9U));
                }
            }
        }
    });
    for_each_chain(entries, [&expiry](MaskedBytes& whole) {
        if (whole.is_masked()) {
            fill(whole, expiry);
        }
    });
}

}  // namespace quorrin::simulator
