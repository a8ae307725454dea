// What may be shown of the conversation with the card in one slot: account number, track data, names,
// numbers of papers and PIN data are masked. Objects are known by their tags, values without tags by
// the lists (PDOL, CDOL, DDOL, log format) that the card has given; what is not understood is masked.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "reader_libraries/trace/masking/command_rules.hpp"
#include "reader_libraries/trace/masking/digit_mask.hpp"
#include "reader_libraries/trace/masking/known_secrets.hpp"

namespace quorrin::trace {

class CardMasking {
  public:
    // A new session with the card, or another card.
    void power_on();

    // One exchange. The answer is empty when the reader gave none, else it ends with SW1 SW2. Both
    // masks are set for all their bytes. `secrets` are what all slots have shown.
    void exchange(std::span<const std::uint8_t> command, std::span<const std::uint8_t> answer,
                  KnownSecrets& secrets, DigitMask& command_mask, DigitMask& answer_mask);

    // DF name of the last successful SELECT by name; empty when there was none.
    std::span<const std::uint8_t> application() const {
        return std::span(application_).first(application_size_);
    }

  private:
    // A list of tags and lengths that the card gave.
    struct List {
        std::array<std::uint8_t, 255> bytes{};
        std::size_t size = 0;
        bool known = false;

        void keep(std::span<const std::uint8_t> list);
        std::span<const std::uint8_t> view() const { return std::span(bytes).first(size); }
    };

    void mask_command(std::span<const std::uint8_t> command, const CommandRule* rule,
                      DigitMask& mask) const;
    void mask_answer(std::span<const std::uint8_t> data, bool more_follows, KnownSecrets& secrets,
                     DigitMask& mask);
    void mask_objects(std::span<const std::uint8_t> data, bool more_follows, KnownSecrets& secrets,
                      DigitMask& mask);
    bool mask_log_record(std::span<const std::uint8_t> data, DigitMask& mask) const;
    static bool mask_listed(const List& list, std::span<const std::uint8_t> data, std::size_t base,
                            DigitMask& mask);
    void learn(std::uint32_t tag, std::span<const std::uint8_t> value, KnownSecrets& secrets);
    void note_selection(std::span<const std::uint8_t> command,
                        std::span<const std::uint8_t> answer);

    static constexpr std::size_t chain_room = 4096;

    // The command whose answer the next GET RESPONSE continues, and what has come of it.
    std::array<std::uint8_t, 4> header_{};
    const CommandRule* rule_ = nullptr;
    bool is_continued_ = false;
    std::array<std::uint8_t, chain_room> chain_{};
    std::size_t chain_size_ = 0;
    bool chain_overflowed_ = false;

    List pdol_;
    List cdol1_;
    List cdol2_;
    List ddol_;
    List log_format_;
    List load_log_format_;
    std::array<std::uint8_t, 16> application_{};
    std::size_t application_size_ = 0;
};

}  // namespace quorrin::trace
