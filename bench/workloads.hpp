// What the benchmarks work on: a record, an FCI and a CDOL1 as debit and credit cards send them
// (test numbers only).
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>

#include "quorrin/quorrin.h"
#include "tests/support/bytes.hpp"

namespace quorrin::bench {

using test::ByteString;

inline ByteString sized(std::size_t size, std::string_view hex_text) {
    ByteString bytes = test::hex(hex_text);
    if (bytes.size() != size) {
        throw std::logic_error("a workload does not have its size");
    }
    return bytes;
}

// A CDOL1 of ten entries.
inline ByteString cdol1() {
    return sized(27, "9F0206 9F0306 9F1A02 9505 5F2A02 9A03 9C01 9F3704 9F2103 9F4E14");
}

// A record of 200 bytes with 19 elements.
inline ByteString record_answer() {
    return sized(200,
                 "70 81C5"
                 "57 13 6200000000000000005D29122010000000000F"
                 "5F20 11 544553542F4341524420484F4C44455220"
                 "5A 0A 6200000000000000005F"
                 "5F24 03 291231"
                 "5F25 03 200101"
                 "5F28 02 0156"
                 "5F34 01 01"
                 "9F07 02 FF00"
                 "8E 0E 0000000000000000 4203 1E03 1F00"
                 "9F0D 05 D86004A800"
                 "9F0E 05 0010980000"
                 "9F0F 05 D86804F800"
                 "8C 1B 9F0206 9F0306 9F1A02 9505 5F2A02 9A03 9C01 9F3704 9F2103 9F4E14"
                 "8D 1A 8A02 9F0206 9F0306 9F1A02 9505 5F2A02 9A03 9C01 9F3704 9F2103"
                 "9F4A 01 82"
                 "9F08 02 0030"
                 "9F42 02 0156"
                 "9F44 01 02"
                 "8F 01 80");
}

// An FCI of 150 bytes with 12 elements that are stored and two that the store drops.
inline ByteString fci_answer() {
    return sized(150,
                 "6F 8193"
                 "84 08 A000000333010101"
                 "A5 8186"
                 "50 0B 50424F4320435245444954"
                 "87 01 01"
                 "9F38 1E 9F6604 9F0206 9F0306 9F1A02 9505 5F2A02 9A03 9C01 9F3704 9F2103 DF6901"
                 "5F2D 08 7A68656E66726465"
                 "9F11 01 01"
                 "9F12 0F 50424F432043524544495420494343"
                 "5F50 06 782E74657374"
                 "BF0C 28"
                 "9F4D 02 0B0A"
                 "DF4D 02 0C0A"
                 "5F54 0B 54455354434E424A585858"
                 "42 03 620000"
                 "5F55 02 434E"
                 "5F56 03 43484E");
}

inline std::span<const QuorrinDataElement> card_table() {
    return IccDt;
}
inline std::span<const QuorrinDataElement> terminal_table() {
    return TermDt;
}

// What the workloads come to, for those who run them to check.
inline constexpr std::size_t record_elements = 19;
inline constexpr std::size_t fci_elements = 12;
inline constexpr std::size_t cdol1_entries = 10;
inline constexpr std::size_t cdol1_data_size = 52;

// The elements present in the store.
inline std::size_t present_elements() {
    std::size_t count = 0;
    for (const auto table : {card_table(), terminal_table()}) {
        for (const QuorrinDataElement& element : table) {
            count += element.state;
        }
    }
    return count;
}

// The terminal's data of a purchase, for the CDOL1.
inline void set_terminal_data() {
    const auto set = [](std::string_view tag_text, std::string_view value_text) {
        const ByteString tag = test::hex(tag_text);
        const ByteString value = test::hex(value_text);
        if (emvSetDataElement(nullptr, 0, tag.data(), static_cast<std::uint8_t>(tag.size()),
                              static_cast<std::uint16_t>(value.size()), value.data()) != 0) {
            throw std::logic_error("terminal data refused");
        }
    };
    set("9F02", "000000012345");
    set("9F03", "000000000000");
    set("9F1A", "0156");
    set("95", "0000048000");
    set("5F2A", "0156");
    set("9A", "250102");
    set("9C", "00");
    set("9F37", "01020304");
    set("9F21", "123456");
    set("9F4E", "54455354204D45524348414E5420302020202020");
}

}  // namespace quorrin::bench
