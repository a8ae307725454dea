// Which reader serves which slot.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "reader_libraries/pcsc/slots.hpp"

namespace quorrin::pcsc {

// What the configuration says of each slot: a reader's exact name, "none", "#0" (the first reader of
// the list) and so on, or a part of a name, capitals and small letters alike. Empty: nothing.
using SlotWishes = std::array<std::string, slot_count>;

enum class SlotChoice {
    NoReader,      // none is left for the slot
    NotWanted,     // the configuration says "none"
    Configured,    // the configuration names the reader
    NotFound,      // the configuration names a reader that is not there
    ByName,        // the reader's name says what it is for
    FirstOfRest,   // the first reader whose name says nothing
    SecondOfRest,  // another of these, where no name says "contactless"
};

// The choice as a person reads it.
const char* reason_of(SlotChoice choice);

struct SlotReader {
    std::optional<std::size_t> reader = std::nullopt;  // place in the list of names
    SlotChoice choice = SlotChoice::NoReader;

    bool operator==(const SlotReader&) const = default;
};

using SlotMap = std::array<SlotReader, slot_count>;

// What the configuration leaves open goes by the names. SAM in a name makes it a SAM's reader; PICC,
// contactless, CL, NFC or RFID a contactless one; the first of the others is the contact reader, and
// the second serves contactless cards where no name claims them. No rule gives a reader to the MAS.
SlotMap map_slots(std::span<const std::string> names, const SlotWishes& wishes);

}  // namespace quorrin::pcsc
