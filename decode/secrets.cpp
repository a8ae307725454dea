#include "decode/secrets.hpp"

#include <algorithm>
#include <span>
#include <string_view>

namespace quorrin::decode {
namespace {

struct SecretRow {
    std::uint32_t tag;
    Secret secret;
    Kernel kernel = Kernel::Unknown;  // Unknown: whatever the kernel
};

constexpr SecretRow secret_rows[] = {
    {0x5A, Secret::AccountNumber},
    {0x56, Secret::Track},
    {0x57, Secret::Track},
    {0x58, Secret::Track},
    {0x5F21, Secret::Track},
    {0x5F22, Secret::Track},
    {0x5F23, Secret::Track},
    {0x9F1F, Secret::Track},
    {0x9F20, Secret::Track},
    {0x9F6B, Secret::Track, Kernel::C2},
    {0xDF812A, Secret::Track},
    {0xDF812B, Secret::Track},
    {0x5F20, Secret::Name},
    {0x9F0B, Secret::Name},
    {0x5B, Secret::Name},
    {0x5F42, Secret::Name},   // address
    {0x5F2B, Secret::Paper},  // date of birth: with a name it identifies a person
    {0x9F61, Secret::Paper, Kernel::Pboc},
    {0x5F53, Secret::AccountNumber},  // IBAN
    {0x99, Secret::Pin},
    {0x5F48, Secret::Pin},
};

constexpr std::size_t shown_first = 6;
constexpr std::size_t shown_last = 4;
constexpr std::size_t shortest_account_number = 13;
constexpr std::size_t longest_account_number = 19;

std::uint8_t digit(Bytes value, std::size_t index) {
    const std::uint8_t byte = value[index / 2];
    return index % 2 == 0 ? byte >> 4 : byte & 0x0F;
}

// Hides what stands between the first six and the last four of `count` digits.
template <typename Hide>
void hide_middle(std::size_t first, std::size_t count, Hide hide) {
    const std::size_t head = count > shown_first + shown_last ? shown_first : 0;
    const std::size_t tail = count > shown_last ? shown_last : 0;
    for (std::size_t i = first + head; i + tail < first + count; ++i) {
        hide(i);
    }
}

bool passes_luhn(std::string_view digits) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        unsigned value = static_cast<unsigned>(digits[digits.size() - 1 - i] - '0');
        if (i % 2 == 1) {
            value *= 2;
            value -= value > 9 ? 9 : 0;
        }
        sum += value;
    }
    return sum % 10 == 0;
}

// Runs of digits in a text where other characters stand for what is none.
template <typename Found>
void for_each_run(std::string_view text, Found found) {
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] < '0' || text[i] > '9') {
            ++i;
            continue;
        }
        std::size_t end = i;
        while (end < text.size() && text[end] >= '0' && text[end] <= '9') {
            ++end;
        }
        found(i, end - i);
        i = end;
    }
}

template <typename Hide>
void hide_known(const Reading& reading, std::string_view text, Hide hide) {
    for (const std::string& number : reading.account_numbers) {
        for (std::size_t at = text.find(number); at != std::string_view::npos;
             at = text.find(number, at + 1)) {
            hide_middle(at, number.size(), hide);
        }
    }
}

// A run that could be an account number as a whole. Runs of zeros and counters are none.
bool looks_like_account_number(std::string_view run) {
    return run.size() >= shortest_account_number && run.size() <= longest_account_number &&
           run[0] != '0' && passes_luhn(run);
}

// Track 2 data: an account number, the separator, a date and a service code.
bool looks_like_track_2(std::string_view text, std::size_t first, std::size_t count) {
    constexpr std::size_t date_and_service = 7;
    const std::size_t separator = first + count;
    if (count < shortest_account_number || separator >= text.size() ||
        (text[separator] != 'D' && text[separator] != '=')) {
        return false;
    }
    const std::string_view after = text.substr(separator + 1);
    return after.size() >= date_and_service &&
           std::ranges::all_of(after.substr(0, date_and_service),
                               [](char c) { return c >= '0' && c <= '9'; });
}

// Account numbers of the usual sizes inside a longer run, which neighbours have made longer. They begin
// where a byte begins: every `step` places of the text.
template <typename Hide>
void hide_inside(std::string_view text, std::size_t first, std::size_t count, std::size_t step,
                 Hide hide) {
    constexpr std::string_view first_digits =
        "34569";  // ISO/IEC 7812-1: the industries that issue cards
    for (std::size_t at = (first + step - 1) / step * step; at < first + count; at += step) {
        for (const std::size_t size : {std::size_t{16}, longest_account_number}) {
            if (at + size <= first + count &&
                first_digits.find(text[at]) != std::string_view::npos &&
                passes_luhn(text.substr(at, size))) {
                hide_middle(at, size, hide);
            }
        }
    }
}

// `text` is the value as digits or as characters; `hide` takes a position in it.
template <typename Hide>
void hide_likely(std::string_view text, std::size_t step, Hide hide) {
    for_each_run(text, [&](std::size_t first, std::size_t count) {
        if (looks_like_track_2(text, first, count)) {
            // What stands before the number in the run belongs to the object around it.
            const std::size_t number = std::min(count, longest_account_number);
            hide_middle(first + count - number, number, hide);
            for (std::size_t i = first + count + 1; i < text.size(); ++i) {
                if (text[i] < '0' || text[i] > '9') {
                    break;
                }
                hide(i);
            }
        } else if (looks_like_account_number(text.substr(first, count))) {
            hide_middle(first, count, hide);
        } else {
            hide_inside(text, first, count, step, hide);
        }
    });
}

}  // namespace

Secret secret_of(std::uint32_t tag, Kernel kernel) {
    for (const SecretRow& row : secret_rows) {
        const bool other_kernel = row.kernel == Kernel::C2 && kernel != Kernel::C2;
        const bool only_c2 = row.kernel == Kernel::Pboc && kernel == Kernel::C2;
        if (row.tag == tag && !other_kernel && !only_c2) {
            return row.secret;
        }
    }
    return Secret::None;
}

std::string account_number_digits(Bytes value) {
    std::string digits;
    for (std::size_t i = 0; i < 2 * value.size() && digit(value, i) < 10; ++i) {
        digits += static_cast<char>('0' + digit(value, i));
    }
    return digits;
}

std::string masked_account_number(std::string digits) {
    hide_middle(0, digits.size(), [&](std::size_t i) { digits[i] = '*'; });
    return digits;
}

Hidden hidden_digits(Secret secret, Bytes value) {
    Hidden hidden(2 * value.size());
    const auto hide = [&](std::size_t i) { hidden[i] = true; };
    switch (secret) {
        case Secret::None:
            break;
        case Secret::AccountNumber: {
            // As characters (an IBAN), or as digits up to the filler.
            const std::string digits = account_number_digits(value);
            if (value.size() > longest_account_number / 2 + 1) {
                hide_middle(0, value.size(), [&](std::size_t i) {
                    hide(2 * i);
                    hide(2 * i + 1);
                });
                break;
            }
            hide_middle(0, digits.size(), hide);
            // Digits after something that is none would be no account number; they stay hidden too.
            for (std::size_t i = digits.size(); i < hidden.size(); ++i) {
                hidden[i] = digit(value, i) < 10;
            }
            break;
        }
        case Secret::Track: {
            const std::string digits = account_number_digits(value);
            const bool has_number = digits.size() < 2 * value.size() &&
                                    digit(value, digits.size()) == 0x0D &&
                                    digits.size() <= longest_account_number;
            std::size_t from = 0;
            if (has_number) {
                hide_middle(0, digits.size(), hide);
                from = digits.size();
            }
            for (std::size_t i = from; i < hidden.size(); ++i) {
                hidden[i] = !has_number || digit(value, i) < 10;
            }
            break;
        }
        case Secret::Name:
        case Secret::Paper:
        case Secret::Pin:
            std::fill(hidden.begin(), hidden.end(), true);
            break;
    }
    return hidden;
}

Hidden hidden_account_numbers(const Reading& reading, Bytes value, Suspicion suspicion) {
    Hidden hidden(2 * value.size());
    if (reading.shows_secrets()) {
        return hidden;
    }
    const std::string digits = hex(value);
    const std::string text(reinterpret_cast<const char*>(value.data()), value.size());
    const auto hide_digit = [&](std::size_t i) { hidden[i] = true; };
    const auto hide_character = [&](std::size_t i) {
        hidden[2 * i] = true;
        hidden[2 * i + 1] = true;
    };
    hide_known(reading, digits, hide_digit);
    hide_known(reading, text, hide_character);
    if (suspicion == Suspicion::LooksLikeOne) {
        // The hex digits of a text are decimal too.
        if (!is_printable(value)) {
            hide_likely(digits, 2, hide_digit);
        }
        hide_likely(text, 1, hide_character);
    }
    return hidden;
}

std::string masked(Bytes value, const Hidden& hidden) {
    std::string text = hex(value);
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = hidden[i] ? '*' : text[i];
    }
    return text;
}

std::string masked_characters(Bytes value, const Hidden& hidden) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        text += hidden[2 * i] || hidden[2 * i + 1] ? "*" : characters(value.subspan(i, 1));
    }
    return text;
}

std::string open_hex(const Reading& reading, Bytes value, Suspicion suspicion) {
    return masked(value, hidden_account_numbers(reading, value, suspicion));
}

std::string open_characters(const Reading& reading, Bytes value, Suspicion suspicion) {
    return masked_characters(value, hidden_account_numbers(reading, value, suspicion));
}

std::string masked_hex(std::uint32_t tag, Bytes value, Kernel kernel) {
    const auto meanings = meanings_of(tag, {.kernel = kernel}, value.size());
    const Kernel meant = meanings.empty() ? kernel : meanings[0]->kernel;
    return masked(value, hidden_digits(secret_of(tag, meant), value));
}

}  // namespace quorrin::decode
