// A purchase in steps: start, what goes online, finish with the bank's answer, outcome.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <quorrin/quorrin.h>
#include <quorrin/host/failure.hpp>
#include <quorrin/host/session.hpp>
#include <quorrin/host/store.hpp>
#include <quorrin/host/values.hpp>
#include <quorrin/host/verification_bits.hpp>

namespace quorrin::host {

/// What is bought, and where. All but the amount has a default that does for a test.
struct PurchaseTerms {
    Amount amount;             ///< 9F02
    Amount other;              ///< 9F03: the part paid out in cash
    unsigned currency = 156;   ///< 5F2A, ISO 4217; 156 is the yuan
    unsigned country = 156;    ///< 9F1A, ISO 3166
    Date date = today();       ///< 9A
    Time time = time_now();    ///< 9F21
    std::uint8_t type = 0x00;  ///< 9C, BCD: 00 goods and services, 01 cash, 20 refund
    std::string merchant;      ///< 9F4E, at most 20 characters; the card's log shows it
    /// 9F37; random when it is left out, and it should be.
    std::optional<std::array<std::uint8_t, 4>> unpredictable_number;

    std::uint8_t terminal_type = 0x22;                           ///< 9F35: attended, online capable
    std::array<std::uint8_t, 3> capabilities{0xE0, 0xE1, 0xC8};  ///< 9F33
    std::array<std::uint8_t, 5> more_capabilities{0x60, 0x00, 0xF0, 0xA0, 0x01};  ///< 9F40

    /// Further terminal elements by tag, or others in place of the above.
    std::map<Tag, ByteString> elements;

    /// The terminal's own checks: called when the records are read, before the cryptogram. It sets
    /// the bits of the TVR and TSI that it finds; elements can be read with Purchase::element.
    std::function<void(Tvr& tvr, Tsi& tsi)> assess;
};

/// What the card decided at the first GENERATE AC (9F27, EMV book 3, 6.5.5.4).
enum class CardDecision {
    Declined = 0,    ///< AAC
    Approved = 1,    ///< TC: paid offline
    AsksOnline = 2,  ///< ARQC
    Reserved = 3     ///< no meaning yet
};

/// The application cryptogram and what goes with it.
struct Cryptogram {
    CardDecision decision = CardDecision::Declined;  ///< its kind
    std::array<std::uint8_t, 8> value{};             ///< 9F26
    std::uint16_t atc = 0;                           ///< 9F36
    std::uint8_t information = 0;                    ///< 9F27 as it stands
    ByteString issuer_application_data;              ///< 9F10
};

/// What goes online.
struct OnlineRequest {
    Pan pan;                                          ///< prints masked; reveal() is for the bank
    std::optional<std::uint8_t> pan_sequence_number;  ///< 5F34, BCD
    Track2 track2;                                    ///< prints masked
    Cryptogram cryptogram;                            ///< ARQC
    ByteString field_55;  ///< ISO 8583 field 55: the card's and terminal's data
    std::string cdol2;    ///< the card's CDOL2 as hex text, as getARQC gives it
};

/// What the card said to the bank's authentication.
enum class IssuerAuthentication {
    NotSent,   ///< the answer has no 91
    Accepted,  ///< 9000
    Refused,   ///< another status word
    NoAnswer   ///< the exchange failed
};

/// One issuer script: EMV book 4, annex A5.
struct ScriptResult {
    /// What became of it.
    enum class Result {
        NotPerformed = 0,  ///< not sent
        Failed = 1,        ///< malformed, sent in part
        Successful = 2     ///< all commands sent; what the card answered is not looked at
    };
    Result result = Result::NotPerformed;  ///< what became of it
    unsigned failed_command = 0;           ///< 1 for the first; 0 when not given, 15 for all later
    std::array<std::uint8_t, 4> identifier{};  ///< 9F18, zeros when the script has none

    /// "not performed", "failed", "successful".
    const char* name() const {
        return result == Result::Successful ? "successful"
               : result == Result::Failed   ? "failed"
                                            : "not performed";
    }
};

/// How the purchase ended.
struct Outcome {
    std::string response_code;       ///< 8A, two characters; empty when the answer has none
    std::string authorisation_code;  ///< 89, six characters; empty when the answer has none
    IssuerAuthentication authentication = IssuerAuthentication::NotSent;  ///< see there
    std::int64_t authentication_code = 0;  ///< result of EXTERNAL AUTHENTICATE
    StatusWord authentication_status;      ///< its status word; 6300: the ARPC is wrong
    Tvr tvr;                               ///< 95
    Tsi tsi;                               ///< 9B
    std::vector<ScriptResult> scripts;     ///< in the order in which they ran, 71 before 72
    StatusWord last_status;                ///< of the last exchange: the last script command's
    std::vector<Tag> not_taken;  ///< objects of the answer that the library passed over or refused

    /// Response code 00, 10 or 11, and the card has not refused the bank's authentication.
    bool approved() const {
        return (response_code == "00" || response_code == "10" || response_code == "11") &&
               authentication != IssuerAuthentication::Refused &&
               authentication != IssuerAuthentication::NoAnswer;
    }
};

namespace detail {

inline Cryptogram stored_cryptogram() {
    Cryptogram cryptogram;
    cryptogram.information = emvGetCID();
    cryptogram.decision = static_cast<CardDecision>(cryptogram.information >> 6);
    std::copy_n(emvGetAC(), cryptogram.value.size(), cryptogram.value.begin());
    cryptogram.atc = static_cast<std::uint16_t>(emvGetATC()[0] << 8 | emvGetATC()[1]);
    cryptogram.issuer_application_data = stored_or_empty(0x9F10);
    return cryptogram;
}

/// The elements of field 55 that are present, in the order in which networks list them.
inline ByteString field_55() {
    constexpr Tag tags[] = {0x9F26, 0x9F27, 0x9F10, 0x9F37, 0x9F36, 0x95,   0x9A,   0x9C,
                            0x9F02, 0x5F2A, 0x82,   0x9F1A, 0x9F03, 0x9F33, 0x9F34, 0x9F35,
                            0x9F1E, 0x84,   0x9F09, 0x9F41, 0x9F74, 0x9F63};
    ByteString field;
    for (const Tag tag : tags) {
        const auto value = stored(tag);
        if (!value || value->empty() || value->size() > 127) {
            continue;
        }
        const TagBytes bytes(tag);
        field.insert(field.end(), bytes.bytes.begin() + (2 - bytes.size), bytes.bytes.end());
        field.push_back(static_cast<std::uint8_t>(value->size()));
        field.insert(field.end(), value->begin(), value->end());
    }
    return field;
}

inline std::array<std::uint8_t, 4> random_number() {
    std::random_device source;
    const std::uint32_t number = source();
    return {static_cast<std::uint8_t>(number >> 24), static_cast<std::uint8_t>(number >> 16),
            static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
}

template <typename Array>
ByteString bytes_of(const Array& array) {
    return {array.begin(), array.end()};
}

inline void store_terms(const PurchaseTerms& terms) {
    constexpr std::size_t merchant_size = 20;
    if (terms.merchant.size() > merchant_size) {
        throw Misuse("a merchant's name has at most 20 characters");
    }
    if (terms.currency > 999 || terms.country > 999) {
        throw Misuse("currency and country have three digits");
    }
    std::string merchant = terms.merchant;
    merchant.resize(merchant_size, ' ');
    std::map<Tag, ByteString> elements = {
        {0x9F02, bcd(terms.amount.minor(), 6)},
        {0x9F03, bcd(terms.other.minor(), 6)},
        {0x5F2A, bcd(terms.currency, 2)},
        {0x9F1A, bcd(terms.country, 2)},
        {0x9A, three_pairs(terms.date.year, terms.date.month, terms.date.day)},
        {0x9F21, three_pairs(terms.time.hour, terms.time.minute, terms.time.second)},
        {0x9C, {terms.type}},
        {0x9F4E, {merchant.begin(), merchant.end()}},
        {0x9F37,
         bytes_of(terms.unpredictable_number ? *terms.unpredictable_number : random_number())},
        {0x9F35, {terms.terminal_type}},
        {0x9F33, bytes_of(terms.capabilities)},
        {0x9F40, bytes_of(terms.more_capabilities)},
    };
    for (const auto& [tag, value] : terms.elements) {
        elements[tag] = value;
    }
    for (const auto& [tag, value] : elements) {
        store(tag, value);
    }
}

template <typename Bits, std::size_t Size>
Bits bits_of(const std::uint8_t (&bytes)[Size]) {
    std::array<std::uint8_t, Size> array{};
    std::copy_n(bytes, Size, array.begin());
    return Bits(array);
}

inline std::string stored_text(Tag tag) {
    const ByteString value = stored_or_empty(tag);
    return {value.begin(), value.end()};
}

inline std::vector<ScriptResult> stored_script_results() {
    constexpr int entry_size = 5;
    std::vector<ScriptResult> results;
    const std::uint8_t* entry = emvGetIssScrptRslt();
    const int size = std::min(emvGetIssScrptRsltNumber(), 12 * entry_size);
    for (int at = 0; at < size; at += entry_size, entry += entry_size) {
        ScriptResult result;
        result.result = static_cast<ScriptResult::Result>(std::min(entry[0] >> 4, 2));
        result.failed_command = entry[0] & 0x0F;
        std::copy_n(entry + 1, 4, result.identifier.begin());
        results.push_back(result);
    }
    return results;
}

/// The objects of the bank's answer that have not arrived in the store.
inline std::vector<Tag> not_taken(const ByteString& answer) {
    std::vector<Tag> passed_over;
    std::map<Tag, bool> met;
    for (std::size_t at = 0; at < answer.size();) {
        std::uint8_t tag_size = 0;
        std::uint8_t length_size = 0;
        std::uint16_t value_size = 0;
        if (tlvGetTLV(answer.data() + at, static_cast<std::uint16_t>(answer.size() - at), &tag_size,
                      &length_size, &value_size) < 0) {
            passed_over.push_back(answer[at]);
            break;
        }
        const auto tag = static_cast<Tag>(
            tag_size == 1 ? answer[at]
                          : answer[at] << 8 | answer[std::min(at + 1, answer.size() - 1)]);
        const std::size_t start = at + tag_size + length_size;
        const ByteString value(answer.begin() + static_cast<std::ptrdiff_t>(start),
                               answer.begin() + static_cast<std::ptrdiff_t>(start + value_size));
        const bool is_script = tag == 0x71 || tag == 0x72;
        const bool taken = is_script ? emvGetIssuerScriptLength() != 0
                                     : (tag == 0x8A || tag == 0x89 || tag == 0x91) && !met[tag] &&
                                           stored(tag) == value;
        met[tag] = true;
        if (!taken) {
            passed_over.push_back(tag);
        }
        at = start + value_size;
    }
    return passed_over;
}

}  // namespace detail

/// A purchase between the card's cryptogram and the bank's answer.
class Purchase {
  public:
    /// What the card decided. Only AsksOnline goes to the bank.
    CardDecision decision() const { return online_.cryptogram.decision; }
    /// What goes online.
    const OnlineRequest& online() const { return online_; }
    /// The TVR that the cryptogram covers.
    const Tvr& tvr() const { return tvr_; }

    /// An element of this purchase, nothing when neither card nor terminal has it.
    std::optional<ByteString> element(Tag tag) const {
        detail::require_transaction(session_, transaction_);
        return detail::stored(tag);
    }
    /// The same by the element's name: element("Application label").
    std::optional<ByteString> element(std::string_view name) const { return element(tag_of(name)); }

    /// Takes the bank's answer to the card: EXTERNAL AUTHENTICATE, then the scripts. The card's
    /// refusals are in the outcome, not failures.
    /// @param answer  BER-TLV as hex text, at most 1024 characters: 8A, 89, 91, 71, 72.
    Outcome finish(std::string_view answer) { return finish(from_hex(answer)); }
    /// The same for bytes.
    Outcome finish(const ByteString& answer) {
        detail::require_transaction(session_, transaction_);
        if (finished_) {
            throw Misuse("the purchase is finished");
        }
        constexpr std::size_t max_answer = 512;
        if (answer.size() > max_answer) {
            throw Misuse("a bank's answer has at most 512 bytes");
        }
        finished_ = true;
        emvExtractIssuerData(answer.data(), static_cast<std::uint16_t>(answer.size()));
        Outcome outcome;
        outcome.response_code = detail::stored_text(0x8A);
        outcome.authorisation_code = detail::stored_text(0x89);
        outcome.not_taken = detail::not_taken(answer);
        if (detail::stored(0x91)) {
            authenticate_issuer(outcome);
        }
        constexpr std::uint8_t before_final_cryptogram = 1;
        constexpr std::uint8_t after_final_cryptogram = 2;
        emvScriptProcess(before_final_cryptogram);
        emvScriptProcess(after_final_cryptogram);
        outcome.tvr = detail::bits_of<Tvr>(gl_Tm_TVR);
        outcome.tsi = detail::bits_of<Tsi>(gl_Tm_TSI);
        outcome.scripts = detail::stored_script_results();
        outcome.last_status = last_status_word();
        gucGetArqcFlag = 0;  // this answer is the last
        return outcome;
    }

  private:
    friend class Card;

    Purchase(std::uint64_t session, const PurchaseTerms& terms, const std::string& aid)
        : session_(session), transaction_(detail::session().transaction) {
        detail::check_card("emvSelectAid", emvSelectAid(ReaderHandle, aid.c_str()));
        emvInitTVR();
        emvInitTSI();
        detail::store_terms(terms);
        detail::check_card("emvGPO", emvGPO(ReaderHandle, nullptr, nullptr));
        detail::check_card("emvReadICCard", emvReadICCard(ReaderHandle));
        if (terms.assess) {
            terms.assess(tvr_, tsi_);
            std::copy(tvr_.bytes().begin(), tvr_.bytes().end(), gl_Tm_TVR);
            std::copy(tsi_.bytes().begin(), tsi_.bytes().end(), gl_Tm_TSI);
        }
        detail::check_card("emvGACFrist", emvGACFrist(ReaderHandle));
        gucGetArqcFlag = 1;
        online_.pan = Pan(to_hex(detail::stored_or_empty(0x5A)));
        if (const std::string digits = online_.pan.reveal();
            digits.find('F') != std::string::npos) {
            online_.pan = Pan(digits.substr(0, digits.find('F')));
        }
        online_.track2 = Track2(to_hex(detail::stored_or_empty(0x57)));
        if (online_.pan.empty()) {
            online_.pan = online_.track2.pan();
        }
        if (const auto sequence = detail::stored(0x5F34); sequence && !sequence->empty()) {
            online_.pan_sequence_number = sequence->front();
        }
        online_.cryptogram = detail::stored_cryptogram();
        online_.field_55 = detail::field_55();
        online_.cdol2 = to_hex(detail::stored_or_empty(0x8D));
    }

    static void authenticate_issuer(Outcome& outcome) {
        outcome.authentication_code = emvExternalAuthenticate(ReaderHandle);
        outcome.authentication_status = last_status_word();
        outcome.authentication = outcome.authentication_code == QUORRIN_SUCCESS
                                     ? IssuerAuthentication::Accepted
                                 : CARD_STATUS == QUORRIN_SUCCESS ? IssuerAuthentication::Refused
                                                                  : IssuerAuthentication::NoAnswer;
    }

    std::uint64_t session_;
    std::uint64_t transaction_;
    bool finished_ = false;
    Tvr tvr_;
    Tsi tsi_;
    OnlineRequest online_;
};

}  // namespace quorrin::host
