// Reading the application's records (EMV book 3, 10.2): every record that the AFL names goes into
// the store.

#include <algorithm>
#include <array>

#include "bankcard/card_commands.hpp"
#include "emvdata/element_store.hpp"
#include "quorrin/quorrin.h"

namespace quorrin {
namespace {

// One entry of the AFL (EMV book 3, 10.2). Its fourth byte, the number of records for offline data
// authentication, has no use here.
struct FileRange {
    std::uint8_t file;  // P2 of READ RECORD
    unsigned first;
    unsigned last;
};
constexpr std::size_t entry_size = 4;

// Reads the records of one entry.
// Deliberate: a record that the card refuses, or that is lost on the way, ends the entry without an
// error: hosts go on with what the card gave, and see what is missing by the elements' absence. A
// record that does not parse is an error.
std::int64_t read_records(std::int64_t handle, const FileRange& range) {
    CardAnswer answer;
    for (unsigned number = range.first; number <= range.last; ++number) {
        const CardCommand command = read_record(static_cast<std::uint8_t>(number), range.file);
        if (!step_succeeded(send_to_card(handle, command, answer))) {
            break;
        }
        if (store_response(answer.data()) != 0) {
            return QUORRIN_DATA_MALFORMED;
        }
    }
    return 0;
}

}  // namespace
}  // namespace quorrin

using namespace quorrin;

std::int64_t emvReadICCard(std::int64_t handle) {
    // A copy: a record that carries an AFL may overwrite it while it is being walked.
    const auto locator = std::to_array(gl_AFL);
    const std::size_t count = std::min<std::size_t>(emvGetAFLNum(), locator.size() / entry_size);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t* entry = &locator[i * entry_size];
        const FileRange range = {record_of_located_file(entry[0]), entry[1], entry[2]};
        if (const std::int64_t failure = read_records(handle, range)) {
            return failure;
        }
    }
    return 0;
}
