// What a card's issuer has set up on it, and what its makers have left.
#include <array>

#include "decode/lookup.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

// Card transaction qualifiers: contactless book C-3, PBOC quick PBOC.
constexpr BitRow ctq_rows[] = {
    bit(1, 8, "Online PIN required"),
    bit(1, 7, "Signature required"),
    bit(1, 6, "Go online if offline data authentication fails and reader is online capable"),
    bit(1, 5, "Switch interface if offline data authentication fails and reader has contacts"),
    bit(1, 4, "Go online if application expired"),
    bit(1, 3, "Switch interface for cash transactions"),
    bit(1, 2, "Switch interface for cashback transactions"),
    bit(1, 1, "Not valid for contactless ATM transactions"),
    bit(2, 8, "Consumer device CVM performed"),
    bit(2, 7, "Card supports issuer update processing at the point of sale"),
};

// Card additional processes: quick PBOC, after the like element of VSDC cards.
constexpr BitRow additional_process_rows[] = {
    bit(1, 8, "Low value check supported"),
    bit(1, 7, "Low value and cumulative total amount check supported"),
    bit(1, 6, "New card check supported"),
    bit(1, 5, "PIN tries exceeded check supported"),
    bit(1, 4, "Offline transactions in another currency allowed"),
    bit(1, 3, "Card prefers online over the contact interface"),
    bit(1, 2, "Available offline spending amount returned"),
    bit(1, 1, "Prepaid supported"),
    bit(2, 8, "Transactions in another currency not allowed"),
    bit(2, 7, "Declined if new card and reader is offline only"),
    bit(3, 8, "Online PIN supported, matching currency"),
    bit(3, 7, "Online PIN supported, other currency"),
    bit(3, 6, "CVM required by the card, other currency"),
    bit(3, 5, "Signature supported"),
};

// Application default action: PBOC debit/credit.
constexpr BitRow default_action_rows[] = {
    bit(1, 8, "Issuer authentication failed: next transaction online"),
    bit(1, 7, "Issuer authentication performed and failed: decline"),
    bit(1, 6, "Issuer authentication mandatory and no ARPC received: decline"),
    bit(1, 5, "Declined offline: create advice"),
    bit(1, 4, "PIN try limit exceeded and declined: create advice"),
    bit(1, 3, "Declined as issuer authentication failed or was not performed: create advice"),
    bit(1, 2, "New card: online"),
    bit(1, 1, "New card and online not possible: decline"),
    bit(2, 8, "PIN try limit exceeded now: block application"),
    bit(2, 7, "PIN try limit exceeded earlier: decline"),
    bit(2, 6, "PIN try limit exceeded earlier: online"),
    bit(2, 5, "PIN try limit exceeded earlier and online not possible: decline"),
    bit(2, 4, "Issuer script failed earlier: online"),
    bit(2, 3, "PIN try limit exceeded earlier: decline and block application"),
};

constexpr BitRow issuer_authentication_rows[] = {
    {1, 0x80, 0x80, "Issuer authentication mandatory"},
    {1, 0x80, 0x00, "Issuer authentication optional"},
};

constexpr BitRow geographic_rows[] = {
    bit(1, 8, "Valid for domestic contactless transactions"),
    bit(1, 7, "Valid for international contactless transactions"),
};

constexpr BitRow form_factor_rows[] = {
    {1, 0x1F, 0x00, "Standard card"},
    {1, 0x1F, 0x01, "Mini card"},
    {1, 0x1F, 0x02, "Non-card form factor"},
    {1, 0x1F, 0x03, "Consumer mobile phone"},
    {1, 0x1F, 0x04, "Wrist-worn device"},
    bit(2, 8, "Passcode capable"),
    bit(2, 7, "Signature panel"),
    bit(2, 6, "Hologram"),
    bit(2, 5, "Card verification value printed"),
    bit(2, 4, "Two-way messaging"),
    bit(2, 3, "Cloud based credentials"),
    bit(2, 2, "Biometric cardholder verification"),
    {4, 0x1F, 0x00, "Proximity contactless interface (ISO 14443)"},
};

constexpr BitRow application_capability_rows[] = {
    {1, 0x0F, 0x00, "Data storage not supported"}, {1, 0x0F, 0x01, "Data storage version 1"},
    {1, 0x0F, 0x02, "Data storage version 2"},     bit(2, 3, "Support for field off detection"),
    bit(2, 2, "Support for balance reading"),      bit(2, 1, "CDA supported over TC, ARQC and AAC"),
};

struct Part {
    std::string_view label;
    std::size_t size;
};

template <std::size_t Count>
void add_parts(const Reading& reading, const Part (&parts)[Count], Value value, Node& node) {
    std::size_t position = 0;
    for (const Part& part : parts) {
        add_field(reading, node, std::string(part.label), value.part(position, part.size));
        position += part.size;
    }
}

// GlobalPlatform: card production life cycle data.
constexpr Part life_cycle_parts[] = {
    {"IC fabricator", 2},
    {"IC type", 2},
    {"Operating system identifier", 2},
    {"Operating system release date", 2},
    {"Operating system release level", 2},
    {"IC fabrication date", 2},
    {"IC serial number", 4},
    {"IC batch identifier", 2},
    {"IC module fabricator", 2},
    {"IC module packaging date", 2},
    {"ICC manufacturer", 2},
    {"IC embedding date", 2},
    {"IC pre-personaliser", 2},
    {"IC pre-personalisation date", 2},
    {"IC pre-personalisation equipment", 4},
    {"IC personaliser", 2},
    {"IC personalisation date", 2},
    {"IC personalisation equipment", 4},
};

}  // namespace

void tell_ctq(const Reading&, Value value, Node& node) {
    expect_size(value, 2, node);
    add_flags(ctq_rows, value, node);
}

void tell_card_additional_processes(const Reading&, Value value, Node& node) {
    expect_size(value, 4, node);
    add_flags(additional_process_rows, value, node);
}

void tell_application_default_action(const Reading&, Value value, Node& node) {
    add_flags(default_action_rows, value, node);
}

void tell_issuer_authentication_indicator(const Reading&, Value value, Node& node) {
    add_flags(issuer_authentication_rows, value, node);
}

void tell_geographic_indicator(const Reading&, Value value, Node& node) {
    add_flags(geographic_rows, value, node);
}

void tell_form_factor(const Reading&, Value value, Node& node) {
    add_flags(form_factor_rows, value, node);
}

void tell_application_capabilities(const Reading& reading, Value value, Node& node) {
    add_flags(application_capability_rows, value.part(0, 2), node);
    add_field(reading, node, "Scheme of data storage slots", value.part(2, 1));
}

void tell_third_party_data(const Reading& reading, Value value, Node& node) {
    if (value.size() < 5) {
        add_problem(node, value.offset, "too short for country code and identifier");
        return;
    }
    Node& country = add_field(reading, node, "Country code", value.part(0, 2));
    tell_country(reading, value.part(0, 2), country);
    add_field(reading, node, "Unique identifier", value.part(2, 2));
    std::size_t next = 4;
    const bool names_device = (value[2] & 0x80) == 0;
    if (names_device && value.size() >= 6) {
        add_field(reading, node, "Device type", value.part(4, 2), quoted(value.part(4, 2).bytes));
        next = 6;
    }
    add_field(reading, node, "Proprietary data", value.part(next));
}

void tell_card_authentication_data(const Reading& reading, Value value, Node& node) {
    if (value.size() < 8) {
        return;  // the card's own form
    }
    add_field(reading, node, "fDDA version", value.part(0, 1));
    add_field(reading, node, "Unpredictable number, card", value.part(1, 4));
    Node& qualifiers = add_field(reading, node, "Card transaction qualifiers", value.part(5, 2));
    tell_ctq(reading, value.part(5, 2), qualifiers);
    add_field(reading, node, "Reserved", value.part(7));
}

void tell_production_life_cycle(const Reading& reading, Value value, Node& node) {
    if (expect_size(value, 42, node)) {
        add_parts(reading, life_cycle_parts, value, node);
    }
}

void tell_life_cycle_status(const Reading&, Value value, Node& node) {
    if (!expect_size(value, 1, node)) {
        return;
    }
    // ISO/IEC 7816-4, life cycle status byte.
    const std::uint8_t status = value[0];
    if (status >= 0x10) {
        node.text = "proprietary";
    } else if (status >= 0x0C) {
        node.text = "terminated";
    } else if (status >= 0x04) {
        node.text = (status & 1) != 0 ? "operational, activated" : "operational, deactivated";
    } else {
        constexpr std::string_view texts[] = {"no information", "created", "reserved",
                                              "initialised"};
        node.text = texts[status];
    }
}

void tell_file_descriptor(const Reading&, Value value, Node& node) {
    // ISO/IEC 7816-4, file descriptor byte.
    constexpr std::string_view structures[] = {
        "no structure told",     "transparent",
        "linear, fixed size",    "linear, fixed size, TLV",
        "linear, variable size", "linear, variable size, TLV",
        "cyclic, fixed size",    "cyclic, fixed size, TLV"};
    const std::uint8_t descriptor = value[0];
    const bool is_folder = (descriptor & 0x38) == 0x38;
    node.text = is_folder ? "dedicated file (DF)" : structures[descriptor & 0x07];
    if ((descriptor & 0x40) != 0) {
        node.text += ", shareable";
    }
}

}  // namespace quorrin::decode
