// Lists of tags and lengths, and what is sent or kept in their order (EMV book 3, 5.4).
#include "decode/lookup.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

// An entry of a list at its start, or the reason why there is none.
Header read_entry(Bytes list, bool with_length) {
    return with_length ? read_header(list) : read_tag_only(list);
}

// `found` takes the header of an entry and its bytes; false after a list that is broken.
template <typename Found>
bool for_each_entry(const Reading& reading, Value list, bool with_length, Node& node, Found found) {
    while (!list.empty()) {
        if (list[0] == 0x00 || list[0] == 0xFF) {
            std::size_t count = 1;
            while (count < list.size() && (list[count] == 0x00 || list[count] == 0xFF)) {
                ++count;
            }
            Node& padding = add(reading, node, NodeKind::Padding, "Padding", list.part(0, count));
            padding.text = byte_count(count);
            list = list.part(count);
            continue;
        }
        const Header header = read_entry(list.bytes, with_length);
        if (!header.error.empty()) {
            Node& rest = add_unreadable(reading, node, list, header.error);
            rest.problems.back().offset += header.error_position;
            return false;
        }
        found(header, list.part(0, header.size()));
        list = list.part(header.size());
    }
    return true;
}

Node& add_entry(const Reading& reading, const Header& header, Value bytes, Node& node) {
    const auto meanings = meanings_of(header.tag, {.kernel = reading.kernel}, header.value_size);
    Node& entry = add(reading, node, NodeKind::Field, "", bytes);
    entry.value.clear();
    entry.tag = tag_text(header.tag);
    if (meanings.empty()) {
        entry.label = "Unknown element";
        add_unknown(entry, bytes.offset, "the tag " + entry.tag + " is in no table");
    } else {
        entry.label = meanings[0]->name;
        entry.label_zh = meanings[0]->name_zh;
    }
    return entry;
}

}  // namespace

void tell_dol(const Reading& reading, Value value, Node& node) {
    std::size_t total = 0;
    std::size_t entries = 0;
    for_each_entry(reading, value, true, node, [&](const Header& header, Value bytes) {
        Node& entry = add_entry(reading, header, bytes, node);
        entry.text = byte_count(header.value_size);
        total += header.value_size;
        ++entries;
    });
    node.text = decimal(entries) + (entries == 1 ? " entry, " : " entries, ") + byte_count(total);
}

void tell_tag_list(const Reading& reading, Value value, Node& node) {
    for_each_entry(reading, value, false, node, [&](const Header& header, Value bytes) {
        add_entry(reading, header, bytes, node);
    });
}

void tell_dol_data(const Reading& reading, Value list, Value data, Node& node) {
    Value rest = data;
    Reading outer = reading;
    outer.parent = 0;
    outer.lengths_may_differ = true;
    outer.options.list.clear();  // tells these data, not the same list's 83 within them
    // The list is no part of the input: its faults are told, not its place.
    Node ignored;
    const bool whole =
        for_each_entry(reading, list, true, ignored, [&](const Header& header, Value) {
            if (rest.empty() && header.value_size > 0) {
                Node& missing = node.children.emplace_back();
                missing.tag = tag_text(header.tag);
                missing.label = element_name(header.tag, reading.kernel);
                missing.offset = data.end();
                add_problem(
                    missing, data.end(),
                    "the data end before " + missing.tag + " of " + byte_count(header.value_size));
                return;
            }
            const Value value = rest.part(0, header.value_size);
            rest = rest.part(value.size());
            Node& object = node.children.emplace_back();
            object.kind = NodeKind::Object;
            object.tag = tag_text(header.tag);
            object.offset = value.offset;
            object.size = value.size();
            tell_element(outer, header.tag, value, object);
            if (value.size() < header.value_size) {
                add_problem(object, value.end(),
                            "should have " + byte_count(header.value_size) + ", but only " +
                                decimal(value.size()) + (value.size() == 1 ? " is" : " are") +
                                " left");
            }
        });
    if (!whole) {
        for (const Node& fault : ignored.children) {
            for (const Problem& problem : fault.problems) {
                add_problem(node, data.offset, "in the list: " + problem.text);
            }
        }
    }
    if (!rest.empty()) {
        Node& more = add_unreadable(reading, node, rest, "more data than the list names");
        more.label = "Beyond the list";
    }
}

Node dol_data(Bytes list, Bytes data, const Options& options) {
    Reading reading = survey(data, options);
    Node root;
    root.kind = NodeKind::Root;
    root.label = "Data of a list";
    root.size = data.size();
    // Currencies and account numbers in the data themselves.
    Value rest{data, 0};
    for (Bytes entries = list; !entries.empty();) {
        const Header header = read_header(entries);
        if (!header.error.empty()) {
            break;
        }
        const Value value = rest.part(0, header.value_size);
        if (header.tag == 0x5F2A && value.size() == 2) {
            reading.transaction_currency = static_cast<std::uint16_t>(bcd_number(value.bytes));
        }
        rest = rest.part(value.size());
        entries = entries.subspan(header.size());
    }
    tell_dol_data(reading, {list, 0}, {data, 0}, root);
    return root;
}

}  // namespace quorrin::decode
