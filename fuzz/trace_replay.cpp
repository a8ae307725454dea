// A recording from anywhere as the simulator takes it: its lines read, and in each slot a card that
// answers as recorded, also to a host that does something else.

#include <cstdio>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/memory_file.hpp"
#include "reader_libraries/configuration/configuration.hpp"
#include "reader_libraries/simulator/trace_card.hpp"
#include "reader_libraries/slots.hpp"
#include "reader_libraries/trace/call_names.hpp"
#include "reader_libraries/trace/trace_format.hpp"

namespace {

using namespace quorrin;
using trace::Action;
using trace::Entry;

// Playing back says on standard error where the host departs.
class WithoutComplaints {
  public:
    WithoutComplaints() : own_(std::exchange(stderr, nowhere())) {}
    ~WithoutComplaints() { stderr = own_; }
    WithoutComplaints(const WithoutComplaints&) = delete;
    WithoutComplaints& operator=(const WithoutComplaints&) = delete;

  private:
    static std::FILE* nowhere() {
        static std::FILE* const file = std::fopen("/dev/null", "w");
        return file;
    }
    std::FILE* own_;
};

void check_digits(const trace::MaskedBytes& bytes) {
    fuzz::expect(trace::masked_bytes(bytes.text()) == bytes, "digits read again are the same");
}

std::vector<Entry> read_entries(const std::string& content) {
    std::istringstream stream(content);
    trace::TraceReader reader(stream);
    std::vector<Entry> entries;
    std::size_t last = 0;
    while (auto entry = reader.next()) {
        fuzz::expect(entry->line > last && entry->line <= reader.lines(),
                     "entries come in the order of their lines");
        last = entry->line;
        check_digits(entry->command);
        check_digits(entry->answer);
        entries.push_back(*std::move(entry));
    }
    fuzz::expect(entries.size() + reader.problem_count() <= reader.lines(),
                 "a line is an entry, a problem or blank");
    for (const trace::Problem& problem : reader.problems()) {
        fuzz::expect(problem.line >= 1 && problem.line <= reader.lines() && !problem.reason.empty(),
                     "a problem has a line and a reason");
    }
    return entries;
}

// Digits that were masked are made up.
void expect_recorded(const simulator::ByteString& answer, const trace::MaskedBytes& recorded) {
    fuzz::expect(answer.size() == recorded.size(), "an answer is as long as it was recorded");
    for (std::size_t i = 0; i < answer.size(); ++i) {
        fuzz::expect(((answer[i] ^ recorded.bytes[i]) & ~recorded.mask[i]) == 0,
                     "an answer is what was recorded");
    }
}

void play_back(simulator::CardDevice& card, const Entry& entry) {
    try {
        if (entry.action == Action::PowerOn) {
            fuzz::expect(card.power_on() == entry.atr, "the answer to reset is the recorded one");
        } else if (entry.action == Action::PowerOff) {
            card.power_off();
        } else {
            expect_recorded(card.transmit(entry.command.bytes), entry.answer);
        }
    } catch (const simulator::ReaderFailure& failure) {
        fuzz::expect((entry.action == Action::PowerOn ? entry.atr.empty() : entry.answer.empty()) &&
                         failure.result() == entry.result,
                     "the reader fails as recorded");
    }
}

// Whatever a host does: every call ends in an answer or a failure.
template <typename Call>
void disturb(Call&& call) {
    try {
        call();
    } catch (const simulator::ReaderFailure&) {
    }
}

void depart(simulator::CardDevice& card, const std::vector<const Entry*>& recorded) {
    for (auto entry = recorded.rbegin(); entry != recorded.rend(); ++entry) {
        disturb([&] { card.transmit((*entry)->command.bytes); });
        disturb([&] {
            std::vector<std::uint8_t> other = (*entry)->command.bytes;
            other.push_back(0);
            card.transmit(other);
        });
        if ((*entry)->action != Action::Exchange) {
            disturb([&] { card.power_off(); });
            disturb([&] { card.power_on(); });
        }
    }
}

bool reaches_card(const Entry& entry, std::size_t slot) {
    constexpr std::size_t shortest_command = 4;
    return (entry.action == Action::PowerOn || entry.action == Action::PowerOff ||
            (entry.action == Action::Exchange && entry.command.size() >= shortest_command)) &&
           entry.slot_code && trace::find_slot_row(entry.action, *entry.slot_code) == slot;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<Entry> entries = read_entries({data, data + size});
    static const fuzz::MemoryFile file;
    file.hold({data, size});
    for (std::size_t slot = 0; slot < slots::slot_count; ++slot) {
        std::vector<const Entry*> recorded;
        for (const Entry& entry : entries) {
            if (reaches_card(entry, slot)) {
                recorded.push_back(&entry);
            }
        }
        // Each card reads the file: of the slots without calls, one is enough.
        if (recorded.empty() && slot != size % slots::slot_count) {
            continue;
        }
        try {
            const auto card = simulator::load_trace_card(file.path(), slot);
            fuzz::expect(!recorded.empty(), "a slot without calls has no card");
            const WithoutComplaints quiet;
            for (const Entry* entry : recorded) {
                play_back(*card, *entry);
            }
            depart(*card, recorded);
        } catch (const ConfigurationError& complaint) {
            fuzz::expect(!complaint.reason.empty(), "a complaint gives a reason");
        }
    }
    return 0;
}
