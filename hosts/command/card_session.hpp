// What the card commands have in common: their options, the reader that they open, the card in it.
#pragma once

#include <optional>
#include <string>

#include "hosts/command/failure_telling.hpp"
#include "hosts/command/progress.hpp"
#include "hosts/command/reader_backend.hpp"
#include "hosts/command/subcommand.hpp"
#include "quorrin/host.hpp"

namespace quorrin::command {

struct CardOptions {
    std::string reader;
    std::string slot;
    std::string trace;
    std::string aid;
};

// --reader, --slot, --trace.
void add_card_options(CLI::App& command, CardOptions& options);
// The same and --aid.
void add_application_options(CLI::App& command, CardOptions& options);

// A reader that is open and a card that is powered, both until the end of the scope.
class CardSession {
  public:
    CardSession(const CardOptions& options, const Common& common);

    host::Reader& reader() { return reader_; }
    host::Card& card() { return *card_; }

  private:
    struct Loaded {
        Loaded(const CardOptions& options, const Common& common);
    };

    Loaded loaded_;
    Progress progress_{"with the card"};
    host::Reader reader_;
    std::optional<host::Card> card_;
};

// The card kinds that --slot names, with their names; the first two are the user's.
struct SlotName {
    const char* name;
    int kind;  // QuorrinCardKind
};
std::span<const SlotName> slot_names();
std::string slot_name(int kind);

}  // namespace quorrin::command
