// Issuer scripts (EMV book 3, 10.10): what the two kinds of script differ in, and how their outcome
// is recorded in the script results, the TVR and the TSI.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "emvdata/script_results.hpp"
#include "quorrin/quorrin.h"
#include "tlv/codec/ber_tlv.hpp"

namespace quorrin::script {

using tlv::Bytes;

inline constexpr std::uint8_t command_tag = 0x86;
using tlv::issuer_script_identifier_tag;

// A bit of the TVR or TSI: byte and bit counted from 1, bit 1 the least significant.
struct BitAddress {
    std::uint8_t byte;
    std::uint8_t bit;
};

inline constexpr BitAddress tsi_script_processing_performed = {1, 3};

struct Kind {
    std::uint8_t tag;
    std::uint8_t phase;     // phase of emvScriptProcess that sends it
    BitAddress tvr_failed;  // script processing failed before / after the final GENERATE AC
};

inline constexpr Kind kinds[] = {
    {0x71, 1, {5, 6}},
    {0x72, 2, {5, 5}},
};

// The kind of a script template, or null for another tag.
constexpr const Kind* find_kind(std::uint8_t tag) {
    for (const Kind& kind : kinds) {
        if (kind.tag == tag) {
            return &kind;
        }
    }
    return nullptr;
}

// Result in the high nibble of a script result entry (EMV book 4, annex A5).
enum class Result : std::uint8_t { NotPerformed = 0, Failed = 1, Successful = 2 };

using script_results::Identifier;
using script_results::identifier_size;

// Writes into the current entry, which is final only when the count is moved past it.
inline void write_result(Result result, std::size_t failing_command = 0) {
    constexpr std::size_t highest = script_results::highest_sequence;
    emvSetIssScrptRslt(static_cast<std::uint8_t>(result),
                       static_cast<std::uint8_t>(std::min(failing_command, highest)));
}

inline void write_identifier(const Identifier& identifier) {
    emvSetIssScrptRsltID(identifier.data());
}

inline void mark_failed(const Kind& kind) {
    emvSetTVRBit(kind.tvr_failed.byte, kind.tvr_failed.bit, 1);
}

inline void mark_performed() {
    emvSetTSIBit(tsi_script_processing_performed.byte, tsi_script_processing_performed.bit, 1);
}

// The value of the script's first 9F18, wherever it stands; empty when there is none or when it is
// longer than the room for it. The search never looks for a second 9F18.
inline Bytes find_identifier(Bytes script, std::size_t room) {
    const tlv::Search search = tlv::find_tag(script, issuer_script_identifier_tag);
    const bool usable = search.result == tlv::Search::found && search.value.size() <= room;
    return usable ? search.value : Bytes{};
}

// Checks a whole script object: 0 or a QuorrinScriptCheckResult.
std::int32_t check(Bytes script);

// Sends the commands of a template value. `readable` begins where the value begins and may go
// beyond it: a command whose Lc exceeds its object takes the bytes that follow, then zeros. 0 or a
// QuorrinScriptRunResult.
std::int32_t run_commands(Bytes value, Bytes readable);

}  // namespace quorrin::script
