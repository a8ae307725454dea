// The configuration of the reader library for real readers, and the readers that it chooses. Head: the
// readers' names, each behind its length, and an empty one; then the file.

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/memory_file.hpp"
#include "reader_libraries/pcsc/settings.hpp"
#include "reader_libraries/pcsc/slot_rules.hpp"

namespace {

using namespace quorrin;

void check_map(const pcsc::SlotMap& map, std::size_t readers) {
    std::vector<unsigned> by_rule(readers, 0);
    for (const pcsc::SlotReader& slot : map) {
        using enum pcsc::SlotChoice;
        const bool without =
            slot.choice == NoReader || slot.choice == NotWanted || slot.choice == NotFound;
        fuzz::expect(slot.reader.has_value() != without, "a choice gives a reader or none");
        if (slot.reader) {
            fuzz::expect(*slot.reader < readers, "a reader that is chosen is there");
            by_rule[*slot.reader] += slot.choice != Configured ? 1 : 0;
        }
        fuzz::expect(*pcsc::reason_of(slot.choice) != '\0', "a choice has a reason");
    }
    fuzz::expect(std::ranges::all_of(by_rule, [](unsigned slots) { return slots <= 1; }),
                 "the rules give a reader to one slot");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(data, size);
    std::vector<std::string> names;
    for (std::string name = input.text(); !name.empty(); name = input.text()) {
        names.push_back(std::move(name));
    }
    static const fuzz::MemoryFile file;
    static const bool named = setenv(pcsc::file_variable, file.path().c_str(), 1) == 0;
    fuzz::expect(named, "the file can be named");
    file.hold(input.rest());
    try {
        const pcsc::Settings settings = pcsc::read_settings();
        fuzz::expect(settings.wait.count() >= 0 && settings.wait.count() <= 3600,
                     "a wait is none or up to an hour");
        check_map(pcsc::map_slots(names, settings.readers), names.size());
    } catch (const ConfigurationError& complaint) {
        fuzz::expect(!complaint.reason.empty(), "a complaint gives a reason");
    }
    return 0;
}
