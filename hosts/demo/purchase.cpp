// The demonstration: an online purchase from the first contact with the card to the log record that it
// leaves, with a simulated reader, a simulated card and a test bank. It says for a person what happens,
// and ends with a failure when a step does not hold.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <string>
#include <vector>

#include "bank/test_bank.hpp"
#include "hosts/demo/purchase_terminal.hpp"
#include "quorrin/quorrin.h"

namespace {

using namespace quorrin;
using demo::hex_text;

constexpr int contact_slot = 11;

void say(const char* what, const std::string& text) {
    std::printf("  %-22s %s\n", what, text.c_str());
}

void expect(bool holds, const char* what) {
    if (!holds) {
        throw demo::StepFailed(what);
    }
}

// 12 digits of cents, as a person writes the amount.
std::string yuan(const std::string& digits) {
    const std::string cents = digits.substr(digits.size() - 2);
    const std::size_t first = std::min(digits.find_first_not_of('0'), digits.size() - 3);
    return "CNY " + digits.substr(first, digits.size() - 2 - first) + "." + cents;
}

// First six and last four digits: what may be shown of a card number.
std::string masked(std::string pan) {
    for (std::size_t i = 6; i + 4 < pan.size(); ++i) {
        pan[i] = '*';
    }
    return pan;
}

demo::Purchase purchase_now() {
    const std::time_t now = std::time(nullptr);
    const std::tm* local = std::localtime(&now);
    char date[7];
    char time[7];
    std::strftime(date, sizeof date, "%y%m%d", local);
    std::strftime(time, sizeof time, "%H%M%S", local);
    return {
        .amount = "000000012850", .date = date, .time = time, .merchant = "TEST TEA HOUSE      "};
}

// What the bank changes on the card with this answer: the limit of a single electronic cash payment,
// and the balance.
constexpr const char* new_limit = "000000080000";
constexpr const char* new_balance = "000000030000";

std::vector<std::uint8_t> bcd(const std::string& digits) {
    std::vector<std::uint8_t> bytes(digits.size() / 2);
    asc_to_bcd(bytes.data(), digits.c_str(), static_cast<int>(digits.size()), 0);
    return bytes;
}

bank::Decision bank_decision() {
    bank::Decision decision;
    decision.authorisation_code = {'Q', '0', '0', '0', '0', '1'};
    decision.scripts = {{.phase = bank::ScriptPhase::BeforeFinalCryptogram,
                         .identifier = bank::ScriptIdentifier{0, 0, 0, 1},
                         .commands = {bank::put_data(0x9F78, bcd(new_limit))}},
                        {.phase = bank::ScriptPhase::AfterFinalCryptogram,
                         .identifier = bank::ScriptIdentifier{0, 0, 0, 2},
                         .commands = {bank::put_data(0x9F79, bcd(new_balance))}}};
    return decision;
}

void run() {
    const std::string first_application;
    demo::PurchaseTerminal terminal(contact_slot);
    std::puts("Reader and card");
    say("reader", "serial number " + terminal.serial());
    say("card found", "contact slot, answer to reset " + terminal.answer_to_reset());

    const auto before = terminal.card_holder_data(first_application, "ABEG");
    say("card holder", before.at('B'));
    say("electronic cash",
        "balance " + yuan(before.at('E')) + ", single payment up to " + yuan(before.at('G')));

    std::puts("\nPurchase");
    const demo::Purchase purchase = purchase_now();
    const std::string cryptogram = terminal.request_cryptogram(first_application, purchase);
    const bank::OnlineRequest request = terminal.online_request();
    const std::vector<std::uint8_t> label = demo::stored_element(0x50);
    say("application",
        std::string(label.begin(), label.end()) + ", AID " + hex_text(demo::stored_element(0x84)));
    say("card number", masked(request.pan));
    say("amount", yuan(purchase.amount));
    constexpr int cryptogram_type = 1;
    constexpr int arqc = 2;
    expect(emvGetCIDItem(cryptogram_type) == arqc, "the card does not ask to go online");
    say("cryptogram (ARQC)", cryptogram + ", transaction " + std::to_string(request.covered.atc));

    std::puts("\nBank");
    const bank::OnlineAnswer answer =
        bank::answer_online(bank::test_debit_product(), request, bank_decision());
    expect(answer.approved, answer.reason.c_str());
    say("bank", answer.reason);
    say("response code", std::string(answer.response_code.begin(), answer.response_code.end()));

    terminal.take_answer(answer.issuer_data_text());
    say("ARPC", hex_text(demo::stored_element(0x91)));
    expect(terminal.card_accepted_issuer(), "the card refuses the bank's ARPC");
    say("", "accepted by the card");

    std::puts("\nIssuer scripts");
    constexpr unsigned successful = 2;
    const auto results = terminal.script_results();
    expect(results.size() == 2, "not both scripts have run");
    for (const demo::ScriptResult& result : results) {
        expect(result.result == successful, "a script's commands were not all sent");
        say("script", result.identifier + " performed");
    }
    const auto after = terminal.card_holder_data(first_application, "EG");
    expect(after.at('G') == new_limit && after.at('E') == new_balance,
           "the card does not hold what the scripts set");
    say("single payment", yuan(before.at('G')) + " -> " + yuan(after.at('G')));
    say("electronic cash", yuan(before.at('E')) + " -> " + yuan(after.at('E')));

    std::puts("\nThe card's log");
    const demo::LogRecord record = terminal.latest_log_record(first_application);
    constexpr int atc_digits = 4;
    char atc[atc_digits + 1];
    std::snprintf(atc, sizeof atc, "%04X", unsigned{request.covered.atc});
    expect(record.amount == purchase.amount && record.merchant == purchase.merchant &&
               record.date == "20" + purchase.date && record.time == purchase.time &&
               record.atc == atc,
           "the newest log record is another purchase");
    say("newest record", record.date + " " + record.time + ", " + yuan(record.amount) + ", " +
                             record.merchant.substr(0, record.merchant.find_last_not_of(' ') + 1) +
                             ", transaction " + std::to_string(request.covered.atc));
    terminal.close();
    std::puts("\nPurchase complete: card powered down, reader closed.");
}

}  // namespace

int main() {
    // The bank here is that of the card built in.
    if (const char* file = std::getenv("QUORRIN_SIMULATOR"); file != nullptr && *file != '\0') {
        std::printf(
            "(QUORRIN_SIMULATOR=%s is not used here: the demonstration has its own card.)\n\n",
            file);
    }
    unsetenv("QUORRIN_SIMULATOR");
    try {
        run();
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "FAILED: %s\n", failure.what());
        return 1;
    }
}
