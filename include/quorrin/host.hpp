// Quorrin for hosts in C++17: a reader, a card, a purchase as values, above the C interface of
// quorrin.h. Header only; link libQuorrin and a reader library.
//
//     #include <quorrin/host.hpp>
//
//     quorrin::host::Reader reader;                            // closed at the end of the scope
//     auto card = reader.find_card();                          // contact slot, else contactless
//     std::cout << card.holder().name << '\n';
//     quorrin::host::PurchaseTerms terms;
//     terms.amount = quorrin::host::Amount::parse("128.50");
//     auto purchase = card.start_purchase(terms);
//     auto answer = your_bank(purchase.online());              // hex text
//     auto outcome = purchase.finish(answer);
//
// What fails at the reader or the card throws Failure, a host's own mistake Misuse. The library
// serves one reader, one transaction and one thread at a time: a host with several readers runs one
// process for each.
#pragma once

#include <quorrin/host/codes.hpp>              // IWYU pragma: export
#include <quorrin/host/elements.hpp>           // IWYU pragma: export
#include <quorrin/host/failure.hpp>            // IWYU pragma: export
#include <quorrin/host/holder.hpp>             // IWYU pragma: export
#include <quorrin/host/log.hpp>                // IWYU pragma: export
#include <quorrin/host/purchase.hpp>           // IWYU pragma: export
#include <quorrin/host/reader.hpp>             // IWYU pragma: export
#include <quorrin/host/store.hpp>              // IWYU pragma: export
#include <quorrin/host/values.hpp>             // IWYU pragma: export
#include <quorrin/host/verification_bits.hpp>  // IWYU pragma: export
