// Commands to the card and its answers (ISO/IEC 7816-4, EMV book 3, 6.5, PBOC debit/credit).
#include <algorithm>
#include <optional>

#include "decode/lookup.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

using TellParameters = std::string (*)(const Reading&, std::uint8_t p1, std::uint8_t p2);
using TellData = void (*)(const Reading&, Value data, std::uint8_t p1, std::uint8_t p2, Node&);

std::string no_parameters(const Reading&, std::uint8_t, std::uint8_t) {
    return {};
}

std::string select_parameters(const Reading&, std::uint8_t p1, std::uint8_t p2) {
    std::string text = p1 == 0x04   ? "by name"
                       : p1 == 0x00 ? "by file identifier"
                                    : "P1 " + hex({&p1, 1});
    const unsigned occurrence = p2 & 0x03;
    constexpr std::string_view occurrences[] = {"first", "last", "next", "previous"};
    return text + ", " + std::string(occurrences[occurrence]) + " occurrence";
}

std::string record_parameters(const Reading&, std::uint8_t p1, std::uint8_t p2) {
    return "record " + decimal(p1) + " of file " + decimal(p2 >> 3u);
}

std::string cryptogram_parameters(const Reading&, std::uint8_t p1, std::uint8_t) {
    constexpr std::string_view asked[] = {"AAC asked for", "TC asked for", "ARQC asked for",
                                          "reserved cryptogram"};
    return std::string(asked[p1 >> 6]) + ((p1 & 0x18) != 0 ? ", with CDA" : "");
}

std::uint32_t tag_of(std::uint8_t p1, std::uint8_t p2) {
    return p1 == 0 ? p2 : static_cast<std::uint32_t>(p1 << 8 | p2);
}

std::string tag_parameters(const Reading& reading, std::uint8_t p1, std::uint8_t p2) {
    const std::uint32_t tag = tag_of(p1, p2);
    const std::string_view name = element_name(tag, reading.kernel);
    return tag_text(tag) + (name.empty() ? ", unknown element" : " " + std::string(name));
}

std::string verify_parameters(const Reading&, std::uint8_t, std::uint8_t p2) {
    return p2 == 0x80   ? "plaintext PIN"
           : p2 == 0x88 ? "enciphered PIN"
                        : "qualifier " + hex({&p2, 1});
}

std::string pin_change_parameters(const Reading&, std::uint8_t, std::uint8_t p2) {
    return p2 == 0x00   ? "PIN try counter reset"
           : p2 == 0x01 ? "PIN change, with the current PIN"
           : p2 == 0x02 ? "PIN change"
                        : "P2 " + hex({&p2, 1});
}

// Data that no row tells may hold what must not be seen.
Node& add_opaque(const Reading& reading, std::string label, Value data, Node& node) {
    Node& field = add_field(reading, node, std::move(label), data);
    tell_unknown(reading, data, field);
    return field;
}

void opaque_data(const Reading& reading, Value data, std::uint8_t, std::uint8_t, Node& node) {
    add_opaque(reading, "Data", data, node);
}

void secret_data(const Reading& reading, Value data, std::uint8_t, std::uint8_t, Node& node) {
    Node& field = add_field(reading, node, "PIN data", data);
    field.sensitive = true;
    if (!reading.shows_secrets()) {
        field.value = std::string(2 * data.size(), '*');
    }
}

void name_data(const Reading& reading, Value data, std::uint8_t p1, std::uint8_t, Node& node) {
    Node& field = add_field(reading, node, p1 == 0x04 ? "Name" : "File", data);
    if (p1 == 0x04) {
        tell_application_identifier(reading, data, field);
    }
}

void object_data(const Reading& reading, Value data, std::uint8_t, std::uint8_t, Node& node) {
    Node& field = add_field(reading, node, "Data", data);
    field.value.clear();
    tell_objects(reading, data, field);
}

void cryptogram_data(const Reading& reading, Value data, std::uint8_t, std::uint8_t, Node& node) {
    const std::vector<std::uint8_t>& list = reading.options.list;
    Node& field = add_field(reading, node, "Data", data);
    if (list.empty()) {
        field.note = "the values that the card's CDOL asks for";
    } else {
        field.value.clear();
        tell_dol_data(reading, {list, 0}, data, field);
    }
}

void authentication_data(const Reading& reading, Value data, std::uint8_t, std::uint8_t,
                         Node& node) {
    Node& field = add_field(reading, node, "Issuer authentication data", data);
    tell_issuer_authentication_data(reading, data, field);
}

// The MAC of secure messaging (PBOC: 4 bytes) ends the data; an element of fixed size leaves the rest
// to it.
constexpr std::size_t usual_mac_size = 4;

void put_data(const Reading& reading, Value data, std::uint8_t p1, std::uint8_t p2, Node& node) {
    const std::uint32_t tag = tag_of(p1, p2);
    std::size_t size = data.size() > usual_mac_size ? data.size() - usual_mac_size : data.size();
    for (const Element* meaning : meanings_of(tag, {.kernel = reading.kernel}, size)) {
        if (meaning->shortest == meaning->longest && meaning->longest != 0 &&
            meaning->longest <= data.size()) {
            size = meaning->longest;
            break;
        }
    }
    Node& object = node.children.emplace_back();
    object.kind = NodeKind::Object;
    object.tag = tag_text(tag);
    object.offset = data.offset;
    object.size = size;
    tell_element(reading, tag, data.part(0, size), object);
    if (size < data.size()) {
        add_field(reading, node, "MAC", data.part(size));
    }
}

void mac_data(const Reading& reading, Value data, std::uint8_t, std::uint8_t, Node& node) {
    add_field(reading, node, "MAC", data);
}

void pin_change_data(const Reading& reading, Value data, std::uint8_t p1, std::uint8_t p2,
                     Node& node) {
    if (data.size() <= 8) {
        mac_data(reading, data, p1, p2, node);
        return;
    }
    const std::size_t size = data.size() - usual_mac_size;
    secret_data(reading, data.part(0, size), p1, p2, node);
    node.children.back().label = "Enciphered PIN data";
    mac_data(reading, data.part(size), p1, p2, node);
}

void update_record_data(const Reading& reading, Value data, std::uint8_t, std::uint8_t,
                        Node& node) {
    const bool has_mac = data.size() > usual_mac_size;
    const std::size_t size = has_mac ? data.size() - usual_mac_size : data.size();
    Node& record = add_opaque(reading, "Record", data.part(0, size), node);
    if (!data.empty() && data[0] == 0x70) {
        record.value.clear();
        record.text.clear();
        tell_objects(reading, data.part(0, size), record);
    }
    if (has_mac) {
        add_field(reading, node, "MAC", data.part(size));
    }
}

constexpr std::uint8_t secure_messaging = 0x04;

struct CommandRow {
    std::uint8_t
        group;  // class without channel and secure messaging: 00 interindustry, 80 proprietary
    std::uint8_t instruction;
    std::string_view name;
    TellParameters parameters;
    TellData data;
};

constexpr CommandRow commands[] = {
    {0x00, 0xA4, "SELECT", select_parameters, name_data},
    {0x00, 0xB2, "READ RECORD", record_parameters, opaque_data},
    {0x00, 0xB0, "READ BINARY", no_parameters, opaque_data},
    {0x00, 0xC0, "GET RESPONSE", no_parameters, opaque_data},
    {0x00, 0x20, "VERIFY", verify_parameters, secret_data},
    {0x00, 0x82, "EXTERNAL AUTHENTICATE", no_parameters, authentication_data},
    {0x00, 0x88, "INTERNAL AUTHENTICATE", no_parameters, opaque_data},
    {0x00, 0x84, "GET CHALLENGE", no_parameters, opaque_data},
    {0x00, 0x70, "MANAGE CHANNEL", no_parameters, opaque_data},
    {0x00, 0xCA, "GET DATA", tag_parameters, opaque_data},
    {0x00, 0xDC, "UPDATE RECORD", record_parameters, update_record_data},
    {0x00, 0xD6, "UPDATE BINARY", no_parameters, opaque_data},
    {0x00, 0xDA, "PUT DATA", tag_parameters, put_data},
    {0x00, 0xE2, "APPEND RECORD", no_parameters, opaque_data},
    {0x80, 0xA8, "GET PROCESSING OPTIONS", no_parameters, object_data},
    {0x80, 0xAE, "GENERATE AC", cryptogram_parameters, cryptogram_data},
    {0x80, 0xCA, "GET DATA", tag_parameters, opaque_data},
    {0x80, 0x2A, "COMPUTE CRYPTOGRAPHIC CHECKSUM", no_parameters, opaque_data},
    {0x80, 0xEA, "EXCHANGE RELAY RESISTANCE DATA", no_parameters, opaque_data},
    {0x80, 0xD0, "RECOVER AC", no_parameters, opaque_data},
    {0x80, 0xDA, "PUT DATA", tag_parameters, put_data},
    {0x80, 0x1E, "APPLICATION BLOCK", no_parameters, mac_data},
    {0x80, 0x18, "APPLICATION UNBLOCK", no_parameters, mac_data},
    {0x80, 0x16, "CARD BLOCK", no_parameters, mac_data},
    {0x80, 0x24, "PIN CHANGE/UNBLOCK", pin_change_parameters, pin_change_data},
    {0x80, 0xB4, "READ EXTENDED APPLICATION RECORD", no_parameters, opaque_data},
    {0x80, 0xDE, "UPDATE EXTENDED APPLICATION RECORD", no_parameters, opaque_data},
    {0x80, 0x5A, "GET TRANSACTION PROOF", no_parameters, opaque_data},
    {0x80, 0x5C, "GET BALANCE", no_parameters, opaque_data},
    {0x80, 0x50, "INITIALIZE (load, purchase or secure channel)", no_parameters, opaque_data},
    {0x80, 0x52, "CREDIT FOR LOAD", no_parameters, opaque_data},
    {0x80, 0x54, "DEBIT FOR PURCHASE", no_parameters, opaque_data},
    {0x80, 0xE2, "STORE DATA", no_parameters, opaque_data},
    {0x80, 0xE6, "INSTALL", no_parameters, opaque_data},
    {0x80, 0xF2, "GET STATUS", no_parameters, opaque_data},
};

const CommandRow* find_command(std::uint8_t class_byte, std::uint8_t instruction) {
    const std::uint8_t group = class_byte & 0x80;
    for (const CommandRow& row : commands) {
        if (row.group == group && row.instruction == instruction) {
            return &row;
        }
    }
    return nullptr;
}

struct Parts {
    Value data;
    Value length;    // Lc
    Value expected;  // Le
    std::string problem;
    std::size_t problem_offset = 0;
};

// ISO/IEC 7816-3, 12.1.3: the four cases, short lengths.
Parts split(Value apdu) {
    constexpr std::size_t header_size = 4;
    Parts parts;
    const Value body = apdu.part(header_size);
    if (body.empty()) {
        return parts;
    }
    if (body.size() == 1) {
        parts.expected = body;
        return parts;
    }
    if (body[0] == 0 && body.size() >= 3) {
        // Extended lengths.
        if (body.size() == 3) {
            parts.expected = body;
            return parts;
        }
        const std::size_t count = big_endian(body.part(1, 2).bytes);
        parts.length = body.part(0, 3);
        parts.data = body.part(3, count);
        parts.expected = body.part(3 + count);
        if (parts.data.size() < count) {
            parts.problem = "Lc says " + byte_count(count) + ", but only " +
                            decimal(parts.data.size()) + " follow";
            parts.problem_offset = body.offset;
        }
        return parts;
    }
    const std::size_t count = body[0];
    parts.length = body.part(0, 1);
    parts.data = body.part(1, count);
    parts.expected = body.part(1 + count);
    if (parts.data.size() < count) {
        parts.problem =
            "Lc says " + byte_count(count) + ", but only " + decimal(parts.data.size()) + " follow";
        parts.problem_offset = body.offset;
    } else if (parts.expected.size() > 1) {
        parts.problem = byte_count(parts.expected.size()) + " follow the data, Le is one byte";
        parts.problem_offset = parts.expected.offset;
    }
    return parts;
}

void tell_answer_data(const Reading& reading, Value data, const CommandRow* command, Node& node) {
    if (data.empty()) {
        return;
    }
    constexpr std::uint8_t read_record = 0xB2;
    constexpr std::string_view opaque_answers[] = {"GET CHALLENGE", "READ BINARY"};
    const bool opaque = command != nullptr && std::ranges::find(opaque_answers, command->name) !=
                                                  std::end(opaque_answers);
    const bool is_log_record =
        command != nullptr && command->instruction == read_record && data[0] != 0x70;
    if (is_log_record && !reading.options.list.empty()) {
        tell_dol_data(reading, {reading.options.list, 0}, data, node);
    } else if (opaque || is_log_record) {
        Node& field = add_opaque(reading, is_log_record ? "Record" : "Data", data, node);
        field.note = is_log_record ? "no template 70: perhaps a log record" : "";
    } else {
        tell_objects(reading, data, node);
    }
}

}  // namespace

void tell_command(const Reading& reading, Value value, Node& node) {
    if (value.size() < 4) {
        add_problem(node, value.offset, "a command has a header of four bytes");
        return;
    }
    if (reading.depth >= deepest_nesting) {
        add_problem(node, value.offset, "commands nested deeper than any bank's");
        return;
    }
    const std::uint8_t p1 = value[2];
    const std::uint8_t p2 = value[3];
    const CommandRow* row = find_command(value[0], value[1]);
    const Parts parts = split(value);
    if (row == nullptr) {
        node.text = "Unknown command";
        add_unknown(node, value.offset + 1,
                    "class " + hex(value.part(0, 1).bytes) + ", instruction " +
                        hex(value.part(1, 1).bytes) + " are in no table");
    } else {
        const std::string parameters = row->parameters(reading, p1, p2);
        node.text = std::string(row->name) + (parameters.empty() ? "" : ", " + parameters);
    }
    Node& header = add_field(reading, node, "Header", value.part(0, 4));
    if ((value[0] & secure_messaging) != 0) {
        header.text = "secure messaging";
    }
    if (!parts.length.empty()) {
        add_field(reading, node, "Lc", parts.length, byte_count(big_endian(parts.length.bytes)));
    }
    if (!parts.data.empty()) {
        // Templates 80 in a command's data answer nothing.
        const Reading inner = reading.inside(0);
        (row == nullptr ? opaque_data : row->data)(inner, parts.data, p1, p2, node);
    }
    if (!parts.expected.empty()) {
        const std::uint64_t count = big_endian(parts.expected.bytes);
        add_field(reading, node, "Le", parts.expected,
                  count == 0 ? "as much as there is" : byte_count(count));
    }
    if (!parts.problem.empty()) {
        add_problem(node, parts.problem_offset, parts.problem);
    }
    // The whole is told by its parts.
    node.value.clear();
}

Node command(Bytes apdu, const Options& options) {
    Reading reading = survey({}, options);
    Node root;
    root.kind = NodeKind::Root;
    root.label = "Command";
    root.size = apdu.size();
    tell_command(reading, {apdu, 0}, root);
    return root;
}

Node answer(Bytes data, Bytes command, const Options& options) {
    Node root;
    root.kind = NodeKind::Root;
    root.label = "Answer";
    root.size = data.size();
    if (data.size() < 2) {
        add_problem(root, 0, "an answer ends with a status word of two bytes");
        return root;
    }
    const Bytes body = data.first(data.size() - 2);
    Options known = options;
    const CommandRow* row = nullptr;
    if (command.size() >= 4) {
        row = find_command(command[0], command[1]);
        known.instruction = known.instruction.value_or(command[1]);
    }
    Reading reading = survey(body, known);
    if (row != nullptr) {
        root.text = "to " + std::string(row->name);
    }
    tell_answer_data(reading, {body, 0}, row, root);
    const Value status{data.last(2), body.size()};
    Node& field = add_field(reading, root, "Status word", status);
    tell_status_word(reading, status, field);
    return root;
}

}  // namespace quorrin::decode
