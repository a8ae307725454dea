// Answer to reset (ISO/IEC 7816-3, 8) and historical bytes (ISO/IEC 7816-4, 12.1.1).
#include <algorithm>
#include <array>

#include "decode/lookup.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

// ISO/IEC 7816-3, tables 7 and 8; 0: reserved.
constexpr std::array<unsigned, 16> clock_rate_factors = {372, 372, 558, 744,  1116, 1488, 1860, 0,
                                                         0,   512, 768, 1024, 1536, 2048, 0,    0};
constexpr std::array<unsigned, 16> baud_rate_factors = {0,  1,  2, 4, 8, 16, 32, 64,
                                                        12, 20, 0, 0, 0, 0,  0,  0};

std::string first_byte_text(std::uint8_t byte) {
    switch (byte) {
        case 0x3B:
            return "direct convention";
        case 0x3F:
            return "inverse convention";
        default:
            return "";
    }
}

std::string protocol_text(unsigned protocol) {
    return protocol == 15 ? "global parameters follow" : "T=" + decimal(protocol);
}

std::string rate_text(std::uint8_t byte) {
    const unsigned f = clock_rate_factors[byte >> 4];
    const unsigned d = baud_rate_factors[byte & 0x0F];
    if (f == 0 || d == 0) {
        return "reserved";
    }
    return "F " + decimal(f) + ", D " + decimal(d) + ", " + decimal(f / d) + " clocks a bit";
}

std::string interface_text(char letter, unsigned group, unsigned protocol, std::uint8_t byte) {
    if (letter == 'A' && group == 1) {
        return rate_text(byte);
    }
    if (letter == 'B' && group == 1) {
        return byte == 0 ? "no programming voltage" : "programming voltage (obsolete)";
    }
    if (letter == 'C' && group == 1) {
        return byte == 0xFF ? "shortest guard time" : "extra guard time " + decimal(byte);
    }
    if (letter == 'D') {
        return protocol_text(byte & 0x0F);
    }
    if (letter == 'A' && group == 2) {
        return "specific mode, T=" + decimal(byte & 0x0F) +
               ((byte & 0x80) != 0 ? ", cannot change" : ", can change");
    }
    if (letter == 'C' && group == 2 && protocol == 0) {
        return "waiting time integer " + decimal(byte);
    }
    if (group >= 3 && protocol == 1) {
        if (letter == 'A') {
            return "longest information field " + byte_count(byte);
        }
        if (letter == 'B') {
            return "block waiting " + decimal(byte >> 4) + ", character waiting " +
                   decimal(byte & 0x0F);
        }
        return (byte & 1) != 0 ? "CRC" : "LRC";
    }
    if (group >= 3 && protocol == 15 && letter == 'A') {
        constexpr std::string_view classes[] = {"",          "A (5 V)", "B (3 V)", "A and B",
                                                "C (1.8 V)", "",        "B and C", "A, B and C"};
        const unsigned bits = byte & 0x3F;
        const std::string_view supply = bits < std::size(classes) ? classes[bits] : "";
        constexpr std::string_view stops[] = {"not supported", "state L", "state H",
                                              "either state"};
        return "classes " + std::string(supply.empty() ? "reserved" : supply) + ", clock stop " +
               std::string(stops[byte >> 6]);
    }
    return "";
}

// Compact data objects of the historical bytes.
constexpr std::array<std::string_view, 16> compact_names = {"",
                                                            "Country code and national data",
                                                            "Issuer identification number",
                                                            "Card service data",
                                                            "Initial access data",
                                                            "Card issuer's data",
                                                            "Pre-issuing data",
                                                            "Card capabilities",
                                                            "Status information",
                                                            "",
                                                            "",
                                                            "",
                                                            "",
                                                            "",
                                                            "",
                                                            "Application identifier"};

constexpr BitRow service_rows[] = {
    bit(1, 8, "Application selection by full name"),
    bit(1, 7, "Application selection by partial name"),
    bit(1, 6, "Data objects in EF.DIR"),
    bit(1, 5, "Data objects in EF.ATR"),
    {1, 0x0E, 0x08, "Access to EF.DIR and EF.ATR by READ BINARY"},
    {1, 0x0E, 0x00, "Access to EF.DIR and EF.ATR by READ RECORD"},
    {1, 0x0E, 0x04, "Access to EF.DIR and EF.ATR by GET DATA"},
    {1, 0x01, 0x00, "Card with a master file"},
    {1, 0x01, 0x01, "Card without a master file"},
};

constexpr BitRow card_capability_rows[] = {
    bit(1, 8, "Selection by full DF name"),
    bit(1, 7, "Selection by partial DF name"),
    bit(1, 6, "Selection by path"),
    bit(1, 5, "Selection by file identifier"),
    bit(1, 4, "Implicit selection"),
    bit(1, 3, "Short file identifiers supported"),
    bit(1, 2, "Record numbers supported"),
    bit(1, 1, "Record identifiers supported"),
    bit(2, 8, "Structures of data objects supported"),
    {2, 0x60, 0x00, "One-time write"},
    {2, 0x60, 0x20, "Write behaviour proprietary"},
    {2, 0x60, 0x40, "Write OR"},
    {2, 0x60, 0x60, "Write AND"},
    bit(2, 5, "FF valid as first byte of tags"),
    {2, 0x0F, 0x00, "Data unit of half a byte"},
    {2, 0x0F, 0x01, "Data unit of one byte"},
    {2, 0x0F, 0x02, "Data unit of two bytes"},
    bit(3, 8, "Command chaining supported"),
    bit(3, 7, "Extended lengths supported"),
    bit(3, 6, "Extended lengths told in EF.ATR"),
    {3, 0x18, 0x08, "Channel numbers assigned by the card"},
    {3, 0x18, 0x10, "Channel numbers assigned by the interface device"},
};

// PC/SC part 3: names of contactless cards in an ATR that the reader makes up.
constexpr std::uint8_t storage_card_registration[] = {0xA0, 0x00, 0x00, 0x03, 0x06};

void add_status_indicator(const Reading& reading, Value value, Node& node) {
    if (value.size() >= 1 && value.size() != 2) {
        Node& state = add_field(reading, node, "Life cycle status", value.part(0, 1));
        tell_life_cycle_status(reading, value.part(0, 1), state);
    }
    if (value.size() >= 2) {
        const Value word = value.part(value.size() - 2);
        Node& field = add_field(reading, node, "Status word", word);
        if (word[0] != 0 || word[1] != 0) {
            tell_status_word(reading, word, field);
        } else {
            field.text = "not indicated";
        }
    }
}

void add_compact_objects(const Reading& reading, Value value, Node& node) {
    while (!value.empty()) {
        const unsigned number = value[0] >> 4;
        const std::size_t size = value[0] & 0x0F;
        const bool has_own_length =
            value[0] == 0x4F && value.size() >= 2 && value.size() == 2u + value[1];
        if (value.size() < 1 + size && !has_own_length) {
            add_unreadable(reading, node, value,
                           "a compact object of " + byte_count(size) + ", but only " +
                               decimal(value.size() - 1) + " follow");
            return;
        }
        // PC/SC part 3: an application identifier with a length of its own, in the answers that readers
        // make up for storage cards.
        if (has_own_length) {
            Node& identifier = add_field(reading, node, "Application identifier", value.part(2));
            const bool is_storage_card =
                std::ranges::equal(value.part(2, 5).bytes, storage_card_registration);
            identifier.text = is_storage_card ? "contactless storage card" : "";
            return;
        }
        const Value content = value.part(1, size);
        const std::string_view name = compact_names[number];
        Node& object = add_field(
            reading, node,
            name.empty() ? "Object " + hex(value.part(0, 1).bytes) : std::string(name), content);
        if (number == 3 && size == 1) {
            add_flags(service_rows, content, object);
        } else if (number == 7) {
            add_flags(card_capability_rows, content, object);
        } else if (number == 8) {
            add_status_indicator(reading, content, object);
        } else if (number == 15) {
            tell_application_identifier(reading, content, object);
        } else if (is_printable(content.bytes)) {
            object.text = quoted(content.bytes);
        }
        value = value.part(1 + size);
    }
}

// PC/SC part 3, 3.1.3.2.3: the reader makes up the answer of a contactless card; of one of type B from
// its answer to request.
constexpr std::size_t type_b_history = 8;

void tell_type_b_history(const Reading& reading, Value value, Node& node) {
    node.note = "contactless, type B";
    add_field(reading, node, "Application data", value.part(0, 4));
    add_field(reading, node, "Protocol information", value.part(4, 3));
    add_field(reading, node, "Buffer length", value.part(7, 1));
}

}  // namespace

void tell_historical_bytes(const Reading& reading, Value value, Node& node) {
    if (value.empty()) {
        return;
    }
    if (is_printable(value.bytes)) {
        node.text = quoted(value.bytes);
        return;
    }
    switch (value[0]) {
        case 0x80:
            add_field(reading, node, "Category", value.part(0, 1), "compact data objects");
            add_compact_objects(reading, value.part(1), node);
            return;
        case 0x00:
            add_field(reading, node, "Category", value.part(0, 1),
                      "compact data objects, status at the end");
            if (value.size() < 4) {
                add_problem(node, value.offset, "too short for the status");
                return;
            }
            add_compact_objects(reading, value.part(1, value.size() - 4), node);
            add_status_indicator(
                reading, value.part(value.size() - 3),
                add_field(reading, node, "Status information", value.part(value.size() - 3)));
            return;
        case 0x10:
            add_field(reading, node, "Category", value.part(0, 1), "reference to a DIR record");
            add_field(reading, node, "Record", value.part(1));
            return;
        default: {
            node.note = "proprietary";
            const Bytes text = value.part(1).bytes;
            if (text.size() > 2 && is_printable(text)) {
                node.text = quoted(value.bytes);
            }
            return;
        }
    }
}

void tell_atr(const Reading& reading, Value value, Node& node) {
    if (value.size() < 2) {
        add_problem(node, value.offset, "an answer to reset has at least two bytes");
        return;
    }
    Node& initial = add_field(reading, node, "TS", value.part(0, 1), first_byte_text(value[0]));
    if (initial.text.empty()) {
        add_problem(initial, value.offset, "an answer to reset begins with 3B or 3F");
        return;
    }
    const std::size_t historical = value[1] & 0x0F;
    add_field(reading, node, "T0", value.part(1, 1), byte_count(historical) + " of history");

    // Interface bytes: the high nibble of T0, then of each TD, says which follow.
    std::size_t next = 2;
    unsigned group = 1;
    unsigned protocol = 0;
    bool needs_check = false;
    for (unsigned present = value[1] >> 4; present != 0; ++group) {
        unsigned following = 0;
        for (unsigned i = 0; i < 4; ++i) {
            if ((present >> i & 1) == 0) {
                continue;
            }
            const char letter = "ABCD"[i];
            const std::string name = std::string("T") + letter + decimal(group);
            if (next >= value.size()) {
                add_problem(node, value.end(), "the answer ends before " + name);
                return;
            }
            add_field(reading, node, name, value.part(next, 1),
                      interface_text(letter, group, protocol, value[next]));
            if (letter == 'D') {
                following = value[next] >> 4;
                protocol = value[next] & 0x0F;
                needs_check = needs_check || protocol != 0;
            }
            ++next;
        }
        present = following;
    }

    const Value history = value.part(next, historical);
    if (historical > 0) {
        Node& field = add_field(reading, node, "Historical bytes", history);
        const bool made_by_reader = value.size() > 4 && value[2] == 0x80 && value[3] == 0x01;
        if (made_by_reader && history.size() == type_b_history && history[0] != 0x80) {
            tell_type_b_history(reading, history, field);
        } else {
            tell_historical_bytes(reading, history, field);
        }
        if (history.size() < historical) {
            add_problem(field, value.end(),
                        "only " + decimal(history.size()) + " of " + byte_count(historical) +
                            " of history");
            return;
        }
    }
    next += historical;
    if (needs_check) {
        if (next >= value.size()) {
            add_problem(node, value.end(), "the check byte TCK is missing");
            return;
        }
        std::uint8_t sum = 0;
        for (const std::uint8_t byte : value.part(1, next).bytes) {
            sum ^= byte;
        }
        Node& check =
            add_field(reading, node, "TCK", value.part(next, 1), sum == 0 ? "correct" : "");
        if (sum != 0) {
            const auto right = static_cast<std::uint8_t>(sum ^ value[next]);
            add_problem(check, value.offset + next, "should be " + hex({&right, 1}));
        }
        ++next;
    }
    if (next < value.size()) {
        add_unreadable(reading, node, value.part(next), "more bytes than the answer has by its T0");
    }
}

}  // namespace quorrin::decode
