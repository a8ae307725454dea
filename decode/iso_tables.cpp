// Countries, currencies and languages: the tables of ISO 3166-1, 4217 and 639.
#include <cstdint>
#include <string>
#include <string_view>

#include "decode/lookup.hpp"

namespace quorrin::decode {
namespace {

struct Country {
    std::uint16_t number;
    std::string_view alpha_2;
    std::string_view alpha_3;
    std::string_view name;
};

struct Currency {
    std::uint16_t number;
    std::string_view code;
    std::string_view name;
};

struct Language {
    std::string_view code;
    std::string_view name;
};

#define CURRENCY(...)
#define LANGUAGE(...)
#define COUNTRY(number, alpha_2, alpha_3, name) {number, alpha_2, alpha_3, name},
constexpr Country countries[] = {
#include "iso_tables.def"
    // Withdrawn, and on cards still.
    {280, "DE", "DEU", "Germany"},
};
#undef COUNTRY
#undef CURRENCY
#define COUNTRY(...)
#define CURRENCY(number, code, name) {number, code, name},
constexpr Currency currencies[] = {
#include "iso_tables.def"
    {280, "DEM", "Deutsche Mark"},
};
#undef CURRENCY
#undef LANGUAGE
#define CURRENCY(...)
#define LANGUAGE(code, name) {code, name},
constexpr Language languages[] = {
#include "iso_tables.def"
};
#undef LANGUAGE
#undef CURRENCY
#undef COUNTRY

// ISO 4217: decimals of the currencies that have not two.
struct Exponent {
    std::string_view code;
    int decimals;
};

constexpr Exponent exponents[] = {
    {"BHD", 3}, {"BIF", 0}, {"CLF", 4}, {"CLP", 0}, {"DJF", 0}, {"GNF", 0}, {"IQD", 3},
    {"ISK", 0}, {"JOD", 3}, {"JPY", 0}, {"KMF", 0}, {"KRW", 0}, {"KWD", 3}, {"LYD", 3},
    {"OMR", 3}, {"PYG", 0}, {"RWF", 0}, {"TND", 3}, {"UGX", 0}, {"UYI", 0}, {"UYW", 4},
    {"VND", 0}, {"VUV", 0}, {"XAF", 0}, {"XOF", 0}, {"XPF", 0},
};

template <typename Row, std::size_t Count, typename Matches>
const Row* find_row(const Row (&rows)[Count], Matches matches) {
    for (const Row& row : rows) {
        if (matches(row)) {
            return &row;
        }
    }
    return nullptr;
}

const Currency* find_currency(std::uint16_t number) {
    return find_row(currencies, [=](const Currency& row) { return row.number == number; });
}

std::string with_decimals(std::uint64_t units, int decimals) {
    std::string digits = std::to_string(units);
    if (decimals == 0) {
        return digits;
    }
    const auto places = static_cast<std::size_t>(decimals);
    if (digits.size() <= places) {
        digits.insert(0, places + 1 - digits.size(), '0');
    }
    return digits.substr(0, digits.size() - places) + "." + digits.substr(digits.size() - places);
}

}  // namespace

std::string_view country_name(std::uint16_t numeric) {
    const Country* row =
        find_row(countries, [=](const Country& country) { return country.number == numeric; });
    return row == nullptr ? std::string_view() : row->name;
}

std::string_view country_name(std::string_view alpha) {
    const Country* row = find_row(countries, [=](const Country& country) {
        return country.alpha_2 == alpha || country.alpha_3 == alpha;
    });
    return row == nullptr ? std::string_view() : row->name;
}

std::string_view currency_name(std::uint16_t numeric) {
    const Currency* row = find_currency(numeric);
    return row == nullptr ? std::string_view() : row->name;
}

std::string_view currency_code(std::uint16_t numeric) {
    const Currency* row = find_currency(numeric);
    return row == nullptr ? std::string_view() : row->code;
}

std::optional<int> currency_exponent(std::uint16_t numeric) {
    const Currency* currency = find_currency(numeric);
    if (currency == nullptr) {
        return {};
    }
    const Exponent* row =
        find_row(exponents, [&](const Exponent& each) { return each.code == currency->code; });
    return row == nullptr ? 2 : row->decimals;
}

std::string_view language_name(std::string_view alpha_2) {
    const Language* row =
        find_row(languages, [=](const Language& language) { return language.code == alpha_2; });
    return row == nullptr ? std::string_view() : row->name;
}

std::string amount_text(std::uint64_t minor_units, std::optional<std::uint16_t> currency) {
    const Currency* row = currency ? find_currency(*currency) : nullptr;
    if (row == nullptr) {
        return minor_units == 0
                   ? "0"
                   : with_decimals(minor_units, 2) + " (with two decimals; currency unknown)";
    }
    return std::string(row->code) + " " +
           with_decimals(minor_units, currency_exponent(*currency).value_or(2));
}

}  // namespace quorrin::decode
