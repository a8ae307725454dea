// A whole online purchase against a card that answers at once: the six reader functions of these
// programs hand out recorded answers, exchange by exchange (test numbers only).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorrin::bench {

// One step of the purchase, as the host's two calls make it.
struct PurchaseStep {
    const char* name;
    std::int64_t (*run)();  // 0 when it succeeded
};

// Selection, processing options, records, cryptogram, and what the issuer's answer brings.
std::span<const PurchaseStep> purchase_steps();

// The same by the two calls of a host, getARQC and ARPCExeScript; 0 when both succeeded.
std::int64_t run_purchase();

// Puts the card back to its first answer.
void begin_purchase();

// Runs one purchase and holds every command against the recorded one, and what the host gets against
// what the card computed. Throws when they differ.
void check_purchase();

// What has gone over the reader's interface since the process started.
struct Traffic {
    std::size_t exchanges = 0;
    std::size_t sent = 0;      // bytes of commands
    std::size_t received = 0;  // bytes of answers, status words included
};
const Traffic& traffic();

}  // namespace quorrin::bench
