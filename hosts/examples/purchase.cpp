// A card, its holder, a purchase, its log, in C++17:
// c++ purchase.cpp $(pkg-config --cflags --libs quorrin-simulator quorrin-testbank) -o purchase
#include <quorrin/host.hpp>
#include <quorrin/testbank.hpp>

#include <iostream>

int main() try {
    using namespace quorrin::host;

    const Reader reader;
    Card card = reader.find_card();  // contact slot, else contactless
    std::cout << "card      " << to_hex(card.atr()) << '\n';

    const HolderInformation holder = card.holder();
    std::cout << "holder    " << holder.name << ", " << holder.pan << '\n';

    PurchaseTerms terms;
    terms.amount = Amount::parse("128.50");
    terms.merchant = "TEST TEA HOUSE";
    Purchase purchase = card.start_purchase(terms);

    const BankAnswer answer = TestBank().answer(purchase.online());  // your network in its place
    std::cout << "bank      " << answer.reason << '\n';

    const Outcome outcome = purchase.finish(answer.issuer_text);
    std::cout << "card      " << outcome.authentication_status.text() << '\n'
              << "purchase  " << (outcome.approved() ? "approved" : "declined") << '\n';

    const LogRecord newest = card.log().at(0);
    std::cout << "log       " << newest.date.text() << ", " << newest.amount << ", "
              << newest.merchant << '\n';
    return outcome.approved() ? 0 : 1;
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
