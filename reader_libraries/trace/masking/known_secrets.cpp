#include "reader_libraries/trace/masking/known_secrets.hpp"

#include <algorithm>

namespace quorrin::trace {
namespace {

std::uint8_t digit_at(std::span<const std::uint8_t> data, std::size_t index) {
    const std::uint8_t byte = data[index / 2];
    return static_cast<std::uint8_t>(index % 2 == 0 ? byte >> 4 : byte & 0x0F);
}

}  // namespace

void KnownSecrets::learn_account(std::span<const std::uint8_t> packed) {
    std::array<std::uint8_t, longest_account> digits{};
    std::size_t size = 0;
    while (size < 2 * packed.size() && size < longest_account && digit_at(packed, size) <= 9) {
        digits[size] = digit_at(packed, size);
        ++size;
    }
    if (size < shortest_account) {
        return;
    }
    if (size != account_size_ ||
        !std::equal(digits.begin(), digits.begin() + size, account_.begin())) {
        account_ = digits;
        account_size_ = size;
        mark_starts();
    }
}

void KnownSecrets::learn_text(std::span<const std::uint8_t> text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == 0)) {
        text = text.first(text.size() - 1);
    }
    text = text.first(std::min(text.size(), longest_text));
    if (text.size() < shortest_text || std::ranges::any_of(texts_, [text](const Text& known) {
            return std::ranges::equal(std::span(known.bytes).first(known.size), text);
        })) {
        return;
    }
    Text& place = texts_[next_text_];
    next_text_ = (next_text_ + 1) % texts_.size();
    std::ranges::copy(text, place.bytes.begin());
    place.size = text.size();
    mark_starts();
}

// One look at a table tells for nearly all places that nothing sought starts there.
void KnownSecrets::mark_starts() {
    starts_.reset();
    any_ = true;
    const auto mark = [this](unsigned first, unsigned second) { starts_.set(first << 8 | second); };
    if (account_size_ != 0) {
        for (const std::size_t from : {std::size_t{0}, account_size_ - part}) {
            const unsigned digits[] = {account_[from], account_[from + 1], account_[from + 2],
                                       account_[from + 3]};
            mark('0' + digits[0], '0' + digits[1]);
            mark(digits[0] << 4 | digits[1], digits[2] << 4 | digits[3]);
            for (unsigned high = 0; high < 16; ++high) {  // from the low digit of a byte on
                mark(high << 4 | digits[0], digits[1] << 4 | digits[2]);
            }
        }
    }
    for (const Text& text : texts_) {
        if (text.size != 0) {
            mark(text.bytes[0], text.bytes[1]);
        }
    }
}

// Hides a part that was found and what of the whole account number stands before and behind it. Part and
// places count in digits.
template <typename DigitAt, typename Hide>
void KnownSecrets::hide_around(std::size_t start, std::size_t from, std::size_t size,
                               DigitAt&& digit_at_place, Hide&& hide) const {
    for (std::size_t i = 0; i < part; ++i) {
        hide(start + i);
    }
    for (std::size_t before = 1; before <= std::min(start, from); ++before) {
        if (digit_at_place(start - before) != account_[from - before]) {
            break;
        }
        hide(start - before);
    }
    for (std::size_t i = part; start + i < size && from + i < account_size_; ++i) {
        if (digit_at_place(start + i) != account_[from + i]) {
            break;
        }
        hide(start + i);
    }
}

// Looks for the digits of the account from `from` on at byte `at`, in each way of writing them.
void KnownSecrets::hide_part(std::span<const std::uint8_t> data, std::size_t at, std::size_t from,
                             DigitMask& mask) const {
    const auto sought = std::span(account_).subspan(from, part);
    for (const std::size_t shift : {std::size_t{0}, std::size_t{1}}) {
        const std::size_t start = 2 * at + shift;
        if (start + part > 2 * data.size()) {
            continue;
        }
        std::size_t equal = 0;
        while (equal < part && digit_at(data, start + equal) == sought[equal]) {
            ++equal;
        }
        if (equal == part) {
            hide_around(
                start, from, 2 * data.size(),
                [data](std::size_t index) { return digit_at(data, index); },
                [&mask](std::size_t index) { mask.hide_digit(index); });
        }
    }
    const auto text_digit = [data](std::size_t index) {
        return static_cast<std::uint8_t>(data[index] - '0');
    };
    std::size_t equal = 0;
    while (equal < part && at + equal < data.size() && text_digit(at + equal) == sought[equal]) {
        ++equal;
    }
    if (equal == part) {
        hide_around(at, from, data.size(), text_digit,
                    [&mask](std::size_t index) { mask.hide(index, index + 1); });
    }
}

void KnownSecrets::hide_in(std::span<const std::uint8_t> data, DigitMask& mask) const {
    if (!any_) {
        return;
    }
    for (std::size_t at = 0; at + 1 < data.size(); ++at) {
        if (!starts_[static_cast<std::size_t>(data[at] << 8 | data[at + 1])]) {
            continue;
        }
        if (account_size_ != 0) {
            hide_part(data, at, 0, mask);
            hide_part(data, at, account_size_ - part, mask);
        }
        for (const Text& text : texts_) {
            const auto sought = std::span(text.bytes).first(text.size);
            if (!sought.empty() && sought.size() <= data.size() - at &&
                std::ranges::equal(sought, data.subspan(at, sought.size()))) {
                mask.hide(at, at + sought.size());
            }
        }
    }
}

}  // namespace quorrin::trace
