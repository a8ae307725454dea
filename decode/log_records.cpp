// Log records (PBOC debit/credit): values without tags and lengths, in the order of the log format.
#include "decode/data_kinds.hpp"
#include "decode/lookup.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

// In front of the fields of a load log record: P1 and P2 of the PUT DATA that changed the balance, the
// balance before it and after it.
constexpr std::size_t changed_tag_size = 2;
constexpr std::size_t balance_size = 6;
constexpr std::size_t load_prefix = changed_tag_size + 2 * balance_size;

Node start(std::string label, Bytes record) {
    Node root;
    root.kind = NodeKind::Root;
    root.label = std::move(label);
    root.size = record.size();
    return root;
}

// The list alone; people paste it with its tag too.
Bytes list_of(Bytes format) {
    const Header header = read_header(format);
    const bool has_header = (header.tag == 0x9F4F || header.tag == 0xDF4F) &&
                            header.error.empty() &&
                            header.size() + header.value_size == format.size();
    return has_header ? format.subspan(header.size()) : format;
}

void tell_fields(const Options& options, Value record, Node& root) {
    if (options.list.empty()) {
        add_unreadable(survey({}, options), root, record,
                       "the log format is needed to tell the fields");
        return;
    }
    const Node told = dol_data(list_of(options.list), record.bytes, options);
    root.children.insert(root.children.end(), told.children.begin(), told.children.end());
    root.problems.insert(root.problems.end(), told.problems.begin(), told.problems.end());
}

void move_by(std::size_t distance, Node& node) {
    node.offset += distance;
    for (Problem& problem : node.problems) {
        problem.offset += distance;
    }
    for (Node& child : node.children) {
        move_by(distance, child);
    }
}

}  // namespace

Node log_record(Bytes record, const Options& options) {
    Node root = start("Log record", record);
    tell_fields(options, {record, 0}, root);
    return root;
}

Node load_log_record(Bytes record, const Options& options) {
    Node root = start("Load log record", record);
    const Reading reading = survey({}, options);
    const Value value{record, 0};
    if (record.size() < load_prefix) {
        add_unreadable(reading, root, value, "too short for the balances before and after");
        return root;
    }
    const auto tag = static_cast<std::uint32_t>(big_endian(record.first(changed_tag_size)));
    add_field(reading, root, "Changed element", value.part(0, changed_tag_size),
              std::string(element_name(tag, reading.kernel)));
    Node& before = add_field(reading, root, "Before", value.part(changed_tag_size, balance_size));
    tell_card_amount(reading, value.part(changed_tag_size, balance_size), before);
    Node& after = add_field(reading, root, "After",
                            value.part(changed_tag_size + balance_size, balance_size));
    tell_card_amount(reading, value.part(changed_tag_size + balance_size, balance_size), after);
    Node fields;
    tell_fields(options, {record.subspan(load_prefix), 0}, fields);
    for (Node& field : fields.children) {
        move_by(load_prefix, field);
        root.children.push_back(std::move(field));
    }
    return root;
}

}  // namespace quorrin::decode
