#include "reader_libraries/simulator/card/application_loading.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "reader_libraries/simulator/card/electronic_cash.hpp"
#include "reader_libraries/simulator/card/profile_fields.hpp"
#include "reader_libraries/simulator/card/record_reading.hpp"

namespace quorrin::simulator {
namespace {

constexpr std::uint8_t last_short_file_identifier = 30;
constexpr std::uint8_t last_record = 255;

// GET DATA answers these from the card's own counters and logs.
constexpr std::array<Tag, 5> own_data{0x9F36, 0x9F13, 0x9F17, 0x9F4F, 0xDF4F};

ByteString load_record(const Section& section) {
    section.allow_only({"file", "number", "elements", "raw"});
    const auto raw = section.optional_text("raw");
    ByteString record = raw ? parsed_field(section, "raw", *raw, parse_bytes)
                            : data_object(0x70, encoded_elements(section, "elements"));
    if (raw && section.has("elements")) {
        section.fail("raw", "and elements exclude each other");
    }
    if (record.size() > longest_answer) {
        section.fail(raw ? "raw" : "elements", "make a record of " + std::to_string(record.size()) +
                                                   " bytes; a card answers at most 256");
    }
    return record;
}

// Where each record stands in the profile, for complaints about what is in it.
using RecordSections = std::map<RecordAddress, Section>;

// `tag` was found wanting in the record that has it.
[[noreturn]] void fail_in_record(const RecordSections& sections, const RecordFiles& records,
                                 Tag tag, const std::string& reason) {
    const Section& section = sections.at(*record_with(records, tag));
    section.fail(section.has("raw") ? "raw" : "elements", hex_text(tag_bytes(tag)) + " " + reason);
}

RecordFiles load_records(const Section& application, RecordSections& sections) {
    RecordFiles records;
    for (const Section& section : application.sections("record")) {
        const RecordAddress address{
            number_field<std::uint8_t>(section, "file", 1, last_short_file_identifier),
            number_field<std::uint8_t>(section, "number", 1, last_record)};
        if (!records.emplace(address, load_record(section)).second) {
            section.fail("number", "stands twice in this file");
        }
        sections.emplace(address, section);
    }
    return records;
}

LogProfile load_log(const Section& section) {
    section.allow_only({"file", "records", "format", "filled", "as_transaction_log", "declined"});
    LogProfile log;
    log.file = number_field<std::uint8_t>(section, "file", 1, last_short_file_identifier);
    log.capacity = number_field<std::uint8_t>(section, "records", 1, last_record);
    log.format = object_list_bytes(section, "format");
    log.fields = parse_object_list(log.format).value_or(std::vector<ListEntry>{});
    if (section.path().ends_with("load_log")) {
        log.as_transaction_log = section.optional_boolean("as_transaction_log").value_or(false);
        log.head_size = log.as_transaction_log ? 0 : load_record_head;
    } else if (section.has("as_transaction_log")) {
        section.fail("as_transaction_log", "is for the load log");
    }
    log.declined_too = section.optional_boolean("declined").value_or(false);
    const std::size_t size = log.record_size();
    if (log.fields.empty() || size > longest_answer) {
        section.fail("format", "must make records of 1 to 256 bytes");
    }
    log.records = list_field(section, "filled", [size](std::string_view text) {
        auto record = parse_bytes(text);
        if (record.size() != size) {
            throw std::invalid_argument("has " + std::to_string(record.size()) +
                                        " bytes, the format makes records of " +
                                        std::to_string(size));
        }
        return record;
    });
    if (log.records.size() > log.capacity) {
        section.fail("filled", "has more entries than the log has records");
    }
    return log;
}

ElementValues load_data(const Section& section) {
    auto data = element_values(section, "data");
    for (const auto& [tag, value] : data) {
        const std::string name = hex_text(tag_bytes(tag));
        if (std::ranges::find(own_data, tag) != own_data.end()) {
            section.fail("data", name + " is kept by the card itself");
        }
        if (tag < 0x100 || tag > 0xFFFF) {
            section.fail("data", name + " has no tag of two bytes, as GET DATA asks for");
        }
    }
    return data;
}

// One entry for each unbroken run of records: EMV book 3 section 10.2.
ByteString file_locator_of(const RecordFiles& records) {
    ByteString locator;
    RecordAddress last;
    for (const auto& [address, record] : records) {
        const bool goes_on = address.file == last.file && address.number == last.number + 1;
        if (goes_on) {
            locator[locator.size() - 2] = address.number;
        } else {
            append(locator, ByteString{static_cast<std::uint8_t>(address.file << 3), address.number,
                                       address.number, 0});
        }
        last = address;
    }
    return locator;
}

ByteString load_file_locator(const Section& section, const RecordFiles& records) {
    constexpr std::size_t longest = 252;
    auto locator = section.optional_hex("afl", 0, longest).value_or(file_locator_of(records));
    if (locator.size() % 4 != 0 || locator.size() > longest) {
        section.fail("afl", "must be entries of 4 bytes, 63 at most");
    }
    // EMV book 3 section 10.2. Records that are not there are a card's own mistake, and can be made.
    for (std::size_t at = 0; at < locator.size(); at += 4) {
        const std::string entry = "entry " + std::to_string(at / 4 + 1);
        const std::uint8_t file = locator[at] >> 3;
        if (file == 0 || file > last_short_file_identifier || (locator[at] & 0x07) != 0) {
            section.fail("afl",
                         entry + ": the first byte is a file of 1 to 30, shifted by three bits");
        }
        if (locator[at + 1] == 0 || locator[at + 2] < locator[at + 1]) {
            section.fail("afl",
                         entry + ": the first record is 1 or more and no later than the last");
        }
        if (locator[at + 3] > locator[at + 2] - locator[at + 1] + 1) {
            section.fail("afl", entry + ": more records are signed than it has");
        }
    }
    return locator;
}

void load_pin(const Section& section, ApplicationProfile& application) {
    const auto pin = section.optional_text("pin");
    if (!pin && section.has("pin_tries")) {
        section.fail("pin_tries", "has no meaning without pin");
    }
    application.pin_try_limit = number_field_or<std::uint8_t>(section, "pin_tries", 1, 15, 3);
    if (!pin) {
        application.pin_try_limit = 0;
        return;
    }
    if (pin->size() < 4 || pin->size() > 12 ||
        pin->find_first_not_of("0123456789") != std::string::npos) {
        section.fail("pin", "must be 4 to 12 digits");
    }
    application.pin = *pin;
}

std::optional<cryptography::RsaPrivateKey> load_rsa_key(const Section& section,
                                                        std::string_view name) {
    // EMV book 2 section 6.6.1: the signed data of a cryptogram have 63 bytes at least.
    constexpr std::size_t smallest = 64;
    constexpr std::size_t largest = 128;
    const auto fields = section.optional_section(name);
    if (!fields) {
        return std::nullopt;
    }
    fields->allow_only({"modulus", "exponent", "private_exponent"});
    cryptography::RsaPrivateKey key{fields->hex("modulus", smallest, largest),
                                    fields->hex("exponent", 1, 3),
                                    fields->hex("private_exponent", smallest, largest)};
    if (key.modulus.front() < 0x80) {
        fields->fail("modulus", "must begin with 80 or more: its size is that of what it signs");
    }
    return key;
}

void load_card_keys(const Section& section, ApplicationProfile& application) {
    application.card_key = load_rsa_key(section, "card_key");
    application.pin_key = load_rsa_key(section, "pin_key");
    constexpr std::uint8_t dynamic_or_combined = 0x21;  // AIP byte 1
    if (!application.card_key && (application.interchange_profile[0] & dynamic_or_combined) != 0) {
        section.fail("aip", "claims DDA or CDA (byte 1, 20 or 01) without card_key");
    }
}

// The digits of 5A, the filler at its end left out.
std::string pan_of(const Section& section, const RecordFiles& records,
                   const RecordSections& sections) {
    const auto pan = find_in_records(records, 0x5A);
    if (!pan) {
        section.fail("record", "no record has the PAN (5A), which the card's keys are made from");
    }
    for (const auto& [address, record] : records) {
        const auto other = find_object(record, 0x5A);
        if (other && *other != *pan) {
            const Section& there = sections.at(address);
            there.fail(there.has("raw") ? "raw" : "elements",
                       "5A differs from that of another record: a card has one number");
        }
    }
    std::string digits = hex_text(*pan);
    while (!digits.empty() && digits.back() == 'F') {
        digits.pop_back();
    }
    return digits;
}

cryptography::KeySet load_keys(const Section& section, const RecordFiles& records,
                               const RecordSections& sections, const CardProfile& card) {
    const auto sequence = find_in_records(records, 0x5F34);
    if (sequence && sequence->size() != 1) {
        fail_in_record(sections, records, 0x5F34, "(PAN sequence number) is one byte");
    }
    const std::string pan = pan_of(section, records, sections);
    try {
        return cryptography::derive_card_keys(card.algorithm, card.master_keys, pan,
                                              sequence ? sequence->front() : std::uint8_t{0},
                                              card.key_derivation);
    } catch (const std::invalid_argument& error) {
        fail_in_record(sections, records, 0x5A, std::string("and 5F34: ") + error.what());
    }
}

void check_object_lists(const RecordFiles& records, const RecordSections& sections) {
    for (const Tag tag : {Tag{0x8C}, Tag{0x8D}}) {
        const auto list = find_in_records(records, tag);
        const auto entries = parse_object_list(list.value_or(ByteString{}));
        if (!entries || data_length(*entries) > 255) {
            fail_in_record(sections, records, tag,
                           "must be tags, each with a length, for 255 bytes at most");
        }
    }
}

// Elements that the card calculates with: EMV book 3 annex A, PBOC electronic cash.
struct NumericElement {
    Tag tag;
    std::size_t size;
};
constexpr std::array<NumericElement, 4> amounts{{
    {electronic_cash_balance, 6},
    {0x9F77, 6},  // its limit
    {0x9F78, 6},  // limit of one payment
    {0x9F6D, 6},  // below this the terminal asks to load
}};

void check_amounts(const Section& section, const ApplicationProfile& application) {
    for (const auto& [tag, size] : amounts) {
        const auto element = application.data.find(tag);
        if (element == application.data.end()) {
            continue;
        }
        const std::string name = hex_text(tag_bytes(tag));
        if (element->second.size() != size) {
            section.fail("data", name + " has " + std::to_string(size) + " bytes");
        }
        if (hex_text(element->second).find_first_not_of("0123456789") != std::string::npos) {
            section.fail("data", name + " is an amount: decimal digits only");
        }
    }
}

void check_files(const Section& section, const ApplicationProfile& application) {
    std::set<std::uint8_t> log_files;
    for (const auto* log : {&application.transaction_log, &application.load_log}) {
        if (*log && (has_file(application.records, (*log)->file) ||
                     !log_files.insert((*log)->file).second)) {
            section.fail(log == &application.load_log ? "load_log" : "log",
                         "its file is in use for something else");
        }
    }
}

}  // namespace

ApplicationProfile load_application(const Section& section, const CardProfile& card) {
    section.allow_only({"aid",
                        "label",
                        "priority",
                        "pdol",
                        "fci",
                        "discretionary",
                        "aip",
                        "afl",
                        "answer_format",
                        "data",
                        "pin",
                        "pin_tries",
                        "atc",
                        "last_online_atc",
                        "record",
                        "log",
                        "load_log",
                        "quick",
                        "script_mac_failures",
                        "blocked",
                        "declines",
                        "card_key",
                        "pin_key"});
    ApplicationProfile application;
    application.aid = section.hex("aid", 5, 16);
    const std::string label = section.text("label");
    if (label.empty() || label.size() > 16) {
        section.fail("label", "must have 1 to 16 bytes, has " + std::to_string(label.size()));
    }
    application.label.assign(label.begin(), label.end());
    if (const auto priority = section.optional_integer("priority", 0, 255)) {
        application.priority = static_cast<std::uint8_t>(*priority);
    }
    application.pdol_bytes = object_list_bytes(section, "pdol");
    application.pdol = parse_object_list(application.pdol_bytes).value_or(std::vector<ListEntry>{});
    if (data_length(application.pdol) > 127) {
        section.fail("pdol", "asks for more than the 127 bytes that terminals send");
    }
    application.fci_elements = encoded_elements(section, "fci");
    application.fci_discretionary = encoded_elements(section, "discretionary");
    application.interchange_profile = section.hex("aip", 2);
    application.answer_format =
        static_cast<AnswerFormat>(number_field_or(section, "answer_format", 1, 2, 2));
    if (const auto quick = section.optional_section("quick")) {
        quick->allow_only({"elements", "fdda"});
        if (!quick->has("elements")) {
            quick->fail("elements", "is missing");
        }
        application.quick = QuickProfile{encoded_elements(*quick, "elements"),
                                         quick->optional_boolean("fdda").value_or(false)};
    }
    RecordSections record_sections;
    application.records = load_records(section, record_sections);
    application.file_locator = load_file_locator(section, application.records);
    application.data = load_data(section);
    if (const auto log = section.optional_section("log")) {
        application.transaction_log = load_log(*log);
    }
    if (const auto log = section.optional_section("load_log")) {
        application.load_log = load_log(*log);
    }
    load_pin(section, application);
    application.script_mac_failures =
        number_field_or<unsigned>(section, "script_mac_failures", 0, 255, 0);
    application.blocked = section.optional_boolean("blocked").value_or(false);
    application.declines = section.optional_boolean("declines").value_or(false);
    load_card_keys(section, application);
    application.first_atc = number_field_or<std::uint16_t>(section, "atc", 0, 0xFFFF, 0);
    application.first_last_online_atc =
        number_field_or<std::uint16_t>(section, "last_online_atc", 0, 0xFFFF, 0);
    check_object_lists(application.records, record_sections);
    check_amounts(section, application);
    check_files(section, application);
    application.keys = load_keys(section, application.records, record_sections, card);
    return application;
}

}  // namespace quorrin::simulator
