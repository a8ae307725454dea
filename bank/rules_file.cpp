#include "bank/rules_file.hpp"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "bank/default_rules.hpp"
#include "bank/wish.hpp"
#include "reader_libraries/configuration/configuration.hpp"

namespace quorrin::bank {
namespace {

using cryptography::Algorithm;
using cryptography::ArpcMethod;
using cryptography::Key;
using cryptography::KeySet;
using cryptography::SessionKeyScheme;

constexpr std::size_t max_name = 31;               // room in QuorrinBankAnswer
constexpr std::int64_t max_amount = 999999999999;  // 12 digits

bool is_digits(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

template <typename Value>
struct Word {
    std::string_view word;
    Value value;
};

// One of a few words, or nothing when the key is absent.
template <typename Value, std::size_t Count>
std::optional<Value> word(const Section& section, std::string_view key,
                          const Word<Value> (&words)[Count]) {
    const auto given = section.optional_text(key);
    if (!given) {
        return std::nullopt;
    }
    std::string choices;
    for (const Word<Value>& choice : words) {
        if (choice.word == *given) {
            return choice.value;
        }
        choices += (choices.empty() ? "" : ", ") + std::string(choice.word);
    }
    section.fail(key, "must be one of " + choices);
}

constexpr Word<Algorithm> algorithms[] = {{"3des", Algorithm::TripleDes}, {"sm4", Algorithm::Sm4}};
constexpr Word<SessionKeyScheme> schemes[] = {{"pboc", SessionKeyScheme::Pboc},
                                              {"emv", SessionKeyScheme::EmvCommon},
                                              {"none", SessionKeyScheme::None}};
constexpr Word<cryptography::KeyDerivation> derivations[] = {
    {"a", cryptography::KeyDerivation::OptionA}, {"b", cryptography::KeyDerivation::OptionB}};
constexpr Word<cryptography::ScriptEncipherment> encipherments[] = {
    {"pboc", cryptography::ScriptEncipherment::Pboc},
    {"emv", cryptography::ScriptEncipherment::Emv}};
constexpr Word<IssuerAuthentication> authentications[] = {{"right", IssuerAuthentication::Right},
                                                          {"wrong", IssuerAuthentication::Wrong},
                                                          {"none", IssuerAuthentication::None}};

std::optional<ArpcMethod> arpc_method(const Section& section) {
    const auto number = section.optional_integer("arpc_method", 1, 2);
    return number ? std::optional(static_cast<ArpcMethod>(*number)) : std::nullopt;
}

std::string name_of(const Section& section) {
    std::string name = section.text("name");
    if (name.empty() || name.size() > max_name) {
        section.fail("name", "must have 1 to 31 characters");
    }
    return name;
}

template <std::size_t Size>
std::array<std::uint8_t, Size> fixed(const std::vector<std::uint8_t>& bytes) {
    std::array<std::uint8_t, Size> array{};
    std::copy_n(bytes.begin(), Size, array.begin());
    return array;
}

template <std::size_t Size>
std::optional<std::array<std::uint8_t, Size>> optional_fixed(const Section& section,
                                                             std::string_view key) {
    const auto bytes = section.optional_hex(key, Size, Size);
    return bytes ? std::optional(fixed<Size>(*bytes)) : std::nullopt;
}

// Text of an exact number of characters, as 8A and 89 hold it.
template <std::size_t Size>
std::optional<std::array<std::uint8_t, Size>> characters(const Section& section,
                                                         std::string_view key) {
    const auto text = section.optional_text(key);
    if (!text) {
        return std::nullopt;
    }
    if (text->size() != Size || !std::ranges::all_of(*text, [](char c) {
            return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        })) {
        section.fail(key, "must have " + std::to_string(Size) + " letters and digits");
    }
    std::array<std::uint8_t, Size> array{};
    std::ranges::copy(*text, array.begin());
    return array;
}

struct Keys {
    KeySet masters;
    std::uint8_t index;
};

Keys keys_of(const Section& section) {
    constexpr std::size_t size = sizeof(Key);
    return {{fixed<size>(section.hex("cryptogram", size)), fixed<size>(section.hex("mac", size)),
             fixed<size>(section.hex("encipherment", size))},
            static_cast<std::uint8_t>(section.optional_integer("index", 0, 255).value_or(1))};
}

Product product_of(const Section& section, const std::optional<Keys>& shared_keys) {
    Product product;
    product.name = name_of(section);
    product.cards = section.texts("cards");
    if (!std::ranges::all_of(product.cards, is_digits)) {
        section.fail("cards", "must be first digits of card numbers");
    }
    product.made.algorithm = word(section, "algorithm", algorithms).value_or(Algorithm::TripleDes);
    product.made.session_keys =
        word(section, "session_keys", schemes).value_or(SessionKeyScheme::Pboc);
    product.made.arpc_method = arpc_method(section).value_or(ArpcMethod::Method1);
    product.made.key_derivation =
        word(section, "key_derivation", derivations).value_or(cryptography::KeyDerivation::OptionA);
    product.made.script_encipherment = word(section, "script_encipherment", encipherments)
                                           .value_or(cryptography::ScriptEncipherment::Pboc);
    product.made.cryptogram_version =
        static_cast<std::uint8_t>(section.optional_integer("cryptogram_version", 0, 255)
                                      .value_or(cryptography::pboc_cryptogram_version));
    if (!cryptography::is_known_cryptogram_version(product.made.cryptogram_version)) {
        section.fail("cryptogram_version", "must be 1, 10, 17 or 18");
    }
    if (!cryptography::version_fits(product.made.cryptogram_version, product.made.algorithm,
                                    product.made.session_keys)) {
        section.fail("cryptogram_version",
                     "is for Triple DES, 10 and 17 with session_keys \"none\", 18 with \"emv\"");
    }
    std::optional<Keys> keys = shared_keys;
    if (const auto own = section.optional_section("keys")) {
        keys = keys_of(*own);
    }
    if (!keys) {
        section.fail("keys", "must be there, or a [keys] for all products");
    }
    product.made.master_keys = keys->masters;
    product.made.key_derivation_index = keys->index;
    return product;
}

std::vector<Script> scripts_of_rule(const Section& section) {
    try {
        std::vector<Wish> wishes;
        for (const std::string& words : section.texts("scripts")) {
            wishes.push_back(wish_from_words(words));
        }
        return scripts_of(wishes);
    } catch (const std::invalid_argument& error) {
        section.fail("scripts", error.what());
    }
}

Rule rule_of(const Section& section) {
    Rule rule;
    rule.name = name_of(section);
    rule.card = section.optional_text("card");
    if (rule.card && !is_digits(*rule.card)) {
        section.fail("card", "must be first digits of card numbers");
    }
    rule.amount_over = section.optional_integer("amount_over", 0, max_amount);
    rule.amount = section.optional_integer("amount", 0, max_amount);
    rule.currency = optional_fixed<2>(section, "currency");
    rule.country = optional_fixed<2>(section, "country");
    if (const auto type = section.optional_hex("type", 1, 1)) {
        rule.type = type->front();
    }
    rule.decision.response_code =
        characters<2>(section, "response_code").value_or(rule.decision.response_code);
    rule.decision.authorisation_code = characters<6>(section, "authorisation_code");
    rule.decision.authentication =
        word(section, "arpc", authentications).value_or(IssuerAuthentication::Right);
    rule.decision.status_update =
        optional_fixed<4>(section, "status_update").value_or(cryptography::CardStatusUpdate{});
    rule.decision.proprietary_data =
        section.optional_hex("proprietary", 1, 8).value_or(std::vector<std::uint8_t>{});
    rule.decision.scripts = scripts_of_rule(section);
    rule.arpc_method = arpc_method(section);
    return rule;
}

Rules rules_of(const Section& whole) {
    Rules rules;
    std::optional<Keys> shared_keys;
    if (const auto section = whole.optional_section("keys")) {
        shared_keys = keys_of(*section);
    }
    for (const Section& section : whole.sections("product")) {
        rules.products.push_back(product_of(section, shared_keys));
    }
    if (rules.products.empty()) {
        whole.fail("product", "must be there: a bank has cards");
    }
    for (const Section& section : whole.sections("rule")) {
        rules.rules.push_back(rule_of(section));
    }
    rules.authorisation_code = characters<6>(whole, "authorisation_code");
    whole.finish();
    return rules;
}

}  // namespace

Rules read_rules(const std::filesystem::path& file) {
    return rules_of(read_configuration(file));
}

Rules rules_from_text(std::string_view text) {
    return rules_of(parse_configuration(text, "rules"));
}

Rules test_rules() {
    return rules_of(parse_configuration(default_rules, "built-in rules"));
}

}  // namespace quorrin::bank
