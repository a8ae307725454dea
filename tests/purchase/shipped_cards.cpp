#include "tests/purchase/shipped_cards.hpp"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "bank/test_bank.hpp"

namespace quorrin::test {
namespace {

const std::vector<ShippedCard>& rows() {
    static const std::vector<ShippedCard> cards{
        {.name = "debit",
         .profile = "debit",
         .product = bank::test_debit_product,
         .pan = "9999010000000011",
         .holder = "TEST/CARD HOLDER",
         .atc = 10,
         .last_online_atc = 9,
         .pin = "123456",
         .pin_tries = 3,
         .amounts = {0x9F79, 0x9F77, 0x9F78}},
        {.name = "credit",
         .profile = "credit",
         .aid = "A000000333010102",
         .product = bank::test_credit_product,
         .pan = "9999020000000028",
         .holder = "TEST/CREDIT",
         .atc = 41,
         .last_online_atc = 41,
         .pin = "2580",
         .pin_tries = 5},
        {.name = "gm",
         .profile = "gm",
         .product = bank::test_gm_product,
         .pan = "9999030000000035",
         .holder = "TEST/GM CARD",
         .atc = 7,
         .last_online_atc = 7,
         .pin = "314159",
         .pin_tries = 3,
         .amounts = {0x9F79, 0x9F77, 0x9F78}},
        // The directory names its credit application first.
        {.name = "two_applications",
         .profile = "two_applications",
         .product = bank::test_debit_product,
         .pan = "9999040000000042",
         .holder = "TEST/TWO CREDIT"},
        {.name = "two_applications_debit",
         .profile = "two_applications",
         .aid = "A000000333010101",
         .product = bank::test_debit_product,
         .pan = "9999040000000059",
         .holder = "TEST/TWO DEBIT",
         .pin = "0000",
         .pin_tries = 3,
         .amounts = {0x9F79}},
        {.name = "old",
         .profile = "old",
         .product = bank::test_debit_product,
         .pan = "9999050000000000060",
         .holder = "TEST/OLD",
         .holder_record = 2,
         .log_names_merchant = false},
        {.name = "load_log",
         .profile = "load_log",
         .product = bank::test_debit_product,
         .pan = "9999080000000097",
         .holder = "TEST/LOAD LOG",
         .atc = 2,
         .last_online_atc = 2,
         .pin = "123456",
         .pin_tries = 3,
         .amounts = {0x9F79, 0x9F77, 0x9F78}},
        {.name = "full",
         .profile = "full",
         .product = bank::test_debit_product,
         .pan = "9999090000000104",
         .holder = "TEST/FULL CARD",
         .atc = 3,
         .last_online_atc = 3,
         .pin = "246810",
         .pin_tries = 3,
         .amounts = {0x9F79, 0x9F77, 0x9F78}},
        {.name = "international",
         .profile = "international",
         .product = bank::test_international_product,
         .pan = "9999131234567890125",
         .holder = "TEST/INTERNATIONAL",
         .atc = 3,
         .last_online_atc = 3,
         .pin = "8642",
         .pin_tries = 3},
        {.name = "old_valid",
         .profile = "old_valid",
         .product = bank::test_debit_product,
         .pan = "9999050000000000078",
         .holder = "TEST/OLD VALID",
         .atc = 3,
         .last_online_atc = 3,
         .holder_file = 10},
        {.name = "expired",
         .profile = "expired",
         .product = bank::test_debit_product,
         .pan = "9999110000000126",
         .holder = "TEST/EXPIRED",
         .atc = 3,
         .last_online_atc = 3},
        {.name = "quick",
         .profile = "quick",
         .slot = "contactless",
         .card_kind = 12,
         .aid = "A000000333010101",
         .product = bank::test_debit_product,
         .pan = "9999060000000073",
         .holder = "TEST/QUICK",
         .atc = 99,
         .last_online_atc = 90,
         .amounts = {0x9F79, 0x9F77, 0x9F78},
         .qualifiers =
             "D4000000"},  // the library's without quick PBOC, which this card would prefer
    };
    return cards;
}

}  // namespace

std::vector<ShippedCard> shipped_cards(const CardFilter& wanted) {
    std::vector<ShippedCard> found;
    std::ranges::copy_if(rows(), std::back_inserter(found), wanted);
    return found;
}

const ShippedCard& shipped_card(const std::string& name) {
    const auto found = std::ranges::find(rows(), name, &ShippedCard::name);
    if (found == rows().end()) {
        throw std::invalid_argument("no card " + name);
    }
    return *found;
}

}  // namespace quorrin::test
