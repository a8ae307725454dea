// A simulated card in a virtual reader: it connects to the port of the driver of virtual readers (vpcd)
// and speaks its wire, two bytes of length and then a command or a control byte.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

#include "reader_libraries/simulator/card_device.hpp"
#include "tests/support/bytes.hpp"

namespace quorrin::test {

class VirtualCard {
  public:
    // The card is in the reader from now on, as soon as the reader listens, until `pull` or the end.
    // An empty answer to reset stands for the card's own.
    VirtualCard(std::uint16_t port, simulator::CardDevice& card, ByteString answer_to_reset = {});
    ~VirtualCard() { pull(); }
    VirtualCard(const VirtualCard&) = delete;
    VirtualCard& operator=(const VirtualCard&) = delete;

    void pull();

    // From now on the card leaves the reader when a command comes, before it answers.
    void leave_at_next_command() { leave_at_command_ = true; }

    // All that came since the last call: commands as hex text; "on", "off" and "reset". Waits until it
    // is so many (a reader does not wait until the card knows that it has lost its power).
    std::vector<std::string> heard(std::size_t at_least = 0);

    // Waits until this is the last that came; whether it is.
    bool heard_at_last(const std::string& event);

  private:
    void serve();
    bool connect_to_reader();
    bool receive(ByteString& message) const;
    bool receive_bytes(std::span<std::uint8_t> bytes) const;
    bool send(const ByteString& message) const;
    bool answer(const ByteString& message);
    void note(std::string event);

    std::uint16_t port_;
    simulator::CardDevice& card_;
    ByteString answer_to_reset_;
    bool fixed_answer_to_reset_;
    std::atomic<bool> leave_at_command_ = false;
    std::mutex mutex_;
    std::condition_variable news_;
    std::vector<std::string> heard_;
    int socket_ = -1;
    int stop_ = -1;  // becomes readable when the card is pulled
    std::thread thread_;
};

}  // namespace quorrin::test
