#include "explain/elements_seen.hpp"

#include <algorithm>

#include "decode/reading.hpp"

namespace quorrin::explain {
namespace {

constexpr unsigned deepest = 32;

struct ListEntry {
    std::uint32_t tag = 0;
    std::size_t size = 0;
};

// EMV book 3, 5.4: tags and one-byte lengths. Ends at the first entry that is none.
std::vector<ListEntry> entries_of(std::span<const std::uint8_t> list) {
    std::vector<ListEntry> entries;
    while (!list.empty()) {
        const decode::Header header = decode::read_tag_only(list);
        if (!header.error.empty() || header.tag_size >= list.size()) {
            break;
        }
        entries.push_back({header.tag, list[header.tag_size]});
        list = list.subspan(header.tag_size + 1);
    }
    return entries;
}

}  // namespace

trace::MaskedBytes part_of(const trace::MaskedBytes& data, std::size_t first, std::size_t count) {
    const auto begin = static_cast<std::ptrdiff_t>(std::min(first, data.size()));
    const auto end = static_cast<std::ptrdiff_t>(
        std::min(data.size(), static_cast<std::size_t>(begin) + std::min(count, data.size())));
    return {{data.bytes.begin() + begin, data.bytes.begin() + end},
            {data.mask.begin() + begin, data.mask.begin() + end}};
}

void ElementsSeen::add_objects(const trace::MaskedBytes& data, std::size_t line) {
    struct Walk {
        ElementsSeen& seen;
        const trace::MaskedBytes& data;
        std::size_t line;

        void objects(std::size_t first, std::size_t end, unsigned depth) const {
            std::size_t at = first;
            while (at < end && depth < deepest) {
                if (data.bytes[at] == 0x00 || data.bytes[at] == 0xFF) {
                    ++at;
                    continue;
                }
                const auto rest = std::span(data.bytes).subspan(at, end - at);
                const decode::Header header = decode::read_header(rest);
                if (!header.error.empty() || header.size() + header.value_size > rest.size()) {
                    return;
                }
                const std::size_t value = at + header.size();
                if (header.constructed) {
                    objects(value, value + header.value_size, depth + 1);
                } else {
                    seen.set(header.tag, part_of(data, value, header.value_size), line);
                }
                at = value + header.value_size;
            }
        }
    };
    Walk{*this, data, line}.objects(0, data.size(), 0);
}

void ElementsSeen::set(std::uint32_t tag, trace::MaskedBytes value, std::size_t line) {
    const auto found = elements_.find(tag);
    if (found == elements_.end()) {
        elements_.emplace(tag, SeenElement{std::move(value), line, 1});
    } else {
        found->second.value = std::move(value);
        found->second.line = line;
        ++found->second.times;
    }
}

const SeenElement* ElementsSeen::find(std::uint32_t tag) const {
    const auto found = elements_.find(tag);
    return found != elements_.end() ? &found->second : nullptr;
}

std::span<const std::uint8_t> ElementsSeen::bytes(std::uint32_t tag) const {
    const SeenElement* element = find(tag);
    return element != nullptr ? std::span<const std::uint8_t>(element->value.bytes)
                              : std::span<const std::uint8_t>();
}

std::span<const std::uint8_t> ElementsSeen::clear_bytes(std::uint32_t tag) const {
    const SeenElement* element = find(tag);
    return element != nullptr && !element->value.is_masked()
               ? std::span<const std::uint8_t>(element->value.bytes)
               : std::span<const std::uint8_t>();
}

void add_list_data(ElementsSeen& seen, std::span<const std::uint8_t> list,
                   const trace::MaskedBytes& data, std::size_t line) {
    std::size_t at = 0;
    for (const ListEntry& entry : entries_of(list)) {
        if (at + entry.size > data.size()) {
            return;
        }
        seen.set(entry.tag, part_of(data, at, entry.size), line);
        at += entry.size;
    }
}

std::size_t list_data_size(std::span<const std::uint8_t> list) {
    std::size_t size = 0;
    for (const ListEntry& entry : entries_of(list)) {
        size += entry.size;
    }
    return size;
}

std::vector<std::uint32_t> tags_of_list(std::span<const std::uint8_t> list) {
    std::vector<std::uint32_t> tags;
    for (const ListEntry& entry : entries_of(list)) {
        tags.push_back(entry.tag);
    }
    return tags;
}

}  // namespace quorrin::explain
