// Issuer script commands (EMV book 3, 10.10) and script results (book 4, annex A5).
#include "decode/tellers.hpp"

namespace quorrin::decode {

void tell_script_command(const Reading& reading, Value value, Node& node) {
    tell_command(reading, value, node);
}

void tell_script_results(const Reading& reading, Value value, Node& node) {
    constexpr std::size_t entry_size = 5;
    constexpr std::string_view results[] = {"not performed", "processing failed",
                                            "processing successful"};
    for (Value rest = value; !rest.empty(); rest = rest.part(entry_size)) {
        if (rest.size() < entry_size) {
            add_unreadable(reading, node, rest, "an entry has five bytes");
            return;
        }
        const unsigned result = rest[0] >> 4;
        const unsigned sequence = rest[0] & 0x0F;
        std::string text = result < std::size(results) ? std::string(results[result])
                                                       : "result " + decimal(result);
        if (sequence != 0) {
            text +=
                sequence == 15 ? ", at command 15 or later" : ", at command " + decimal(sequence);
        }
        add_field(reading, node, "Script " + hex(rest.part(1, 4).bytes), rest.part(0, entry_size),
                  std::move(text));
    }
}

}  // namespace quorrin::decode
