#include "tests/reader_libraries/pcsc/virtual_card.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <utility>

namespace quorrin::test {
namespace {

enum Control : std::uint8_t { PowerOff = 0, PowerOn = 1, Reset = 2, GetAnswerToReset = 4 };

constexpr int retry_milliseconds = 20;
constexpr std::chrono::seconds longest_wait_for_reader{5};

}  // namespace

VirtualCard::VirtualCard(std::uint16_t port, simulator::CardDevice& card,
                         ByteString answer_to_reset)
    : port_(port),
      card_(card),
      answer_to_reset_(std::move(answer_to_reset)),
      fixed_answer_to_reset_(!answer_to_reset_.empty()),
      stop_(eventfd(0, EFD_CLOEXEC)),
      thread_([this] { serve(); }) {}

void VirtualCard::pull() {
    if (thread_.joinable()) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = write(stop_, &one, sizeof one);
        thread_.join();
        close(stop_);
    }
}

std::vector<std::string> VirtualCard::heard(std::size_t at_least) {
    std::unique_lock lock(mutex_);
    news_.wait_for(lock, longest_wait_for_reader, [&] { return heard_.size() >= at_least; });
    return std::exchange(heard_, {});
}

bool VirtualCard::heard_at_last(const std::string& event) {
    std::unique_lock lock(mutex_);
    return news_.wait_for(lock, longest_wait_for_reader,
                          [&] { return !heard_.empty() && heard_.back() == event; });
}

void VirtualCard::note(std::string event) {
    const std::scoped_lock lock(mutex_);
    heard_.push_back(std::move(event));
    news_.notify_all();
}

void VirtualCard::serve() {
    if (!fixed_answer_to_reset_) {
        answer_to_reset_ = card_.power_on();  // the driver asks for it before it gives power
    }
    if (connect_to_reader()) {
        ByteString message;
        while (receive(message) && answer(message)) {
        }
    }
    if (socket_ >= 0) {
        close(socket_);
    }
    card_.power_off();
}

// The reader has to be there first; until then the card tries again.
bool VirtualCard::connect_to_reader() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    for (;;) {
        socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
            const int on = 1;
            setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            return true;
        }
        close(std::exchange(socket_, -1));
        pollfd stop{stop_, POLLIN, 0};
        if (poll(&stop, 1, retry_milliseconds) != 0) {
            return false;
        }
    }
}

bool VirtualCard::receive_bytes(std::span<std::uint8_t> bytes) const {
    while (!bytes.empty()) {
        pollfd ready[] = {{stop_, POLLIN, 0}, {socket_, POLLIN, 0}};
        if (poll(ready, std::size(ready), -1) <= 0 || ready[0].revents != 0) {
            return false;
        }
        const ssize_t count = recv(socket_, bytes.data(), bytes.size(), 0);
        if (count <= 0) {
            return false;
        }
        // The driver sends length and body apart: without an acknowledgement at once its second
        // packet waits for 40 ms. The option lasts until the next packet only.
        const int on = 1;
        setsockopt(socket_, IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

bool VirtualCard::receive(ByteString& message) const {
    std::uint8_t length[2];
    if (!receive_bytes(length)) {
        return false;
    }
    message.resize(static_cast<std::size_t>(length[0] << 8 | length[1]));
    return receive_bytes(message);
}

// Never without a byte: the driver would wait for ever.
bool VirtualCard::send(const ByteString& message) const {
    const ByteString packet = join(ByteString{static_cast<std::uint8_t>(message.size() >> 8),
                                              static_cast<std::uint8_t>(message.size())},
                                   message);
    return !message.empty() && ::send(socket_, packet.data(), packet.size(), MSG_NOSIGNAL) ==
                                   static_cast<ssize_t>(packet.size());
}

bool VirtualCard::answer(const ByteString& message) {
    if (message.size() > 1) {
        note(to_hex(message));
        return !leave_at_command_ && send(card_.transmit(message));
    }
    if (message.empty()) {
        return false;
    }
    switch (message[0]) {
        case PowerOff:
            note("off");
            card_.power_off();
            return true;
        case PowerOn:
        case Reset:
            note(message[0] == Reset ? "reset" : "on");
            if (const ByteString own = card_.power_on(); !fixed_answer_to_reset_) {
                answer_to_reset_ = own;
            }
            return true;
        case GetAnswerToReset:
            return send(answer_to_reset_);
        default:
            return true;
    }
}

}  // namespace quorrin::test
