// Fixture of the tests with the real PC/SC service: virtual readers, cards that come and go, and another
// program beside this one.
#pragma once

#include <winscard.h>

#include <functional>
#include <memory>

#include "reader_libraries/simulator/t0_framing.hpp"
#include "tests/reader_libraries/pcsc/pcsc_test.hpp"
#include "tests/reader_libraries/pcsc/virtual_card.hpp"
#include "tests/reader_libraries/pcsc/virtual_readers.hpp"

namespace quorrin::test {

struct Place {
    const char* reader;
    std::uint16_t port;
};

inline constexpr Place contact_place{"Virtual Reader 00 00", 35963};
inline constexpr Place contactless_place{"Virtual Reader 00 01", 35964};
inline constexpr Place sam_places[] = {{"Virtual SAM A 00 00", 35965},
                                       {"Virtual SAM A 00 01", 35966},
                                       {"Virtual SAM B 00 00", 35967},
                                       {"Virtual SAM B 00 01", 35968}};
inline constexpr Place mas_place{"Virtual MAS 00 00", 35969};

inline const std::vector<ReaderPair> all_readers = {{"Virtual Reader", 35963},
                                                    {"Virtual SAM A", 35965},
                                                    {"Virtual SAM B", 35967},
                                                    {"Virtual MAS", 35969}};

// The service of this process; it runs with all readers while no test says otherwise.
VirtualReaders& virtual_readers();

// Answers to reset that offer T=0 (five bytes of history) and T=1, as a contactless reader makes it up
// (PC/SC part 3, 3.1.3.2.3.1).
inline const ByteString t0_answer_to_reset = hex("3B 65 00 00 54 45 53 54 30");
inline const ByteString t1_answer_to_reset = hex("3B 88 80 01 00 00 00 00 33 81 81 00 3A");

// A card that does what a test says.
class PlayedCard final : public simulator::CardDevice {
  public:
    using Answer = std::function<ByteString(const ByteString& command)>;
    explicit PlayedCard(
        ByteString answer_to_reset, Answer answer =
                                        [](const ByteString&) {
                                            return ByteString{0x90, 0x00};
                                        })
        : answer_to_reset_(std::move(answer_to_reset)), answer_(std::move(answer)) {}

    ByteString power_on() override { return answer_to_reset_; }
    void power_off() override {}
    ByteString transmit(std::span<const std::uint8_t> command) override {
        return answer_({command.begin(), command.end()});
    }

  private:
    ByteString answer_to_reset_;
    Answer answer_;
};

// A connection of another program.
class OtherProgram {
  public:
    explicit OtherProgram(const Place& place, DWORD share) {
        SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context_);
        result_ = SCardConnect(context_, place.reader, share, SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1,
                               &card_, &protocol_);
    }
    ~OtherProgram() {
        let_go();
        SCardReleaseContext(context_);
    }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    LONG result() const { return result_; }
    // The card keeps its power.
    void let_go() { SCardDisconnect(card_, SCARD_LEAVE_CARD); }
    LONG reset_card() {
        return SCardReconnect(card_, SCARD_SHARE_SHARED, SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1,
                              SCARD_RESET_CARD, &protocol_);
    }
    LONG begin_transaction() { return SCardBeginTransaction(card_); }

  private:
    SCARDCONTEXT context_ = 0;
    SCARDHANDLE card_ = 0;
    DWORD protocol_ = 0;
    LONG result_;
};

// A card in a virtual reader, which the service sees as long as this lives. The service looks every 400
// milliseconds: a card that goes and another that comes in between would be one card to it.
class CardInReader : public VirtualCard {
  public:
    CardInReader(const Place& place, std::shared_ptr<simulator::CardDevice> card,
                 const ByteString& answer_to_reset = {});
    ~CardInReader();

  private:
    Place place_;
    std::shared_ptr<simulator::CardDevice> card_;
};

class RealService : public PcscTest {
  protected:
    RealService();
    ~RealService() override;

    // A card in the contact reader.
    void insert(std::shared_ptr<simulator::CardDevice> card,
                const ByteString& answer_to_reset = {});
    void pull() { inserted.reset(); }

    // The reader is open with a card in the contact slot that has power.
    void open_with_card();

    // It says 90 00 to everything, over T=1.
    std::shared_ptr<PlayedCard> played = std::make_shared<PlayedCard>(t1_answer_to_reset);
    std::unique_ptr<CardInReader> inserted;
};

}  // namespace quorrin::test
