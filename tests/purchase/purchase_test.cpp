#include "tests/purchase/purchase_test.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "quorrin/quorrin.h"

namespace quorrin::test {
namespace {

constexpr const char* reader_file_variable = "QUORRIN_SIMULATOR";

// Also across the tests of one process: the reader puts new cards in when its file changes.
std::string next_serial() {
    static unsigned last = 0;
    return "PURCHASE-" + std::to_string(++last);
}

}  // namespace

PurchaseTest::PurchaseTest() {
    EG_nUserCardType = 11;
    std::strncpy(EG_szDev_Name, "AUTO", sizeof EG_szDev_Name);
    gucGetArqcFlag = 0;
    emvClrIccAndTermData();
    unsetenv(reader_file_variable);
}

PurchaseTest::~PurchaseTest() {
    terminal.reset();
    unsetenv(reader_file_variable);
}

void PurchaseTest::insert(const ShippedCard& inserted, const std::string& more) {
    terminal.reset();
    card = inserted;
    directory.write("reader.toml", "[reader]\nserial = \"" + next_serial() + "\"\n[" + card.slot +
                                       "]\nprofile = \"" QUORRIN_PROFILES "/" + card.profile +
                                       ".toml\"\n" + more);
    setenv(reader_file_variable, (directory.path() / "reader.toml").c_str(), 1);
    terminal.emplace(card.card_kind);
    terminal->qualifiers = card.qualifiers;
}

void PurchaseTest::power_again() {
    terminal.reset();
    terminal.emplace(card.card_kind);
    terminal->qualifiers = card.qualifiers;
}

bank::OnlineRequest PurchaseTest::request_authorisation(const Purchase& purchase) {
    terminal->request_cryptogram(card.aid, purchase);
    return terminal->online_request();
}

bank::OnlineRequest PurchaseTest::request_of_blocked_application() {
    emvClrIccAndTermData();
    ByteString answer = send("00A40400", hex(card.aid.empty() ? "A000000333" : card.aid));
    EXPECT_EQ(to_hex(answer).substr(2 * answer.size() - 4), "6283");
    answer.resize(answer.size() - 2);
    EXPECT_EQ(emvExtractDataElement(answer.data(), static_cast<std::uint16_t>(answer.size())), 0);
    if (!card.qualifiers.empty()) {
        emvSetTermTranCapa(hex(card.qualifiers).data());
    }
    EXPECT_EQ(emvGPO(ReaderHandle, nullptr, nullptr), 0);
    EXPECT_EQ(emvReadICCard(ReaderHandle), 0);
    EXPECT_EQ(emvGACFrist(ReaderHandle), 0);
    EXPECT_EQ(stored_element(0x9F27), hex("00")) << "an AAC";
    return terminal->online_request();
}

bank::OnlineAnswer PurchaseTest::answer(const bank::OnlineRequest& request,
                                        const bank::Decision& decision) const {
    auto answer = bank::answer_online(card.product(), request, decision);
    EXPECT_TRUE(answer.cryptogram_right) << answer.reason;
    return answer;
}

bank::OnlineRequest PurchaseTest::buy(const bank::Decision& decision, const Purchase& what) {
    const auto request = request_authorisation(what);
    deliver(answer(request, decision).issuer_data);
    return request;
}

void PurchaseTest::run_script(ScriptPhase phase, const std::vector<bank::ScriptCommand>& commands) {
    buy(approval_with(phase, commands));
    const auto results = terminal->script_results();
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].result, 2U) << "all of the script's commands are sent";
}

ByteString PurchaseTest::send(std::string_view header, const ByteString& data) const {
    constexpr int header_and_le = 1;
    constexpr int header_and_data = 2;
    constexpr int header_data_and_le = 3;
    constexpr std::uint8_t select = 0xA4;
    const ByteString command = hex(header);
    const int with_data = command.at(1) == select ? header_data_and_le : header_and_data;
    ByteString sent = data;
    ByteString response(1024);
    std::uint32_t length = 0;
    EXPECT_EQ(IccComm(ReaderHandle, card.card_kind, command.at(0), command.at(1), command.at(2),
                      command.at(3), static_cast<std::int32_t>(sent.size()), sent.data(), 0,
                      sent.empty() ? header_and_le : with_data, response.data(), &length),
              0);
    response.resize(length);
    return join(response, ByteString{CARD_SW1, CARD_SW2});
}

ByteString PurchaseTest::card_data(std::uint16_t tag) const {
    const ByteString name{static_cast<std::uint8_t>(tag >> 8), static_cast<std::uint8_t>(tag)};
    return send("80CA" + to_hex(name));
}

ByteString PurchaseTest::card_record(std::uint8_t file, std::uint8_t number) const {
    const ByteString parameters{number, static_cast<std::uint8_t>(file << 3 | 0x04)};
    return send("00B2" + to_hex(parameters));
}

ByteString PurchaseTest::verify(const std::string& pin) const {
    std::string block = "2";
    block += "0123456789ABC"[pin.size()];
    block += pin;
    block.resize(16, 'F');
    return send("00200080", hex(block));
}

std::string PurchaseTest::card_contents() const {
    std::string contents;
    constexpr std::uint16_t tags[] = {0x9F79, 0x9F77, 0x9F78, 0x9F6D, 0x9F17};
    for (const std::uint16_t tag : tags) {
        contents += to_hex(card_data(tag)) + '\n';
    }
    const ByteString locator = stored_element(0x94);
    for (std::size_t entry = 0; entry + 4 <= locator.size(); entry += 4) {
        const auto file = static_cast<std::uint8_t>(locator[entry] >> 3);
        for (std::uint8_t number = locator[entry + 1]; number <= locator[entry + 2]; ++number) {
            contents += to_hex(card_record(file, number)) + '\n';
        }
    }
    return contents;
}

std::uint16_t PurchaseTest::last_online_atc() const {
    const ByteString object = card_data(0x9F13);  // 9F13 02 xx xx 90 00
    EXPECT_EQ(object.size(), 7U) << to_hex(object);
    return object.size() == 7 ? static_cast<std::uint16_t>(object[3] << 8 | object[4])
                              : std::uint16_t{0};
}

ByteString PurchaseTest::holder_record_renamed() const {
    ByteString record = holder_record();
    record.resize(record.size() - done.size());
    const auto name =
        std::search(record.begin(), record.end(), card.holder.begin(), card.holder.end());
    EXPECT_NE(name, record.end());
    std::ranges::copy(other_holder(), name);
    return record;
}

ByteString PurchaseTest::verification_and_status() {
    ByteString bytes(5 + 2);
    for (std::uint8_t byte = 0; byte < bytes.size(); ++byte) {
        for (std::uint8_t bit = 0; bit < 8; ++bit) {
            const auto number = static_cast<std::uint8_t>(bit + 1);
            const bool set = byte < 5 ? emvGetTVR(static_cast<std::uint8_t>(byte + 1), number) == 1
                                      : emvGetTSI(static_cast<std::uint8_t>(byte - 4), number) == 1;
            bytes[byte] |= static_cast<std::uint8_t>(set << bit);
        }
    }
    return bytes;
}

bank::Decision approval_with(ScriptPhase phase, const std::vector<bank::ScriptCommand>& commands) {
    bank::Decision decision;
    decision.scripts = {{.phase = phase, .identifier = {}, .commands = commands}};
    return decision;
}

ByteString with_flipped_bit(ByteString bytes, std::size_t bit) {
    bytes.at(bit / 8) ^= static_cast<std::uint8_t>(0x80 >> bit % 8);
    return bytes;
}

}  // namespace quorrin::test
