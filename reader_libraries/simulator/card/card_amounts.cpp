#include "reader_libraries/simulator/card/card_amounts.hpp"

#include "reader_libraries/simulator/card/record_reading.hpp"

namespace quorrin::simulator {

std::uint64_t decimal(std::span<const std::uint8_t> bcd) {
    std::uint64_t number = 0;
    for (const std::uint8_t byte : bcd) {
        number = number * 100 + (byte >> 4) * 10U + (byte & 0x0FU);
    }
    return number;
}

ByteString packed(std::uint64_t number, std::size_t size) {
    ByteString bcd(size, 0);
    for (auto byte = bcd.rbegin(); byte != bcd.rend(); ++byte) {
        *byte = static_cast<std::uint8_t>((number / 10 % 10) << 4 | number % 10);
        number /= 100;
    }
    return bcd;
}

std::uint64_t transaction_amount(const ApplicationSession& session) {
    constexpr Tag amount_authorised = 0x9F02;
    constexpr std::size_t amount_bytes = 6;
    return decimal(fitted_value(session.terminal, amount_authorised, amount_bytes));
}

std::optional<ByteString> card_element(const ApplicationSession& session, Tag tag) {
    const auto own = session.state.data.find(tag);
    return own != session.state.data.end() ? own->second
                                           : find_in_records(session.state.records, tag);
}

bool in_card_currency(const ApplicationSession& session) {
    auto currency = card_element(session, 0x9F51);
    if (!currency) {
        currency = card_element(session, 0x9F42);
    }
    return !currency || fitted_value(session.terminal, 0x5F2A, 2) == *currency;
}

}  // namespace quorrin::simulator
