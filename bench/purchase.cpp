#include "bench/purchase.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/workloads.hpp"
#include "quorrin/quorrin.h"
#include "quorrin/reader_library.h"

namespace quorrin::bench {
namespace {

using test::hex;

constexpr std::int64_t handle = 7;

// Terminal data of the purchase as keyed text.
constexpr char terminal_data[] =
    "P012000000012345Q012000000000000R0040156S006250102T00200U006123456V020TEST MERCHANT 0      ";
// 8A, 91 and a script (71) with identifier and one command that unblocks the PIN.
constexpr char issuer_answer[] =
    "8A023030910A0102030405060708303071129F180411223344860984240000041A2B3C4D";

struct RecordedExchange {
    ByteString command;
    ByteString answer;
};

ByteString ended_well(ByteString data) {
    data.push_back(0x90);
    data.push_back(0x00);
    return data;
}

std::vector<RecordedExchange> record_exchanges() {
    std::vector<RecordedExchange> all;
    const auto expect = [&](const char* command, const ByteString& answer) {
        all.push_back({hex(command), ended_well(answer)});
    };
    expect("00A404000E 315041592E5359532E4444463031 00",
           hex("6F15 840E 315041592E5359532E4444463031 A503 880101"));
    expect("00B2010C00", hex("7018 6116 4F08 A000000333010101 500A 50424F43204445424954"));
    all.push_back({hex("00B2020C00"), hex("6A83")});
    expect("00A4040008 A000000333010101 00", fci_answer());
    expect(
        "80A8000027 8325 F4000000 000000012345 000000000000 0000 0000000000 0156 250102 00"
        "00000000 123456 00 00",
        hex("8006 7C00 08010100"));
    expect("00B2010C00", record_answer());
    expect(
        "80AE800034 000000012345 000000000000 0000 0000000000 0156 250102 00 00000000 123456"
        "54455354204D45524348414E542030 2020202020 00",
        hex("801E 80 0012 1122334455667788 07010103A0B80001 0A010000000000 89ABCDEF"));
    expect("008200000A 01020304050607083030", {});
    expect("84240000041A2B3C4D 00", {});
    return all;
}

const std::vector<RecordedExchange>& recorded_exchanges() {
    static const std::vector<RecordedExchange> all = record_exchanges();
    return all;
}

struct Card {
    const RecordedExchange* next = recorded_exchanges().data();
    Traffic traffic;
    bool checks = false;
    std::string mismatch;  // of the first command that was not the recorded one
};

Card& card() {
    static Card inserted;
    return inserted;
}

void demand(bool met, const std::string& what) {
    if (!met) {
        throw std::runtime_error("the purchase is not the recorded one: " + what);
    }
}

std::int64_t select() {
    return emvSelectAid(handle, nullptr);
}
std::int64_t send_options() {
    return emvGPO(handle, terminal_data, TagMapPDolTerData);
}
std::int64_t read_records() {
    return emvReadICCard(handle);
}
std::int64_t ask_cryptogram() {
    const std::int64_t result = emvGACFrist(handle);
    gucGetArqcFlag = 1;
    return result;
}
std::int64_t take_issuer_answer() {
    return ARPCExeScript(handle, 0, issuer_answer);
}

constexpr PurchaseStep steps[] = {
    {"emvSelectAid", select},
    {"emvGPO", send_options},
    {"emvReadICCard", read_records},
    {"emvGACFrist", ask_cryptogram},
    {"ARPCExeScript", take_issuer_answer},
};

}  // namespace

std::span<const PurchaseStep> purchase_steps() {
    return steps;
}

std::int64_t run_purchase() {
    begin_purchase();
    char cryptogram[16];
    char cdol2[512];
    const std::int64_t result = getARQC(handle, terminal_data, nullptr, cryptogram, cdol2);
    return result != 0 ? result : take_issuer_answer();
}

void begin_purchase() {
    card().next = recorded_exchanges().data();
}

void check_purchase() {
    card().checks = true;
    EG_nUserCardType = QUORRIN_CONTACT_CARD;
    const std::int64_t result = run_purchase();
    demand(card().mismatch.empty(), card().mismatch);
    demand(result == 0, "a step failed");
    demand(card().next == &*recorded_exchanges().end(), "not every exchange was made");
    demand(test::to_hex(gl_AC) == "1122334455667788", "the cryptogram");
    demand(test::to_hex(ByteString(gl_Iss_ScriptRslt, gl_Iss_ScriptRslt + 5)) == "2011223344",
           "the script's result");
    card().checks = false;
}

const Traffic& traffic() {
    return card().traffic;
}

}  // namespace quorrin::bench

using namespace quorrin::bench;

int64_t ICC_Reader_Open(char* /*name*/) {
    return 7;
}
int64_t ICC_Reader_Close(void) {
    return 0;
}
int64_t ICC_Reader_PowerOn(int64_t /*handle*/, int /*slot*/, uint8_t* /*atr*/) {
    return -2;
}
int64_t ICC_Reader_PowerOff(int64_t /*handle*/, int /*slot*/) {
    return 0;
}
int64_t ICC_Reader_GetSerial(int64_t /*handle*/, char* /*serial*/) {
    return 0;
}

int64_t ICC_Reader_Application(int64_t /*handle*/, int /*slot*/, int64_t length, uint8_t* command,
                               uint8_t* response) {
    Card& inserted = card();
    const RecordedExchange& exchange = *inserted.next++;
    if (inserted.checks) {
        const ByteString sent(command, command + length);
        if (sent != exchange.command && inserted.mismatch.empty()) {
            inserted.mismatch = quorrin::test::to_hex(sent) + " sent for " +
                                quorrin::test::to_hex(exchange.command);
        }
    }
    std::memcpy(response, exchange.answer.data(), exchange.answer.size());
    ++inserted.traffic.exchanges;
    inserted.traffic.sent += static_cast<std::size_t>(length);
    inserted.traffic.received += exchange.answer.size();
    return static_cast<int64_t>(exchange.answer.size());
}
