// SELECT by name and the directories: EMV book 1 section 12, PBOC book 3.
#pragma once

#include <optional>
#include <variant>

#include "reader_libraries/simulator/card/card_answer.hpp"
#include "reader_libraries/simulator/card/card_command.hpp"
#include "reader_libraries/simulator/card/card_profile.hpp"

namespace quorrin::simulator {

struct NothingSelected {};
struct ContactDirectorySelected {};
struct ContactlessDirectorySelected {};
struct ApplicationSelected {
    std::size_t index = 0;  // in the profile
};

using Selection = std::variant<NothingSelected, ContactDirectorySelected,
                               ContactlessDirectorySelected, ApplicationSelected>;

// What SELECT finds. Empty: no such file, and the selection stays as it was.
std::optional<Selection> find_selection(const CardProfile& card, const Selection& current,
                                        std::span<const std::uint8_t> name, bool next_occurrence);

// File control information, 6F.
ByteString contact_directory_fci(const CardProfile& card);
ByteString contactless_directory_fci(const CardProfile& card);
ByteString application_fci(const ApplicationProfile& application);

// The directory file holds one record for each application.
CardAnswer read_directory(const CardProfile& card, std::uint8_t file, std::uint8_t number);

}  // namespace quorrin::simulator
