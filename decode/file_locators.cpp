// Where things are on a card: AFL (EMV book 3, 10.2), SFI, log entries.
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

// EMV book 1, 7.5 and ISO/IEC 7816-4: who governs a file of this number.
std::string_view governed_by(unsigned file) {
    return file <= 10 ? "payment system" : file <= 20 ? "payment scheme" : "issuer";
}

}  // namespace

void tell_afl(const Reading& reading, Value value, Node& node) {
    for (Value rest = value; !rest.empty(); rest = rest.part(4)) {
        if (rest.size() < 4) {
            add_unreadable(reading, node, rest, "an entry has four bytes");
            return;
        }
        const unsigned file = rest[0] >> 3;
        const unsigned first = rest[1];
        const unsigned last = rest[2];
        const unsigned authenticated = rest[3];
        std::string text = first == last ? "record " + decimal(first)
                                         : "records " + decimal(first) + " to " + decimal(last);
        if (authenticated != 0) {
            text += ", first " + decimal(authenticated) + " for offline data authentication";
        }
        Node& entry =
            add_field(reading, node, "File " + decimal(file), rest.part(0, 4), std::move(text));
        if (file == 0 || file == 31 || (rest[0] & 0x07) != 0) {
            add_problem(entry, rest.offset, "no short file identifier");
        } else if (first == 0 || last < first) {
            add_problem(entry, rest.offset + 1, "no such range of records");
        } else if (authenticated > last - first + 1) {
            add_problem(entry, rest.offset + 3, "more records to authenticate than there are");
        }
    }
}

void tell_sfi(const Reading&, Value value, Node& node) {
    if (expect_size(value, 1, node)) {
        node.text = "file " + decimal(value[0]);
        if (value[0] == 0 || value[0] > 30) {
            add_problem(node, value.offset, "no short file identifier");
        } else {
            node.text += ", of the " + std::string(governed_by(value[0]));
        }
    }
}

void tell_log_entry(const Reading&, Value value, Node& node) {
    if (expect_size(value, 2, node)) {
        node.text = "file " + decimal(value[0]) + ", up to " + decimal(value[1]) + " records";
    }
}

}  // namespace quorrin::decode
