// The device name in the host's configuration file, and the text trimming that reads it.

#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "quorrin/quorrin.h"

namespace quorrin {
namespace {

constexpr const char* configuration_file = "Velmora.ini";
constexpr int line_size = 100;
constexpr std::size_t value_size = 20;

// Deliberate: the first line must hold these very bytes, zero bytes included, so that no plain text
// file selects a port.
constexpr std::string_view first_line{"Velmora\0COM\0A", 13};

// A line as fgets leaves it, with a byte after a full line. Deliberate: it is not cleared between
// lines, so that a COM line without "=" takes its value from behind the terminator: a host may get
// the port of the line before.
class LineReader {
  public:
    explicit LineReader(std::FILE* file) : file_(file) {}

    bool next() { return std::fgets(buffer_, line_size, file_) != nullptr; }
    void clear() { std::memset(buffer_, 0, sizeof buffer_); }

    bool begins_with(std::string_view bytes) const {
        return std::memcmp(buffer_, bytes.data(), bytes.size()) == 0;
    }

    // The text after the first "="; without one, the text after the line's terminator.
    const char* value() const {
        const char* equals = std::strchr(buffer_, '=');
        return (equals != nullptr ? equals : buffer_ + std::strlen(buffer_)) + 1;
    }

  private:
    std::FILE* file_;
    char buffer_[line_size + 1] = {};
};

int port_number(std::string_view value) {
    if (value.starts_with("+")) {
        value.remove_prefix(1);
    }
    int number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    return error == std::errc{} ? number : 0;
}

// The value of the COM line, trimmed, in a zeroed buffer.
bool read_port_value(LineReader& line, char (&value)[value_size]) {
    if (!line.next() || !line.begins_with(first_line)) {
        return false;
    }
    line.clear();
    do {
        if (!line.next()) {
            return false;
        }
    } while (!line.begins_with("COM"));

    const char* text = line.value();
    std::memcpy(value, text, strnlen(text, value_size - 1));
    TrimLeft(reinterpret_cast<std::uint8_t*>(value), ' ');
    TrimRight(reinterpret_cast<std::uint8_t*>(value), ' ');
    return true;
}

}  // namespace
}  // namespace quorrin

using namespace quorrin;

std::int32_t GetDevName(char* name) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(configuration_file, "r"),
                                                               std::fclose);
    if (file == nullptr || name == nullptr) {
        return QUORRIN_PORT_NOT_CONFIGURED;
    }
    LineReader line(file.get());
    char value[value_size] = {};
    if (!read_port_value(line, value)) {
        return QUORRIN_PORT_NOT_CONFIGURED;
    }
    const int port = std::string_view(value).starts_with("AUTO") ? 0 : port_number(value);
    if (port >= 1 && port <= 9) {
        const char port_name[5] = {'C', 'O', 'M', static_cast<char>('0' + port), '\0'};
        std::memcpy(name, port_name, sizeof port_name);
    } else {
        std::memcpy(name, "AUTO", sizeof "AUTO");
    }
    return 0;
}

void TrimLeft(std::uint8_t* s, std::uint8_t ch) {
    if (s == nullptr || ch == 0) {
        return;
    }
    const std::uint8_t* rest = s;
    while (*rest == ch) {
        ++rest;
    }
    std::memmove(s, rest, std::strlen(reinterpret_cast<const char*>(rest)) + 1);
}

void TrimRight(std::uint8_t* s, std::uint8_t ch) {
    if (s == nullptr) {
        return;
    }
    for (std::size_t length = std::strlen(reinterpret_cast<const char*>(s));
         length > 0 && s[length - 1] == ch; --length) {
        s[length - 1] = 0;
    }
}
