// What the idle reader's card answers: as debit cards do (test numbers only), and the longest answer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/bytes.hpp"

namespace quorrin::bench {

struct RecordedExchange {
    const char* name;
    const char* command;
    test::ByteString answer;
};

inline const std::vector<RecordedExchange>& recorded_exchanges() {
    static const std::vector<RecordedExchange> rows = [] {
        test::ByteString longest =
            test::hex("7082 03FA 57 13 9999010000000011D30122010000012300000F");
        while (longest.size() < 1022) {  // 1006 bytes more, as certificates are
            longest.insert(longest.end(), {0x9F, 0x46, 0x60});
            for (int i = 0; i < 0x60; ++i) {
                longest.push_back(static_cast<std::uint8_t>(17 * i + 3));
            }
        }
        longest.resize(1022);
        longest.insert(longest.end(), {0x90, 0x00});
        return std::vector<RecordedExchange>{
            {"counter", "80CA9F3600", test::hex("9F36 02 000B 9000")},
            {"account", "00B2010C00",
             test::hex("7041 5713 9999010000000011D30122010000012300000F"
                       "5F2010 544553542F4341524420484F4C444552"
                       "9F6112 544553543030303030303030303030303031 9F620100 9000")},
            {"lists", "00B2021400",
             test::hex("7039 8C1B 9F02069F03069F1A0295055F2A029A039C019F37049F21039F4E14"
                       "8D1A 8A029F02069F03069F1A0295055F2A029A039C019F37049F2103 9000")},
            {"cryptogram",
             "80AE800034000000012850000000000000000000000000000156261121000000000012453454"
             "45535420544541204"
             "84F555345202020202000",
             test::hex("771F 9F270180 9F3602000C 9F260811547054FB33903D 9F100807010103A0000001 "
                       "9000")},
            {"longest", "00B2031400", longest},
        };
    }();
    return rows;
}

inline const test::ByteString& answer_to(const std::uint8_t* command) {
    static const std::vector<RecordedExchange>& rows = recorded_exchanges();
    const bool record = command[1] == 0xB2;
    const std::size_t row = command[1] == 0xCA          ? 0
                            : command[1] == 0xAE        ? 3
                            : record && command[2] == 1 ? 1
                            : record && command[2] == 2 ? 2
                                                        : 4;
    return rows[row].answer;
}

}  // namespace quorrin::bench
