// What goes with application cryptograms: CID and format 1 answers (EMV book 3, 6.5), issuer
// authentication data and card status update (book 3, annex C10), certificates.
#include "decode/lookup.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

constexpr std::uint8_t get_processing_options = 0xA8;
constexpr std::uint8_t generate_ac = 0xAE;
constexpr std::uint8_t internal_authenticate = 0x88;
constexpr std::uint8_t exchange_relay_resistance_data = 0xEA;

constexpr BitRow cid_rows[] = {
    {1, 0xC0, 0x00, "AAC: declined"},
    {1, 0xC0, 0x40, "TC: approved offline"},
    {1, 0xC0, 0x80, "ARQC: online authorisation requested"},
    {1, 0xC0, 0xC0, "AAR: authorisation referral (reserved)"},
    {1, 0x08, 0x08, "Advice required"},
    {1, 0x07, 0x01, "Service not allowed"},
    {1, 0x07, 0x02, "PIN try limit exceeded"},
    {1, 0x07, 0x03, "Issuer authentication failed"},
};

constexpr BitRow status_update_rows[] = {
    bit(1, 8, "Proprietary authentication data included"),
    bit(2, 8, "Issuer approves online transaction"),
    bit(2, 7, "Card block"),
    bit(2, 6, "Application block"),
    bit(2, 5, "Update PIN try counter"),
    bit(2, 4, "Go online on next transaction"),
    bit(2, 3, "Created by a proxy of the issuer"),
    {2, 0x03, 0x00, "Do not update offline counters"},
    {2, 0x03, 0x01, "Set offline counters to upper limits"},
    {2, 0x03, 0x02, "Reset offline counters to zero"},
    {2, 0x03, 0x03, "Add transaction to offline counters"},
};

constexpr std::size_t shortest_cryptogram_answer = 11;
constexpr std::size_t longest_cryptogram_answer = 43;

// AIP and an AFL whose entries can be.
bool can_be_processing_options(Bytes value) {
    if (value.size() < 2 || (value.size() - 2) % 4 != 0) {
        return false;
    }
    for (Bytes entry = value.subspan(2); !entry.empty(); entry = entry.subspan(4)) {
        const bool possible = (entry[0] & 0x07) == 0 && entry[0] != 0 && entry[1] != 0 &&
                              entry[2] >= entry[1] && entry[3] <= entry[2] - entry[1] + 1;
        if (!possible) {
            return false;
        }
    }
    return true;
}

bool can_be_cryptogram(Bytes value) {
    return value.size() >= shortest_cryptogram_answer &&
           value.size() <= longest_cryptogram_answer && (value[0] & 0xC0) != 0xC0;
}

// A part of a value that is an element without tag and length of its own.
void add_element(const Reading& reading, std::uint32_t tag, Value value, Node& node) {
    Node& part = node.children.emplace_back();
    part.kind = NodeKind::Object;
    part.tag = tag_text(tag);
    part.offset = value.offset;
    part.size = value.size();
    Reading outer = reading;
    outer.parent = 0;
    tell_element(outer, tag, value, part);
}

void add_processing_options(const Reading& reading, Value value, Node& node) {
    add_element(reading, 0x82, value.part(0, 2), node);
    if (value.size() > 2) {
        add_element(reading, 0x94, value.part(2), node);
    }
}

void add_cryptogram(const Reading& reading, Value value, Node& node) {
    add_element(reading, 0x9F27, value.part(0, 1), node);
    add_element(reading, 0x9F36, value.part(1, 2), node);
    add_element(reading, 0x9F26, value.part(3, 8), node);
    if (value.size() > shortest_cryptogram_answer) {
        add_element(reading, 0x9F10, value.part(shortest_cryptogram_answer), node);
    }
}

}  // namespace

void tell_cid(const Reading&, Value value, Node& node) {
    if (!expect_size(value, 1, node)) {
        return;
    }
    add_flags(cid_rows, value, node);
}

void tell_format_1_answer(const Reading& reading, Value value, Node& node) {
    switch (reading.options.instruction.value_or(0)) {
        case get_processing_options:
            if (value.size() < 2) {
                add_problem(node, value.offset,
                            "too short for the application interchange profile");
                return;
            }
            add_processing_options(reading, value, node);
            return;
        case generate_ac:
            if (value.size() < shortest_cryptogram_answer) {
                add_problem(node, value.offset, "too short for CID, counter and cryptogram");
                return;
            }
            add_cryptogram(reading, value, node);
            return;
        case internal_authenticate:
            add_element(reading, 0x9F4B, value, node);
            return;
        case exchange_relay_resistance_data:
            add_element(reading, 0xDF8302, value.part(0, 4), node);
            add_element(reading, 0xDF8303, value.part(4, 2), node);
            add_element(reading, 0xDF8304, value.part(6, 2), node);
            add_element(reading, 0xDF8305, value.part(8, 2), node);
            return;
        default:
            break;
    }
    // The command is not known: what the length and the bytes allow.
    const bool options = can_be_processing_options(value.bytes);
    const bool cryptogram = can_be_cryptogram(value.bytes);
    if (options && value.size() > 2) {
        node.note = "taken for the answer to GET PROCESSING OPTIONS";
        add_processing_options(reading, value, node);
    } else if (cryptogram) {
        node.note = "taken for the answer to GENERATE AC";
        add_cryptogram(reading, value, node);
    } else {
        node.note = "what it holds depends on the command that it answers";
    }
}

void tell_command_template(const Reading& reading, Value value, Node& node) {
    const std::vector<std::uint8_t>& list = reading.options.list;
    if (list.empty()) {
        node.note = "the values that the card's PDOL asks for";
        return;
    }
    tell_dol_data(reading, {list, 0}, value, node);
}

void tell_card_status_update(const Reading& reading, Value value, Node& node) {
    if (!expect_size(value, 4, node)) {
        return;
    }
    const std::uint8_t tries = value[0] & 0x0F;
    add_flags(status_update_rows, value, node);
    std::erase_if(node.children, [](const Node& flag) { return flag.text == "reserved"; });
    if ((value[1] & 0x10) != 0) {
        add_field(reading, node, "PIN try counter", value.part(0, 1), decimal(tries));
    }
}

void tell_issuer_authentication_data(const Reading& reading, Value value, Node& node) {
    constexpr std::size_t cryptogram_size = 8;
    constexpr std::size_t short_cryptogram_size = 4;
    if (value.size() < cryptogram_size) {
        return;  // the length is complained of already
    }
    if (value.size() == cryptogram_size + 2) {
        add_field(reading, node, "ARPC (method 1)", value.part(0, cryptogram_size));
        Node& code =
            add_field(reading, node, "Authorisation response code", value.part(cryptogram_size));
        tell_response_code(reading, value.part(cryptogram_size), code);
        return;
    }
    if (value.size() == cryptogram_size) {
        node.note = "method 2 by its length, or an ARPC of method 1 alone";
    }
    add_field(reading, node, "ARPC (method 2)", value.part(0, short_cryptogram_size));
    Node& update =
        add_field(reading, node, "Card status update", value.part(short_cryptogram_size, 4));
    tell_card_status_update(reading, value.part(short_cryptogram_size, 4), update);
    if (value.size() > cryptogram_size) {
        add_field(reading, node, "Proprietary authentication data", value.part(cryptogram_size));
    }
}

void tell_certificate(const Reading&, Value value, Node& node) {
    constexpr std::size_t shortest = 64;
    if (value.size() >= shortest) {
        node.text = decimal(8 * value.size()) + " bits";
    }
}

std::optional<unsigned> quick_cryptogram_type(std::optional<std::uint8_t> cryptogram_information,
                                              Bytes issuer_application_data) {
    constexpr std::size_t decision = 4;  // behind length, key, version, and the results' length
    if (cryptogram_information) {
        return static_cast<unsigned>(*cryptogram_information >> 6);
    }
    if (issuer_application_data.size() <= decision) {
        return std::nullopt;
    }
    return static_cast<unsigned>(issuer_application_data[decision] >> 4 & 0x03);
}

}  // namespace quorrin::decode
