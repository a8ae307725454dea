// The C interface of libquorrin-testbank.so: pointers checked and turned into values, exceptions into
// results.
#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bank/data_object.hpp"
#include "bank/field_55.hpp"
#include "bank/rules_file.hpp"
#include "bank/wish.hpp"
#include "quorrin/testbank.h"
#include "reader_libraries/configuration/configuration.hpp"

struct QuorrinBank {
    quorrin::bank::Rules rules;
};

namespace quorrin::bank {
namespace {

// Binary interface.
static_assert(sizeof(QuorrinBankRequest) == 95);
static_assert(sizeof(QuorrinBankDecision) == 25);
static_assert(sizeof(QuorrinBankWish) == 164);
static_assert(sizeof(QuorrinBankAnswer) == 735);

// Fixed room, so that a report of no memory needs none.
thread_local std::array<char, 512> last_error{};

std::int32_t refused(QuorrinBankResult result, std::string_view reason) noexcept {
    const std::size_t length = std::min(reason.size(), last_error.size() - 1);
    std::copy_n(reason.begin(), length, last_error.begin());
    last_error[length] = '\0';
    return result;
}

struct Refusal : std::invalid_argument {
    Refusal(QuorrinBankResult why, const std::string& text) : invalid_argument(text), result(why) {}
    QuorrinBankResult result;
};

// Runs a call; what it throws becomes its result. std::invalid_argument and std::length_error mean
// what the call says that they do.
template <typename Call>
std::int32_t guarded(QuorrinBankResult bad_input, const Call& call) noexcept {
    last_error[0] = '\0';
    try {
        call();
        return QUORRIN_BANK_OK;
    } catch (const Refusal& refusal) {
        return refused(refusal.result, refusal.what());
    } catch (const ConfigurationMissing& error) {
        return refused(QUORRIN_BANK_NO_FILE, error.what());
    } catch (const ConfigurationError& error) {
        return refused(QUORRIN_BANK_BAD_RULES, error.what());
    } catch (const std::invalid_argument& error) {
        return refused(bad_input, error.what());
    } catch (const std::length_error& error) {
        return refused(bad_input, error.what());
    } catch (const std::exception& error) {
        return refused(QUORRIN_BANK_FAILED, error.what());
    } catch (...) {
        return refused(QUORRIN_BANK_FAILED, "failed");
    }
}

void require(bool holds, const char* reason) {
    if (!holds) {
        throw Refusal(QUORRIN_BANK_BAD_ARGUMENT, reason);
    }
}

// A text in a field of fixed size, which must have its terminator.
template <std::size_t Size>
std::string text_of(const char (&field)[Size], const char* name) {
    const auto* const end = std::find(field, field + Size, '\0');
    require(end != field + Size, name);
    return {field, end};
}

template <std::size_t Size>
void put_text(std::string_view text, char (&field)[Size]) {
    const std::size_t length = std::min(text.size(), Size - 1);
    std::fill(std::copy_n(text.begin(), length, field), field + Size, '\0');
}

template <std::size_t Size>
std::array<std::uint8_t, Size> array_of(const std::uint8_t (&field)[Size]) {
    std::array<std::uint8_t, Size> array{};
    std::copy_n(field, Size, array.begin());
    return array;
}

template <std::size_t Size>
void put_bytes(const std::array<std::uint8_t, Size>& bytes, std::uint8_t (&field)[Size]) {
    std::ranges::copy(bytes, field);
}

OnlineRequest request_of(const QuorrinBankRequest& from) {
    OnlineRequest request;
    request.pan = text_of(from.pan, "the card number has no end");
    require(from.issuer_application_data_size <= sizeof from.issuer_application_data,
            "the issuer application data (9F10) have at most 32 bytes");
    request.pan_sequence_number = from.pan_sequence_number;
    request.arqc = array_of(from.cryptogram);
    request.covered = {
        .amount_authorised = array_of(from.amount_authorised),
        .amount_other = array_of(from.amount_other),
        .terminal_country = array_of(from.terminal_country),
        .terminal_verification = array_of(from.terminal_verification),
        .currency = array_of(from.currency),
        .date = array_of(from.date),
        .type = from.type,
        .unpredictable_number = array_of(from.unpredictable_number),
        .interchange_profile = array_of(from.interchange_profile),
        .atc = static_cast<std::uint16_t>(from.atc[0] << 8 | from.atc[1]),
    };
    request.issuer_application_data.assign(
        from.issuer_application_data,
        from.issuer_application_data + from.issuer_application_data_size);
    return request;
}

void put_request(const OnlineRequest& request, QuorrinBankRequest& to) {
    put_text(request.pan, to.pan);
    to.pan_sequence_number = request.pan_sequence_number;
    put_bytes(request.arqc, to.cryptogram);
    put_bytes(request.covered.amount_authorised, to.amount_authorised);
    put_bytes(request.covered.amount_other, to.amount_other);
    put_bytes(request.covered.terminal_country, to.terminal_country);
    put_bytes(request.covered.terminal_verification, to.terminal_verification);
    put_bytes(request.covered.currency, to.currency);
    put_bytes(request.covered.date, to.date);
    to.type = request.covered.type;
    put_bytes(request.covered.unpredictable_number, to.unpredictable_number);
    put_bytes(request.covered.interchange_profile, to.interchange_profile);
    put_bytes(cryptography::big_endian(request.covered.atc), to.atc);
    std::ranges::copy(request.issuer_application_data, to.issuer_application_data);
    to.issuer_application_data_size =
        static_cast<std::uint8_t>(request.issuer_application_data.size());
}

Wish wish_of(const QuorrinBankWish& from) {
    require(from.kind >= QUORRIN_BANK_CHANGE_PIN && from.kind <= QUORRIN_BANK_UPDATE_RECORD,
            "a wish has one of the kinds 1 to 7");
    require(from.phase == 0 || from.phase == 0x71 || from.phase == 0x72,
            "a wish has phase 0x71 or 0x72");
    require(from.value_size <= sizeof from.value, "a wish's value has at most 124 bytes");
    Wish wish;
    wish.kind = static_cast<Wish::Kind>(from.kind);
    if (from.phase == 0x71) {
        wish.phase = ScriptPhase::BeforeFinalCryptogram;
    }
    if (from.has_identifier != 0) {
        wish.identifier = array_of(from.identifier);
    }
    wish.new_pin = text_of(from.new_pin, "the new PIN has no end");
    if (const auto current = text_of(from.current_pin, "the current PIN has no end");
        !current.empty()) {
        wish.current_pin = current;
    }
    wish.tag = from.tag;
    wish.file = from.file;
    wish.record = from.record;
    wish.value.assign(from.value, from.value + from.value_size);
    return wish;
}

void put_wish(const Wish& wish, QuorrinBankWish& to) {
    if (wish.value.size() > sizeof to.value) {
        throw std::length_error("a wish's value has at most 124 bytes");
    }
    if (wish.new_pin.size() >= sizeof to.new_pin ||
        wish.current_pin.value_or("").size() >= sizeof to.current_pin) {
        throw std::length_error("a PIN has 4 to 12 decimal digits");
    }
    to = {};
    to.kind = static_cast<std::uint8_t>(wish.kind);
    to.phase = static_cast<std::uint8_t>(wish.phase);
    to.has_identifier = wish.identifier ? 1 : 0;
    put_bytes(wish.identifier.value_or(ScriptIdentifier{}), to.identifier);
    put_text(wish.new_pin, to.new_pin);
    put_text(wish.current_pin.value_or(""), to.current_pin);
    to.tag = wish.tag;
    to.file = wish.file;
    to.record = wish.record;
    std::ranges::copy(wish.value, to.value);
    to.value_size = static_cast<std::uint8_t>(wish.value.size());
}

// What the caller decides, over what the rules do.
void apply(const QuorrinBankDecision& from, Decision& decision,
           std::optional<cryptography::ArpcMethod>& method) {
    const std::string response_code = text_of(from.response_code, "the response code has no end");
    require(response_code.empty() || response_code.size() == decision.response_code.size(),
            "a response code (8A) has two characters");
    if (!response_code.empty()) {
        std::copy_n(response_code.begin(), sizeof decision.response_code,
                    decision.response_code.begin());
    }
    const std::string authorisation =
        text_of(from.authorisation_code, "the authorisation code has no end");
    require(authorisation.empty() || authorisation.size() == sizeof(AuthorisationCode),
            "an authorisation code (89) has six characters");
    if (!authorisation.empty()) {
        decision.authorisation_code.emplace();
        std::copy_n(authorisation.begin(), sizeof(AuthorisationCode),
                    decision.authorisation_code->begin());
    }
    require(from.arpc <= QUORRIN_BANK_ARPC_NONE, "arpc is 0, 1 or 2");
    if (from.arpc != QUORRIN_BANK_ARPC_RIGHT) {
        decision.authentication = static_cast<IssuerAuthentication>(from.arpc);
    }
    require(from.arpc_method <= 2, "arpc_method is 0, 1 or 2");
    if (from.arpc_method != 0) {
        method = static_cast<cryptography::ArpcMethod>(from.arpc_method);
    }
    for (std::size_t i = 0; i < decision.status_update.size(); ++i) {
        decision.status_update[i] |= from.status_update[i];
    }
    require(from.proprietary_size <= sizeof from.proprietary,
            "proprietary authentication data have at most 8 bytes");
    if (from.proprietary_size != 0) {
        decision.proprietary_data.assign(from.proprietary,
                                         from.proprietary + from.proprietary_size);
    }
}

// A card number that no product has: ISO 8583 response code 14.
OnlineAnswer unknown_card() {
    constexpr cryptography::ResponseCode no_such_card{'1', '4'};
    OnlineAnswer answer;
    answer.response_code = no_such_card;
    answer.reason = "no product of this bank has this card number";
    answer.issuer_data = data_object(response_code_tag, no_such_card);
    return answer;
}

std::string text_of(std::span<const std::uint8_t> characters) {
    return {characters.begin(), characters.end()};
}

void put_answer(const OnlineAnswer& from, QuorrinBankAnswer& to) {
    to.cryptogram_right = from.cryptogram_right ? 1 : 0;
    to.approved = from.approved ? 1 : 0;
    std::ranges::copy(from.authentication, to.authentication);
    to.authentication_size = static_cast<std::uint8_t>(from.authentication.size());
    put_text(text_of(from.response_code), to.response_code);
    put_text(from.reason, to.reason);
    put_text(from.issuer_data_text(), to.issuer_text);
}

QuorrinBankAnswer answer_to(const Rules& rules, const OnlineRequest& request,
                            const QuorrinBankDecision* wanted,
                            std::span<const QuorrinBankWish> wanted_changes) {
    Decision decision;
    std::optional<cryptography::ArpcMethod> method;
    const Rule* const rule = rules.rule_for(request);
    if (rule != nullptr) {
        decision = rule->decision;
        method = rule->arpc_method;
    }
    if (wanted != nullptr) {
        apply(*wanted, decision, method);
    }
    if (!decision.authorisation_code && approves(decision.response_code)) {
        decision.authorisation_code = rules.authorisation_code;
    }
    std::vector<Wish> wishes;
    std::ranges::transform(wanted_changes, std::back_inserter(wishes), wish_of);
    const std::vector<Script> scripts = scripts_of(wishes);
    decision.scripts.insert(decision.scripts.end(), scripts.begin(), scripts.end());

    QuorrinBankAnswer answer{};
    const Product* const product = rules.product_of(request.pan);
    if (product == nullptr) {
        put_answer(unknown_card(), answer);
        return answer;
    }
    put_text(product->name, answer.product);
    CardProduct made = product->made;
    made.arpc_method = method.value_or(made.arpc_method);
    const OnlineAnswer made_answer = answer_online(made, request, decision);
    put_answer(made_answer, answer);
    if (made_answer.cryptogram_right) {
        put_text(rule == nullptr ? "" : rule->name, answer.rule);
        put_text(decision.authorisation_code ? text_of(*decision.authorisation_code) : "",
                 answer.authorisation_code);
        answer.arpc_method = answer.authentication_size == 0
                                 ? std::uint8_t{0}
                                 : static_cast<std::uint8_t>(made.arpc_method);
    }
    return answer;
}

template <typename Read>
std::int32_t open(QuorrinBank** bank, const Read& read) noexcept {
    return guarded(QUORRIN_BANK_BAD_RULES, [&] {
        require(bank != nullptr, "no place for the bank");
        *bank = nullptr;
        *bank = new QuorrinBank{read()};
    });
}

}  // namespace
}  // namespace quorrin::bank

using namespace quorrin::bank;

std::int32_t quorrin_bank_open(const char* rules_file, QuorrinBank** bank) {
    return open(bank,
                [&] { return rules_file == nullptr ? test_rules() : read_rules(rules_file); });
}

std::int32_t quorrin_bank_open_text(const char* rules, QuorrinBank** bank) {
    return open(bank, [&] {
        require(rules != nullptr, "no rules");
        return rules_from_text(rules);
    });
}

void quorrin_bank_close(QuorrinBank* bank) {
    last_error[0] = '\0';
    delete bank;
}

std::int32_t quorrin_bank_read_field55(const std::uint8_t* data, std::size_t size,
                                       QuorrinBankRequest* request) {
    return guarded(QUORRIN_BANK_BAD_REQUEST, [&] {
        require(request != nullptr && (data != nullptr || size == 0), "no field or no request");
        OnlineRequest filled = request_of(*request);
        read_field_55({data, size}, filled);
        put_request(filled, *request);
    });
}

std::int32_t quorrin_bank_read_wish(const char* text, QuorrinBankWish* wish) {
    return guarded(QUORRIN_BANK_BAD_WISH, [&] {
        require(text != nullptr && wish != nullptr, "no text or no wish");
        put_wish(wish_from_words(text), *wish);
    });
}

std::int32_t quorrin_bank_answer(QuorrinBank* bank, const QuorrinBankRequest* request,
                                 const QuorrinBankDecision* decision, const QuorrinBankWish* wishes,
                                 std::size_t count, QuorrinBankAnswer* answer) {
    return guarded(QUORRIN_BANK_BAD_WISH, [&] {
        require(bank != nullptr && request != nullptr && answer != nullptr,
                "no bank, no request or no answer");
        require(wishes != nullptr || count == 0, "no wishes");
        *answer = answer_to(bank->rules, request_of(*request), decision, {wishes, count});
    });
}

const char* quorrin_bank_error(void) {
    return last_error.data();
}
