#include "bank/field_55.hpp"

#include <algorithm>
#include <stdexcept>

#include "tlv/codec/ber_tlv.hpp"

namespace quorrin::bank {
namespace {

using cryptography::Bytes;

constexpr std::size_t max_issuer_application_data = 32;

std::string hex_text(Bytes bytes) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

// The card number out of compressed numeric digits: up to the pad F, or in track 2 the separator D.
std::string pan_digits(Bytes value, std::uint16_t tag) {
    std::string digits = hex_text(value);
    digits.erase(std::ranges::find_if(digits, [](char c) { return c == 'D' || c == 'F'; }),
                 digits.end());
    if (digits.empty() || digits.size() > 19 ||
        !std::ranges::all_of(digits, [](char c) { return c <= '9'; })) {
        throw std::invalid_argument("no card number in " + std::string(tag == 0x5A ? "5A" : "57"));
    }
    return digits;
}

// Where an element goes, and whether a bank can do without it.
struct Row {
    std::uint16_t tag;
    const char* name;
    bool needed;
    std::size_t size;
    void (*take)(Bytes value, OnlineRequest& request);
};

template <auto Member>
void take_covered(Bytes value, OnlineRequest& request) {
    auto& field = request.covered.*Member;
    std::ranges::copy(value.first<std::tuple_size_v<std::decay_t<decltype(field)>>>(),
                      field.begin());
}

using Covered = cryptography::TransactionData;

constexpr Row rows[] = {
    {0x9F02, "9F02", true, 6, take_covered<&Covered::amount_authorised>},
    {0x9F03, "9F03", false, 6, take_covered<&Covered::amount_other>},
    {0x9F1A, "9F1A", true, 2, take_covered<&Covered::terminal_country>},
    {0x95, "95", true, 5, take_covered<&Covered::terminal_verification>},
    {0x5F2A, "5F2A", true, 2, take_covered<&Covered::currency>},
    {0x9A, "9A", true, 3, take_covered<&Covered::date>},
    {0x9C, "9C", true, 1,
     [](Bytes value, OnlineRequest& request) { request.covered.type = value[0]; }},
    {0x9F37, "9F37", true, 4, take_covered<&Covered::unpredictable_number>},
    {0x82, "82", true, 2, take_covered<&Covered::interchange_profile>},
    {0x9F36, "9F36", true, 2,
     [](Bytes value, OnlineRequest& request) {
         request.covered.atc = static_cast<std::uint16_t>(value[0] << 8 | value[1]);
     }},
    {0x9F26, "9F26", true, 8,
     [](Bytes value, OnlineRequest& request) { std::ranges::copy(value, request.arqc.begin()); }},
    {0x5F34, "5F34", false, 1,
     [](Bytes value, OnlineRequest& request) { request.pan_sequence_number = value[0]; }},
};

std::uint16_t tag_number(Bytes tag) {
    return tag.size() == 1 ? tag[0] : static_cast<std::uint16_t>(tag[0] << 8 | tag[1]);
}

class Reading {
  public:
    explicit Reading(OnlineRequest& request) : request_(request) {}

    void take(std::uint16_t tag, Bytes value) {
        if (tag == 0x9F10) {
            if (value.empty() || value.size() > max_issuer_application_data) {
                throw std::invalid_argument("9F10 must have 1 to 32 bytes");
            }
            request_.issuer_application_data.assign(value.begin(), value.end());
            has_issuer_data_ = true;
        } else if (tag == 0x5A || tag == 0x57) {
            request_.pan = pan_digits(value, tag);
        } else {
            take_row(tag, value);
        }
    }

    void check_complete() const {
        for (std::size_t i = 0; i < std::size(rows); ++i) {
            if (rows[i].needed && !met_[i]) {
                throw std::invalid_argument(std::string(rows[i].name) + " is missing");
            }
        }
        if (!has_issuer_data_) {
            throw std::invalid_argument("9F10 is missing");
        }
        if (request_.pan.empty()) {
            throw std::invalid_argument("the card number is missing: neither 5A nor 57");
        }
    }

  private:
    void take_row(std::uint16_t tag, Bytes value) {
        for (std::size_t i = 0; i < std::size(rows); ++i) {
            if (rows[i].tag != tag) {
                continue;
            }
            if (value.size() != rows[i].size) {
                throw std::invalid_argument(std::string(rows[i].name) + " must have " +
                                            std::to_string(rows[i].size) + " bytes");
            }
            rows[i].take(value, request_);
            met_[i] = true;
        }
    }

    OnlineRequest& request_;
    std::array<bool, std::size(rows)> met_{};
    bool has_issuer_data_ = false;
};

}  // namespace

void read_field_55(cryptography::Bytes field, OnlineRequest& request) {
    OnlineRequest filled = request;
    Reading reading(filled);
    tlv::Cursor cursor(field);
    for (cursor.skip_padding(); !cursor.at_end(); cursor.skip_padding()) {
        const tlv::Object object = cursor.object();
        if (object.is_malformed()) {
            throw std::invalid_argument("malformed at byte " +
                                        std::to_string(field.size() - cursor.rest().size()));
        }
        if (object.tag_length <= 2) {
            reading.take(tag_number(cursor.tag(object)), cursor.value(object));
        }
        cursor.step_over(object);
    }
    reading.check_complete();
    request = std::move(filled);
}

}  // namespace quorrin::bank
