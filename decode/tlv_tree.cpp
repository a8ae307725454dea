// Strings of data objects: templates opened, padding shown, the place of a fault told.
#include <algorithm>

#include "decode/lookup.hpp"
#include "decode/meanings.hpp"
#include "decode/reading.hpp"
#include "decode/secrets.hpp"

namespace quorrin::decode {
namespace {

bool is_filler(std::uint8_t byte) {
    return byte == 0x00 || byte == 0xFF;
}

bool begins_known_object(Bytes data) {
    const Header header = read_header(data);
    return header.error.empty() && header.size() + header.value_size <= data.size() &&
           !rows_of(header.tag).empty();
}

// What bytes can be taken for. FF within FF doubles the ways of reading with each level, so that a few
// dozen bytes could keep a guess busy for ever: it looks at so many objects, and then says no.
class Guess {
  public:
    // Whether the bytes are data objects to the last, padding apart. Looks into templates.
    bool is_well_formed(Bytes data, unsigned depth);
    bool is_padding_at(Bytes data, unsigned depth) {
        return data[0] == 0x00 || (data[0] == 0xFF && !begins_private_template(data, depth));
    }

  private:
    bool begins_private_template(Bytes data, unsigned depth);

    unsigned objects_left_ = 1000;
};

// FF is padding, and the first byte of the tags of private templates: those that the tables know, and
// those that hold well-formed objects where no known object follows the FF.
bool Guess::begins_private_template(Bytes data, unsigned depth) {
    if (data.size() < 3 || is_filler(data[1])) {
        return false;
    }
    const Header header = read_header(data);
    if (!header.error.empty() || header.size() + header.value_size > data.size()) {
        return false;
    }
    if (!rows_of(header.tag).empty()) {
        return true;
    }
    return header.value_size > 0 && !begins_known_object(data.subspan(1)) &&
           is_well_formed(data.subspan(header.size(), header.value_size), depth + 1);
}

bool Guess::is_well_formed(Bytes data, unsigned depth) {
    if (depth > deepest_nesting) {
        return false;
    }
    while (!data.empty()) {
        if (objects_left_ == 0) {
            return false;
        }
        --objects_left_;
        if (is_filler(data[0]) && is_padding_at(data, depth)) {
            data = data.subspan(1);
            continue;
        }
        const Header header = read_header(data);
        if (!header.error.empty() || header.size() + header.value_size > data.size()) {
            return false;
        }
        if (header.constructed &&
            !is_well_formed(data.subspan(header.size(), header.value_size), depth + 1)) {
            return false;
        }
        data = data.subspan(header.size() + header.value_size);
    }
    return true;
}

bool is_padding_at(Bytes data, unsigned depth) {
    return Guess().is_padding_at(data, depth);
}

template <typename Visit>
void for_each_object(Bytes data, unsigned depth, Visit visit) {
    while (!data.empty() && depth <= deepest_nesting) {
        if (is_filler(data[0]) && is_padding_at(data, depth)) {
            data = data.subspan(1);
            continue;
        }
        const Header header = read_header(data);
        if (!header.error.empty()) {
            return;
        }
        const Bytes rest = data.subspan(header.size());
        const Bytes value = rest.first(std::min(header.value_size, rest.size()));
        visit(header.tag, value);
        if (header.constructed) {
            for_each_object(value, depth + 1, visit);
        }
        data = rest.subspan(value.size());
    }
}

// Names of the tag's other meanings, for the note beside the likeliest.
std::string other_meanings(std::span<const Element* const> meanings, std::size_t length) {
    std::string text;
    std::vector<std::string_view> told{meanings[0]->name};
    for (const Element* element : meanings.subspan(1)) {
        if (std::ranges::find(told, element->name) != told.end() || !element->fits(length)) {
            continue;
        }
        told.push_back(element->name);
        text += text.empty() ? "elsewhere: " : "; ";
        text += element->name;
        if (element->kernel != Kernel::Unknown) {
            text += " (" + std::string(kernel_name(element->kernel)) + ")";
        }
    }
    return text;
}

void check_length(const Reading& reading, const Element& element, Value value, std::size_t length,
                  Node& node) {
    if (element.fits(length) || value.empty() || reading.lengths_may_differ) {
        return;
    }
    std::string expected = decimal(element.longest);
    if (element.shortest != element.longest) {
        expected = decimal(element.shortest) + " to " + expected;
    }
    add_problem(node, value.offset, "has " + byte_count(length) + ", should have " + expected);
}

Node& add_object(Node& parent, const Header& header, std::size_t offset, Value value) {
    Node node;
    node.kind = header.constructed ? NodeKind::Template : NodeKind::Object;
    node.tag = tag_text(header.tag);
    node.offset = offset;
    node.header_size = header.size();
    node.size = header.size() + value.size();
    return parent.children.emplace_back(std::move(node));
}

void add_padding(const Reading& reading, Value value, Node& parent) {
    Node& node = add(reading, parent, NodeKind::Padding, "Padding", value);
    node.text = byte_count(value.size());
}

std::size_t padding_size(Bytes data, unsigned depth) {
    std::size_t count = 0;
    while (count < data.size() && is_filler(data[count]) &&
           is_padding_at(data.subspan(count), depth)) {
        ++count;
    }
    return count;
}

}  // namespace

Reading survey(Bytes data, const Options& options) {
    constexpr std::size_t shortest_known_number = 10;
    Reading reading{.options = options, .kernel = options.kernel};
    std::optional<Kernel> found;
    const auto keep_kernel = [&](Bytes identifier) {
        const Kernel kernel = kernel_of(identifier);
        if (kernel == Kernel::Unknown) {
            return;
        }
        // Cards with applications of several kernels decide nothing.
        found = found.value_or(kernel) == kernel ? kernel : Kernel::Unknown;
    };
    const auto number = [](Bytes value) { return static_cast<std::uint16_t>(bcd_number(value)); };
    for_each_object(data, 0, [&](std::uint32_t tag, Bytes value) {
        if (tag == 0x4F || tag == 0x84 || tag == 0x9F06) {
            keep_kernel(value);
        } else if (tag == 0x5F2A && value.size() == 2) {
            reading.transaction_currency = number(value);
        } else if ((tag == 0x9F42 || tag == 0x9F51) && value.size() == 2 && is_digits(value)) {
            reading.card_currency = number(value);
        } else if (tag == 0x5A || tag == 0x57 || tag == 0x9F6B) {
            const std::string digits = account_number_digits(value);
            if (digits.size() >= shortest_known_number) {
                reading.account_numbers.push_back(digits);
            }
        }
    });
    if (reading.kernel == Kernel::Unknown) {
        reading.kernel = found.value_or(Kernel::Unknown);
    }
    if (options.card_currency) {
        reading.card_currency = reading.card_currency.value_or(*options.card_currency);
    }
    if (options.currency) {
        reading.transaction_currency = reading.transaction_currency.value_or(*options.currency);
        reading.card_currency = reading.card_currency.value_or(*options.currency);
    }
    return reading;
}

void tell_objects(const Reading& reading, Value data, Node& node) {
    while (!data.empty()) {
        if (const std::size_t padding = padding_size(data.bytes, reading.depth); padding > 0) {
            add_padding(reading, data.part(0, padding), node);
            data = data.part(padding);
            continue;
        }
        const Header header = read_header(data.bytes);
        if (!header.error.empty()) {
            Node& rest = add_unreadable(reading, node, data, header.error);
            rest.problems.back().offset += header.error_position;
            return;
        }
        const Value rest = data.part(header.size());
        const Value value = rest.part(0, header.value_size);
        Node& object = add_object(node, header, data.offset, value);
        tell_element(reading, header.tag, value, header.value_size, object);
        if (value.size() < header.value_size) {
            // Told before whatever the missing bytes spoil.
            object.problems.insert(
                object.problems.begin(),
                {data.offset + header.tag_size,
                 "the length says " + byte_count(header.value_size) + ", but only " +
                     decimal(value.size()) + (value.size() == 1 ? " is" : " are") + " left"});
        }
        data = rest.part(value.size());
    }
}

void tell_unknown(const Reading& reading, Value value, Node& node) {
    node.value = open_hex(reading, value.bytes, Suspicion::LooksLikeOne);
    if (is_printable(value.bytes)) {
        node.text = "\"" + open_characters(reading, value.bytes, Suspicion::LooksLikeOne) + "\"";
    }
}

void tell_element(const Reading& reading, std::uint32_t tag, Value value, Node& node) {
    tell_element(reading, tag, value, value.size(), node);
}

void tell_element(const Reading& reading, std::uint32_t tag, Value value, std::size_t length,
                  Node& node) {
    const bool constructed = node.kind == NodeKind::Template;
    const auto meanings =
        meanings_of(tag, {.parent = reading.parent, .kernel = reading.kernel}, length);
    const bool can_open =
        constructed && reading.depth < deepest_nesting &&
        (!meanings.empty() || Guess().is_well_formed(value.bytes, reading.depth + 1));
    if (meanings.empty()) {
        node.label = constructed ? "Unknown template" : "Unknown element";
        add_unknown(node, node.offset, "the tag " + tag_text(tag) + " is in no table");
    } else {
        const Element& element = *meanings[0];
        node.label = element.name;
        node.label_zh = element.name_zh;
        if (element.kernel != Kernel::Unknown && reading.kernel == Kernel::Unknown) {
            node.note = kernel_name(element.kernel);
        }
        const std::string others = other_meanings(meanings, length);
        if (!others.empty()) {
            node.note += (node.note.empty() ? "" : "; ") + others;
        }
    }
    if (can_open) {
        tell_objects(reading.inside(tag), value, node);
        return;
    }
    if (constructed) {
        tell_unknown(reading, value, node);
        add_problem(node, value.offset,
                    reading.depth < deepest_nesting
                        ? "a template, but its value holds no data objects"
                        : "templates nested deeper than any card's");
        return;
    }
    if (meanings.empty()) {
        tell_unknown(reading, value, node);
        return;
    }

    const Element& element = *meanings[0];
    const Kernel kernel = element.kernel == Kernel::Unknown ? reading.kernel : element.kernel;
    const Secret secret = secret_of(tag, kernel);
    node.sensitive = secret != Secret::None;
    node.value = node.sensitive && !reading.shows_secrets()
                     ? masked(value.bytes, hidden_digits(secret, value.bytes))
                     : open_hex(reading, value.bytes);
    if (value.empty()) {
        node.text = "empty";
        return;
    }
    check_length(reading, element, value, length, node);
    tell_meaning(reading, element, secret, value, node);
}

Node tlv(Bytes data, const Options& options) {
    Node root;
    root.kind = NodeKind::Root;
    root.label = "Data objects";
    root.size = data.size();
    if (data.empty()) {
        add_problem(root, 0, "there are no data");
        return root;
    }
    tell_objects(survey(data, options), {data, 0}, root);
    // An answer that was pasted with its status word ends with an empty object 90.
    Node& last = root.children.back();
    if (root.children.size() > 1 && last.tag == "90" && last.size == 2) {
        last.note = "or the status word 9000 of an answer";
    }
    return root;
}

Node element(std::uint32_t tag, Bytes value, const Options& options) {
    Reading reading = survey({}, options);
    if (tag == 0x5A || tag == 0x57) {
        reading.account_numbers.push_back(account_number_digits(value));
    }
    Node node;
    node.kind = (tag_is_constructed(tag)) ? NodeKind::Template : NodeKind::Object;
    if (node.kind == NodeKind::Template) {
        reading = survey(value, options);
    }
    node.tag = tag_text(tag);
    node.size = value.size();
    tell_element(reading, tag, {value, 0}, node);
    return node;
}

}  // namespace quorrin::decode
