// The reader, and the cards in its slots. The library serves one reader, one transaction and one
// thread at a time; what breaks that throws Misuse.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <quorrin/quorrin.h>
#include <quorrin/host/failure.hpp>
#include <quorrin/host/holder.hpp>
#include <quorrin/host/log.hpp>
#include <quorrin/host/purchase.hpp>
#include <quorrin/host/session.hpp>
#include <quorrin/host/store.hpp>
#include <quorrin/host/values.hpp>

namespace quorrin::host {

/// A command to a card (ISO 7816-4, short length fields).
struct Command {
    std::uint8_t cla = 0x00;                        ///< class
    std::uint8_t ins = 0x00;                        ///< instruction
    std::uint8_t p1 = 0x00;                         ///< first parameter
    std::uint8_t p2 = 0x00;                         ///< second parameter
    ByteString data = {};                           ///< at most 255 bytes
    std::optional<std::uint8_t> le = std::nullopt;  ///< expected length, 0 for all there is

    /// A command as one piece of hex: "00A40400 07 A0000003330101 00". Throws std::invalid_argument.
    static Command parse(std::string_view text) {
        const ByteString bytes = from_hex(text);
        if (bytes.size() < 4) {
            throw std::invalid_argument("a command has at least four bytes");
        }
        Command command{bytes[0], bytes[1], bytes[2], bytes[3]};
        if (bytes.size() == 5) {
            command.le = bytes[4];
        } else if (bytes.size() > 5) {
            const std::size_t end = 5U + bytes[4];
            if (bytes[4] == 0 || bytes.size() < end || bytes.size() > end + 1) {
                throw std::invalid_argument("the command's length does not fit its data");
            }
            command.data.assign(bytes.begin() + 5,
                                bytes.begin() + static_cast<std::ptrdiff_t>(end));
            if (bytes.size() > end) {
                command.le = bytes[end];
            }
        }
        return command;
    }
};

/// A card's answer.
struct Response {
    ByteString data;         ///< without status word
    StatusWord status_word;  ///< 9000 and all others
};

/// Where to look for the card.
enum class Search {
    Contact,          ///< contact slot only
    Contactless,      ///< contactless slot only
    ContactFirst,     ///< contact slot; contactless when there is no card in it
    ContactlessFirst  ///< contactless slot; contact when there is no card in it or it does not answer
};

/// A powered card. It is powered down when this goes out of scope; its reader must live longer.
class Card {
  public:
    /// The card changes hands; the one that is left powers nothing down.
    Card(Card&& other) noexcept
        : session_(std::exchange(other.session_, 0)),
          kind_(other.kind_),
          atr_(std::move(other.atr_)) {}
    Card(const Card&) = delete;
    Card& operator=(const Card&) = delete;
    Card& operator=(Card&&) = delete;
    ~Card() {
        if (detail::is_current(session_)) {
            PowerDown(ReaderHandle, kind_);
        }
    }

    /// A QuorrinCardKind.
    int kind() const { return kind_; }
    /// Whether it is in the contactless slot.
    bool contactless() const { return kind_ == QUORRIN_CONTACTLESS_CARD; }
    /// Its answer to reset.
    const ByteString& atr() const { return atr_; }

    /// The applications of its directory, the first one first: AIDs as hex text. A contactless card
    /// is asked for 2PAY.SYS.DDF01, and for 1PAY.SYS.DDF01 when it has none.
    std::vector<std::string> applications() {
        begin();
        if (contactless()) {
            constexpr std::string_view ppse = "2PAY.SYS.DDF01";
            const Response answer =
                transmit({0x00, 0xA4, 0x04, 0x00, ByteString(ppse.begin(), ppse.end()), 0});
            if (answer.status_word.success()) {
                std::fill(std::begin(gucAidList), std::end(gucAidList), '\0');
                gucAidListLen = 0;
                gucAidNum = 0;
                detail::check("qPBOCProcessDDF",
                              qPBOCProcessDDF(answer.data.data(),
                                              static_cast<std::uint16_t>(answer.data.size())));
                return listed_applications();
            }
        }
        std::array<char, 256> list{};
        detail::check_card("selectByPse", selectByPse(ReaderHandle, list.data()));
        return listed_applications();
    }

    /// Reads the holder's data from an application: hex AID, empty for the directory's first.
    HolderInformation holder(const std::string& aid = "") {
        begin();
        return detail::read_holder(aid);
    }

    /// Starts a purchase, up to the card's cryptogram: selects the application (hex AID, empty for
    /// the directory's first), gets its processing options, reads its records, asks for an ARQC.
    Purchase start_purchase(const PurchaseTerms& terms, const std::string& aid = "") {
        begin();
        return Purchase(session_, terms, aid);
    }

    /// Reads the transaction log, newest record first. An application without a log throws Failure
    /// with QUORRIN_OBJECT_MISSING.
    std::vector<LogRecord> log(const std::string& aid = "") {
        begin();
        return detail::read_log(QUORRIN_TRANSACTION_LOG, aid);
    }
    /// The same for the log of electronic cash loads.
    std::vector<LogRecord> load_log(const std::string& aid = "") {
        begin();
        return detail::read_log(QUORRIN_LOAD_LOG, aid);
    }

    /// Fetches an element with GET DATA: 0x9F13, 0x9F36, 0x9F79. Throws Failure when the card
    /// refuses.
    ByteString get_data(Tag tag) {
        touch();
        const detail::TagBytes bytes(tag);
        detail::check("emvGetDataCmd", emvGetDataCmd(bytes.bytes.data(), bytes.size));
        return detail::stored_or_empty(tag);
    }

    /// An element of the last operation on this card, nothing when the card did not bring it.
    std::optional<ByteString> element(Tag tag) {
        touch();
        return detail::stored(tag);
    }
    /// The same by the element's name.
    std::optional<ByteString> element(std::string_view name) { return element(tag_of(name)); }

    /// Sends one command. Every status word is an answer; Failure means that none came.
    Response transmit(const Command& command) {
        touch();
        if (command.data.size() > 0xFF) {
            throw Misuse("a command has at most 255 bytes of data");
        }
        const int with = (command.le ? 1 : 0) | (command.data.empty() ? 0 : 2);
        ByteString answer(1024);
        std::uint32_t size = 0;
        detail::check("IccComm",
                      IccComm(ReaderHandle, kind_, command.cla, command.ins, command.p1, command.p2,
                              static_cast<std::int32_t>(command.data.size()), command.data.data(),
                              command.le.value_or(0), with, answer.data(), &size));
        answer.resize(size);
        return {std::move(answer), last_status_word()};
    }

  private:
    friend class Reader;

    Card(std::uint64_t session, int kind, ByteString atr)
        : session_(session), kind_(kind), atr_(std::move(atr)) {}

    // Before everything that reaches the card: the library's commands go to the current kind.
    void touch() const {
        detail::require_current(session_);
        if (kind_ >= QUORRIN_CONTACT_CARD) {
            EG_nUserCardType = static_cast<std::uint8_t>(kind_);
        }
    }

    // Before everything that wipes the store.
    void begin() const {
        touch();
        ++detail::session().transaction;
        gucGetArqcFlag = 0;  // an answer must not continue an older transaction
    }

    static std::vector<std::string> listed_applications() {
        std::vector<std::string> applications;
        const std::string list(gucAidList, gucAidListLen);
        for (std::size_t start = 0; start <= list.size() && gucAidNum != 0;) {
            const std::size_t end = std::min(list.find('|', start), list.size());
            if (end > start) {
                applications.push_back(list.substr(start, end - start));
            }
            start = end + 1;
        }
        return applications;
    }

    std::uint64_t session_;
    int kind_;
    ByteString atr_;
};

/// The reader: opened here, closed when this goes out of scope. Only one at a time in a process.
class Reader {
  public:
    Reader() {
        detail::require_free();
        emvInitDataPointer();
        detail::check("OpenDevice", OpenDevice(EG_szDev_Name, &ReaderHandle));
        if (ReaderHandle <= 0) {  // a reader library that answers 0 has opened nothing
            throw Failure("OpenDevice", QUORRIN_CONNECTION_ERROR);
        }
        session_ = detail::open_session();
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() {
        if (detail::is_current(session_)) {
            CloseDevice(&ReaderHandle);
            detail::close_session();
        }
    }

    /// Its serial number, at most 32 characters.
    std::string serial() const {
        detail::require_current(session_);
        std::array<char, 33> serial{};
        detail::check("GetDevSerial", GetDevSerial(ReaderHandle, serial.data()));
        return serial.data();
    }

    /// Finds and powers the user's card. Throws Failure when there is none.
    Card find_card(Search search = Search::ContactFirst) const {
        const bool contactless_first =
            search == Search::Contactless || search == Search::ContactlessFirst;
        const int first = contactless_first ? QUORRIN_CONTACTLESS_CARD : QUORRIN_CONTACT_CARD;
        const int second = contactless_first ? QUORRIN_CONTACT_CARD : QUORRIN_CONTACTLESS_CARD;
        try {
            return power_up(first);
        } catch (const Failure& failure) {
            const bool elsewhere =
                failure.code() == QUORRIN_NO_CARD ||
                (failure.code() == QUORRIN_CARD_MUTE && search == Search::ContactlessFirst);
            if (search == Search::Contact || search == Search::Contactless || !elsewhere) {
                throw;
            }
        }
        return power_up(second);
    }

    /// Powers the card in one slot: a QuorrinCardKind. Security modules (QUORRIN_SAM1 to 4) take raw
    /// commands.
    Card power_up(int kind) const {
        detail::require_current(session_);
        ByteString atr(512);
        std::uint32_t size = 0;
        detail::check("PowerUp", PowerUp(ReaderHandle, kind, atr.data(), &size));
        atr.resize(size);
        return {session_, kind, std::move(atr)};
    }

    /// Closes the reader, to see whether that worked. Cards must be gone by then.
    void close() {
        detail::require_current(session_);
        detail::check("CloseDevice", CloseDevice(&ReaderHandle));
        detail::close_session();
    }

  private:
    std::uint64_t session_ = 0;
};

}  // namespace quorrin::host
