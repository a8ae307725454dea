#include "tests/purchase/fault_matrix/faults.hpp"

namespace quorrin::test {
namespace {

Answer reader_result(const Fault& fault, const ByteString& /*card_answer*/) {
    return failure(fault.number);
}

Answer status_word(const Fault& fault, const ByteString& /*card_answer*/) {
    return answer(ByteString{static_cast<std::uint8_t>(fault.number >> 8),
                             static_cast<std::uint8_t>(fault.number)});
}

Answer empty(const Fault& /*fault*/, const ByteString& /*card_answer*/) {
    return answer("9000");
}

// The first half of the data, with a good status word.
Answer truncated(const Fault& /*fault*/, const ByteString& card_answer) {
    const auto half = static_cast<std::ptrdiff_t>((card_answer.size() - 2) / 2);
    return answer(join(ByteString(card_answer.begin(), card_answer.begin() + half), hex("9000")));
}

// As much as the interface has room for, all of it padding.
Answer zeros(const Fault& /*fault*/, const ByteString& /*card_answer*/) {
    return answer(join(filled(1022, 0x00), hex("9000")));
}

Answer more_than_there_is_room_for(const Fault& /*fault*/, const ByteString& /*card_answer*/) {
    return {1025, filled(1024, 0x90)};
}

std::vector<Fault> make_faults() {
    std::vector<Fault> faults;
    // The codes of device_codes.h, and one that nobody has defined.
    for (const int code : {-1, -2, -3, -4, -5, -11, -12, -13, -14, -15, -9999}) {
        faults.push_back({"reader's code", std::to_string(code), reader_result, code});
    }
    faults.push_back({"0", "0", reader_result, 0});
    faults.push_back({"1", "1", reader_result, 1});
    // Each class of status words (ISO 7816-4), and those of PBOC.
    for (const int word :
         {0x6281, 0x6283, 0x6300, 0x63C2, 0x63C5, 0x6400, 0x6581, 0x6700, 0x6882, 0x6900,
          0x6982, 0x6983, 0x6984, 0x6985, 0x6986, 0x6988, 0x6A80, 0x6A81, 0x6A82, 0x6A83,
          0x6A86, 0x6A88, 0x6B00, 0x6D00, 0x6E00, 0x6F00, 0x9302, 0x9402, 0x9001}) {
        const ByteString bytes{static_cast<std::uint8_t>(word >> 8),
                               static_cast<std::uint8_t>(word)};
        faults.push_back({"status word", to_hex(bytes), status_word, word});
    }
    faults.push_back({"61xx", "6110", status_word, 0x6110});
    faults.push_back({"6Cxx", "6C10", status_word, 0x6C10});
    faults.push_back({"empty", "empty", empty});
    faults.push_back({"truncated", "truncated", truncated});
    faults.push_back({"zeros", "zeros", zeros});
    faults.push_back({"too long", "too long", more_than_there_is_room_for});
    return faults;
}

}  // namespace

std::span<const Fault> all_faults() {
    static const std::vector<Fault> faults = make_faults();
    return faults;
}

}  // namespace quorrin::test
