// The functions of PC/SC played in memory, for what no virtual reader shows: mute cards, failures
// of every kind, the hour. A program that holds this file gets it in place of the system's library.
#pragma once

#include <winscard.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "tests/support/bytes.hpp"

namespace quorrin::test {

struct FakeReader {
    std::string name;
    bool card = true;
    ByteString answer_to_reset = {0x3B, 0x00};
    DWORD protocol = SCARD_PROTOCOL_T1;
    DWORD held = 0;                     // SCARD_STATE_INUSE or _EXCLUSIVE: by another program
    std::chrono::milliseconds until{};  // so long by the fake's clock
    ByteString serial = {};             // the attribute; empty: the reader has none
};

// What a card answers; the most common one says 90 00. Allocates nothing.
using FakeAnswer = LONG (*)(std::span<const std::uint8_t> command, std::uint8_t* answer,
                            DWORD* length);

class FakePcsc {
  public:
    std::vector<FakeReader> readers;
    bool running = true;
    FakeAnswer answer = nullptr;

    // The next call of a function, by its name without SCard, gives this result and does nothing.
    std::map<std::string, std::deque<LONG>> results;

    // What was asked for, one line a call; exchanges and questions about states are left out.
    std::vector<std::string> calls;

    // The last command that was sent.
    std::array<std::uint8_t, 300> command{};
    std::size_t command_length = 0;
    DWORD command_protocol = 0;

    // Contexts and cards of the time before are worth nothing, as after a crash of the service.
    void restart() { ++run_; }
    FakeReader& reader(const std::string& name);

    // For the table of functions.
    LONG next_result(const std::string& function);
    FakeReader* find_reader(const char* name);
    LONG check(long handle) const;
    long new_handle() { return run_ * 1000 + ++last_handle_; }
    std::chrono::milliseconds clock{0};
    std::map<long, std::string> cards;  // readers by the handle of their card

  private:
    long run_ = 1;
    long last_handle_ = 0;
};

FakePcsc& fake_pcsc();

}  // namespace quorrin::test
