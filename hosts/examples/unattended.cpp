// An unattended terminal, for example a ticket machine, with every failure handled: it tries again what
// may work the second time, goes on where the transaction can, gives up where it cannot, and leaves one
// line for the customer and one for the journal. The journal has no card number in clear.
//
// c++ unattended.cpp $(pkg-config --cflags --libs quorrin-simulator quorrin-testbank) -o unattended
// ./unattended [AMOUNT]      exit code 0 sold, 1 not sold, 2 out of service
#include <quorrin/host.hpp>
#include <quorrin/testbank.hpp>

#include <iostream>
#include <optional>
#include <string>

namespace {

using namespace quorrin::host;

enum class Sale { Sold = 0, NotSold = 1, OutOfService = 2 };

void customer(const std::string& line) {
    std::cout << "customer: " << line << '\n';
}

void journal(const std::string& line) {
    std::cout << "journal:  " << line << '\n';
}

// The journal names the step, the code and the status word; the customer gets the library's message
// (in Chinese) where there is one.
Sale give_up(const Failure& failure, Sale sale) {
    journal(failure.what());
    const std::string message = failure.message();
    customer(message.empty() ? "Please take your card and try another one" : message);
    return sale;
}

// A card that moved or was mute for a moment deserves a second try, from power-up.
bool worth_another_try(const Failure& failure) {
    return failure.code() == QUORRIN_CARD_MUTE || failure.code() == QUORRIN_NOT_POWERED ||
           failure.code() == QUORRIN_CHECK_ERROR;
}

// The reader itself is gone, not the card.
bool reader_is_gone(const Failure& failure) {
    switch (failure.code()) {
        case QUORRIN_NO_READER_LIBRARY:
        case QUORRIN_CONNECTION_ERROR:
        case QUORRIN_NOT_CONNECTED:
        case QUORRIN_NOT_SUPPORTED:
            return true;
        default:
            return false;
    }
}

// A host of your own has a time-out here: no answer is a decline, with nothing for the card.
std::optional<std::string> ask_bank(const OnlineRequest& online) {
    try {
        const BankAnswer answer = TestBank().answer(online);
        journal("bank: " + answer.reason);
        return answer.issuer_text;
    } catch (const BankFailure& failure) {
        journal(std::string("bank: ") + failure.what());
        return std::nullopt;
    }
}

// The first application of the card, or the next one where that is blocked or broken.
Purchase start_with_any_application(Card& card, const PurchaseTerms& terms) {
    std::optional<Failure> first_failure;
    for (const std::string& aid : card.applications()) {
        try {
            return card.start_purchase(terms, aid);
        } catch (const Failure& failure) {
            if (reader_is_gone(failure) || worth_another_try(failure) ||
                failure.code() == QUORRIN_NO_CARD) {
                throw;
            }
            journal("application " + aid + ": " + failure.what());
            if (!first_failure) {
                first_failure = failure;
            }
        }
    }
    throw first_failure.value_or(Failure("applications", QUORRIN_OBJECT_MISSING));
}

void journal_outcome(const Outcome& outcome) {
    journal("response code " + outcome.response_code + ", TVR " + to_hex(outcome.tvr.bytes()) +
            ", TSI " + to_hex(outcome.tsi.bytes()));
    for (const BitRow<TvrBit>& row : outcome.tvr.rows()) {
        journal("  " + std::string(row.text));
    }
    for (const ScriptResult& script : outcome.scripts) {
        journal("  script " + to_hex(script.identifier) + " " + script.name());
    }
    for (const Tag tag : outcome.not_taken) {
        journal("  the bank sent something that was not taken: " +
                to_hex(ByteString{static_cast<std::uint8_t>(tag >> 8),
                                  static_cast<std::uint8_t>(tag)}));
    }
}

Sale finish(Purchase& purchase) {
    switch (purchase.decision()) {
        case CardDecision::Approved:  // paid offline
            customer("Thank you");
            return Sale::Sold;
        case CardDecision::AsksOnline:
            break;
        case CardDecision::Declined:
        case CardDecision::Reserved:
            customer("Your card has declined");
            return Sale::NotSold;
    }
    const std::optional<std::string> answer = ask_bank(purchase.online());
    if (!answer) {
        customer("The bank cannot be reached, nothing was booked");
        return Sale::NotSold;
    }
    const Outcome outcome = purchase.finish(*answer);
    journal_outcome(outcome);
    switch (outcome.authentication) {
        case IssuerAuthentication::Refused:
            journal("the card refused the bank's answer: " + outcome.authentication_status.text());
            break;
        case IssuerAuthentication::NoAnswer:
            journal("the card was gone when the bank answered: reverse the booking");
            break;
        case IssuerAuthentication::NotSent:
        case IssuerAuthentication::Accepted:
            break;
    }
    customer(outcome.approved() ? "Thank you" : "Declined, nothing was booked");
    return outcome.approved() ? Sale::Sold : Sale::NotSold;
}

Sale sell(const Reader& reader, const PurchaseTerms& terms) {
    constexpr int tries = 2;
    for (int attempt = 1;; ++attempt) {
        try {
            Card card = reader.find_card(Search::ContactlessFirst);
            Purchase purchase = start_with_any_application(card, terms);
            journal("card " + purchase.online().pan.masked() + ", transaction " +
                    std::to_string(purchase.online().cryptogram.atc));
            return finish(purchase);
        } catch (const Failure& failure) {
            if (reader_is_gone(failure)) {
                return give_up(failure, Sale::OutOfService);
            }
            if (!worth_another_try(failure) || attempt == tries) {
                return give_up(failure, Sale::NotSold);
            }
            journal(std::string("once more: ") + failure.what());
        }
    }
}

}  // namespace

int main(int count, char** arguments) {
    try {
        PurchaseTerms terms;
        terms.amount = Amount::parse(count > 1 ? arguments[1] : "4.00");
        terms.merchant = "TEST TICKETS";
        const Reader reader;
        return static_cast<int>(sell(reader, terms));
    } catch (const Failure& failure) {  // the reader could not be opened
        return static_cast<int>(give_up(failure, Sale::OutOfService));
    } catch (const std::invalid_argument& mistake) {  // no amount
        std::cerr << mistake.what() << '\n';
    } catch (const Misuse& mistake) {  // a mistake of this program
        std::cerr << mistake.what() << '\n';
    }
    return static_cast<int>(Sale::OutOfService);
}
