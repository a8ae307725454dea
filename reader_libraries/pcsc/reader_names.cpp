#include "reader_libraries/pcsc/reader_names.hpp"

#include <algorithm>

namespace quorrin::pcsc {
namespace {

// A byte of a UTF-8 character that is not its first one (RFC 3629).
constexpr bool continues_character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

}  // namespace

std::vector<std::string> names_in_list(std::string_view list) {
    std::vector<std::string> names;
    while (!list.empty() && list.front() != '\0') {
        const std::size_t length = std::min(list.find('\0'), list.size());
        names.emplace_back(list.substr(0, length));
        list.remove_prefix(std::min(length + 1, list.size()));
    }
    return names;
}

void write_cut(std::span<char> room, std::string_view text) {
    std::size_t length = text.size();
    if (length >= room.size()) {
        length = room.size() - 1;
        while (length > 0 && continues_character(text[length])) {
            --length;
        }
    }
    std::ranges::copy(text.substr(0, length), room.begin());
    room[length] = '\0';
}

std::string_view serial_in_name(std::string_view name) {
    const std::size_t start = name.rfind('(');
    if (start == std::string_view::npos) {
        return {};
    }
    const std::size_t end = name.find(')', start);
    if (end == std::string_view::npos) {
        return {};
    }
    return name.substr(start + 1, end - start - 1);
}

}  // namespace quorrin::pcsc
