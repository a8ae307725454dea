// soak COUNT: so many whole online purchases in one process, with the simulated reader and its bank,
// as a terminal does that is never switched off. The memory after the first part is that at the end.

#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "bank/online_answer.hpp"
#include "bank/test_bank.hpp"
#include "tests/purchase/purchase_terminal.hpp"
#include "tests/support/temporary_directory.hpp"

namespace {

using namespace quorrin;

long resident_kilobytes() {
    malloc_trim(0);
    std::ifstream statistics("/proc/self/statm");
    long pages = 0;
    long resident = 0;
    statistics >> pages >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// A card counts its transactions in two bytes, then it is worn out: in time a new one goes in.
void insert_card(const std::filesystem::path& reader_file, long number) {
    std::ofstream(reader_file) << "[reader]\nserial = \"SOAK-" << number
                               << "\"\n[contact]\nprofile = \"" QUORRIN_PROFILES "/debit.toml\"\n";
}

void buy(test::PurchaseTerminal& terminal) {
    terminal.card_holder_data("", "ABEG");
    terminal.request_cryptogram("", {});
    const auto answer = bank::answer_online(bank::test_debit_product(), terminal.online_request());
    if (!answer.approved) {
        throw std::runtime_error("the bank declines: " + answer.reason);
    }
    terminal.take_answer(answer.issuer_data_text());
    if (!terminal.card_accepted_issuer()) {
        throw std::runtime_error("the card refuses the bank's answer");
    }
    if (terminal.latest_log_record("").amount != test::Purchase{}.amount) {
        throw std::runtime_error("the card has not logged the purchase");
    }
}

int run(long count) {
    constexpr long purchases_of_a_card = 20'000;
    constexpr long settled = 1000;
    const test::TemporaryDirectory directory;
    const auto reader_file = directory.path() / "reader.toml";
    setenv("QUORRIN_SIMULATOR", reader_file.c_str(), 1);
    long before = 0;
    for (long done = 0; done < count; ++done) {
        if (done % purchases_of_a_card == 0) {
            insert_card(reader_file, done);
        }
        if (done == settled) {
            before = resident_kilobytes();
        }
        constexpr int contact_slot = 11;
        test::PurchaseTerminal terminal(contact_slot);
        buy(terminal);
        terminal.close();
    }
    if (count < 2 * settled) {
        std::printf("%ld purchases: too few to tell of memory\n", count);
        return 0;
    }
    const long after = resident_kilobytes();
    std::printf("%ld purchases; resident after %ld: %ld KiB, at the end: %ld KiB\n", count, settled,
                before, after);
    constexpr long one_allocator_step = 132;  // what malloc may take at a time, used or not
    return after - before <= one_allocator_step ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const long count = argc == 2 ? std::strtol(argv[1], nullptr, 10) : 0;
    if (count < 1) {
        std::fputs("soak COUNT\n", stderr);
        return 2;
    }
    try {
        return run(count);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "soak: %s\n", failure.what());
        return 1;
    }
}
