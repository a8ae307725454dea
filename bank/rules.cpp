#include "bank/rules.hpp"

#include <algorithm>

namespace quorrin::bank {
namespace {

std::uint64_t from_bcd(cryptography::Bytes digits) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : digits) {
        value = value * 100 + (byte >> 4) * 10U + (byte & 0x0F);
    }
    return value;
}

template <typename Value>
bool holds(const std::optional<Value>& wanted, const Value& given) {
    return !wanted || *wanted == given;
}

}  // namespace

bool Rule::applies_to(const OnlineRequest& request) const {
    const std::uint64_t asked = from_bcd(request.covered.amount_authorised);
    return (!card || request.pan.starts_with(*card)) && (!amount_over || asked > *amount_over) &&
           holds(amount, asked) && holds(currency, request.covered.currency) &&
           holds(country, request.covered.terminal_country) && holds(type, request.covered.type);
}

const Product* Rules::product_of(std::string_view pan) const {
    const Product* best = nullptr;
    std::size_t named = 0;
    for (const Product& product : products) {
        if (product.cards.empty() && best == nullptr) {
            best = &product;
        }
        for (const std::string& first_digits : product.cards) {
            if (pan.starts_with(first_digits) && first_digits.size() > named) {
                best = &product;
                named = first_digits.size();
            }
        }
    }
    return best;
}

const Rule* Rules::rule_for(const OnlineRequest& request) const {
    const auto rule = std::ranges::find_if(
        rules, [&](const Rule& candidate) { return candidate.applies_to(request); });
    return rule == rules.end() ? nullptr : &*rule;
}

}  // namespace quorrin::bank
