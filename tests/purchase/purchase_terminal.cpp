#include "tests/purchase/purchase_terminal.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <random>
#include <string_view>

#include "quorrin/quorrin.h"

namespace quorrin::test {
namespace {

void check(const char* step, std::int64_t result) {
    if (result == 0) {
        return;
    }
    char message[128] = {};
    TransRetCode(result, message);
    throw StepFailed(std::string(step) + ": " + std::to_string(result) + " " + message, result);
}

std::vector<std::uint8_t> tag_bytes(std::uint16_t tag) {
    const auto high = static_cast<std::uint8_t>(tag >> 8);
    const auto low = static_cast<std::uint8_t>(tag);
    return tag > 0xFF ? std::vector<std::uint8_t>{high, low} : std::vector<std::uint8_t>{low};
}

// An element fitted to its full size, as the card got it in its CDOL1 data: an absent one is zeros.
template <std::size_t Size>
std::array<std::uint8_t, Size> fitted_element(std::uint16_t tag) {
    const std::vector<std::uint8_t> bytes = tag_bytes(tag);
    std::array<std::uint8_t, Size> value{};
    std::uint16_t length = Size;
    emvGetDataElement(bytes.data(), static_cast<std::uint8_t>(bytes.size()), &length, value.data());
    return value;
}

// An item of keyed value text: its key, the number of its characters and they themselves.
std::string item(char key, const std::string& value) {
    char count[4];
    std::snprintf(count, sizeof count, "%03u", static_cast<unsigned>(value.size() % 1000));
    return key + (count + value);
}

std::map<char, std::string> items(std::string_view text) {
    std::map<char, std::string> found;
    while (text.size() >= 4) {
        const auto count = static_cast<std::size_t>(strToInt(text.data() + 1));
        found[text[0]] = text.substr(4, count);
        text.remove_prefix(std::min(4 + count, text.size()));
    }
    return found;
}

}  // namespace

std::vector<std::uint8_t> stored_element(std::uint16_t tag) {
    const std::vector<std::uint8_t> bytes = tag_bytes(tag);
    const auto size = static_cast<std::uint8_t>(bytes.size());
    if (emvGetDataElementState(bytes.data(), size) != 1) {
        return {};
    }
    std::vector<std::uint8_t> value(emvGetDataElementLength(bytes.data(), size, 0));
    auto length = static_cast<std::uint16_t>(value.size());
    emvGetDataElement(bytes.data(), size, &length, value.data());
    return value;
}

std::string hex_text(const std::vector<std::uint8_t>& bytes) {
    std::string text(2 * bytes.size(), '\0');
    bcd_to_asc(text.data(), bytes.data(), static_cast<std::int32_t>(text.size()), 0);
    return text;
}

PurchaseTerminal::PurchaseTerminal(int card_kind) {
    check("OpenDevice", OpenDevice(EG_szDev_Name, &ReaderHandle));
    EG_nUserCardType = static_cast<std::uint8_t>(card_kind);
    std::vector<std::uint8_t> atr(512);
    std::uint32_t length = 0;
    const std::int64_t result = PowerUp(ReaderHandle, card_kind, atr.data(), &length);
    if (result != 0) {
        CloseAllDevice();
    }
    check("PowerUp", result);
    atr.resize(length);
    answer_to_reset_ = hex_text(atr);
}

PurchaseTerminal::~PurchaseTerminal() {
    CloseAllDevice();
}

std::string PurchaseTerminal::serial() const {
    char serial[33] = {};
    check("GetDevSerial", GetDevSerial(ReaderHandle, serial));
    return serial;
}

std::map<char, std::string> PurchaseTerminal::card_holder_data(const std::string& aid,
                                                               const std::string& keys) {
    std::string text(2048 + 1, '\0');
    check("getIccInfo", getIccInfo(ReaderHandle, aid.c_str(), keys.c_str(), text.data()));
    return items(text.c_str());
}

namespace {

// What the card's cryptogram depends on so that no two transactions are alike: nobody may foresee it
// (EMV book 4 section 11.3).
std::array<std::uint8_t, 4> unpredictable_number(const Purchase& purchase) {
    std::array<std::uint8_t, 4> number{};
    if (!purchase.unpredictable_number.empty()) {
        asc_to_bcd(number.data(), purchase.unpredictable_number.c_str(), 2 * number.size(), 0);
        return number;
    }
    std::random_device random;
    std::ranges::generate(number, [&] { return static_cast<std::uint8_t>(random()); });
    return number;
}

}  // namespace

// The steps that getARQC takes together, one by one: it has no room for the unpredictable number and
// the terminal's country. The store is wiped by the selection and stays as set from then on.
std::string PurchaseTerminal::request_cryptogram(const std::string& aid, const Purchase& purchase) {
    const std::string terminal_data = item('P', purchase.amount) + item('Q', "000000000000") +
                                      item('R', "0156") + item('S', purchase.date) +
                                      item('T', "00") + item('U', purchase.time) +
                                      item('V', purchase.merchant);
    constexpr std::array<std::uint8_t, 2> china{0x01, 0x56};
    check("emvSelectAid", emvSelectAid(ReaderHandle, aid.c_str()));
    check("emvSetTermCntryCode", emvSetTermCntryCode(china.data()));
    const auto number = unpredictable_number(purchase);
    check("emvSetRandom", emvSetRandom(number.data(), number.size()));
    if (!qualifiers.empty()) {
        std::array<std::uint8_t, 4> value{};
        asc_to_bcd(value.data(), qualifiers.c_str(), 2 * value.size(), 0);
        check("emvSetTermTranCapa", emvSetTermTranCapa(value.data()));
    }
    check("emvGPO", emvGPO(ReaderHandle, terminal_data.c_str(), TagMapPDolTerData));
    check("emvReadICCard", emvReadICCard(ReaderHandle));
    check("emvGACFrist", emvGACFrist(ReaderHandle));
    gucGetArqcFlag = 1;  // ARPCExeScript may go on with this transaction
    return hex_text(stored_element(0x9F26));
}

bank::OnlineRequest PurchaseTerminal::online_request() const {
    bank::OnlineRequest request;
    request.pan = hex_text(stored_element(0x5A));
    request.pan.erase(std::find(request.pan.begin(), request.pan.end(), 'F'), request.pan.end());
    request.pan_sequence_number = emvGetPANSn();
    std::copy_n(emvGetAC(), request.arqc.size(), request.arqc.begin());
    request.issuer_application_data = stored_element(0x9F10);
    request.covered = {
        .amount_authorised = fitted_element<6>(0x9F02),
        .amount_other = fitted_element<6>(0x9F03),
        .terminal_country = fitted_element<2>(0x9F1A),
        .terminal_verification = fitted_element<5>(0x95),
        .currency = fitted_element<2>(0x5F2A),
        .date = fitted_element<3>(0x9A),
        .type = emvGetTransType(),
        .unpredictable_number = fitted_element<4>(0x9F37),
        .interchange_profile = fitted_element<2>(0x82),
        .atc = static_cast<std::uint16_t>(emvGetATC()[0] << 8 | emvGetATC()[1]),
    };
    return request;
}

void PurchaseTerminal::take_answer(const std::string& issuer_data_text) {
    check("ARPCExeScript", ARPCExeScript(ReaderHandle, 0, issuer_data_text.c_str()));
}

std::vector<ScriptResult> PurchaseTerminal::script_results() const {
    constexpr std::size_t entry_size = 5;
    std::vector<ScriptResult> results;
    const std::uint8_t* entry = emvGetIssScrptRslt();
    for (int rest = emvGetIssScrptRsltNumber(); rest > 0; rest -= static_cast<int>(entry_size)) {
        results.push_back({.result = static_cast<unsigned>(entry[0] >> 4),
                           .failed_command = static_cast<unsigned>(entry[0] & 0x0F),
                           .identifier = hex_text({entry + 1, entry + entry_size})});
        entry += entry_size;
    }
    return results;
}

bool PurchaseTerminal::card_accepted_issuer() const {
    const std::vector<std::uint8_t> register_tag = tag_bytes(0x9F13);
    return emvGetDataCmd(register_tag.data(), 2) == 0 &&
           std::memcmp(emvGetLastATC(), emvGetATC(), 2) == 0;
}

LogRecord PurchaseTerminal::latest_log_record(const std::string& aid) const {
    constexpr int transaction_log = 1;
    constexpr int newest = 1;
    char text[512] = {};
    check("GetIcBankCardTrDetail",
          GetIcBankCardTrDetail(transaction_log, ReaderHandle, newest, aid.c_str(), text));
    // The counts of a log record mix units (see PackTrsData), so it is read by position.
    const std::string_view record = std::string_view(text).substr(3);
    const auto name_size = static_cast<std::size_t>(strToInt(record.data() + 77));
    std::string merchant(name_size, '\0');
    asc_to_bcd(reinterpret_cast<std::uint8_t*>(merchant.data()), record.data() + 80,
               static_cast<std::int32_t>(2 * name_size), 0);
    return {.amount = std::string(record.substr(4, 12)),
            .date = std::string(record.substr(44, 8)),
            .time = std::string(record.substr(62, 6)),
            .merchant = merchant,
            .atc = std::string(record.substr(84 + 2 * name_size, 4))};
}

void PurchaseTerminal::close() {
    check("PowerDown", PowerDown(ReaderHandle, EG_nUserCardType));
    check("CloseDevice", CloseDevice(&ReaderHandle));
}

}  // namespace quorrin::test
