// seed_maker PROFILES OUT: writes seeds for the fuzz targets under OUT/TARGET/, from whole
// operations with every card profile in PROFILES: what the cards answered and what was sent to them.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "decode/decode.hpp"
#include "fuzz/support/seeds.hpp"
#include "quorrin/quorrin.h"
#include "quorrin/reader_library.h"
#include "reader_libraries/simulator/card/profile_card.hpp"
#include "reader_libraries/simulator/card/profile_loading.hpp"

namespace {

using namespace quorrin;
using namespace quorrin::fuzz;

// The reader: one card, and what went to and fro since it was inserted.
struct Exchange {
    ByteString command;
    ByteString answer;
};
std::unique_ptr<simulator::CardDevice> inserted;
ByteString blocks;
std::vector<Exchange> exchanges;

void append_block(const ByteString& bytes) {
    blocks = joined({blocks, block(static_cast<std::int64_t>(bytes.size()), bytes)});
}

// A profile's card, fresh and powered.
void insert(const std::filesystem::path& profile) {
    inserted = simulator::load_card_file(profile);
    blocks.clear();
    exchanges.clear();
    ByteString atr(512);
    std::uint32_t length = 0;
    OpenDevice(EG_szDev_Name, &ReaderHandle);
    PowerUp(ReaderHandle, EG_nUserCardType, atr.data(), &length);
}

// What went to and fro, as the recorder sees it.
ByteString recorded_calls() {
    const auto whole = [](const ByteString& bytes) {
        return block(static_cast<std::int64_t>(bytes.size()), bytes);
    };
    ByteString calls = power_on_call(whole(inserted->power_on()));
    for (const Exchange& exchange : exchanges) {
        calls = joined({calls, exchange_call(exchange.command, whole(exchange.answer))});
    }
    return calls;
}

std::uint8_t kind_number(std::string_view name) {
    const auto kinds = decode::data_kinds();
    return static_cast<std::uint8_t>(decode::find_data_kind(name) - kinds.data());
}

// Every exchange as a question to the decoder: its answer, and the command by itself.
void add_meanings(const Seeds& seeds, const std::string& name) {
    const ByteString yuan_and_no_tag{0x00, 156, 0, 0, 0, 0};
    constexpr std::uint8_t answer = 0xFE;
    unsigned number = 0;
    for (const Exchange& exchange : exchanges) {
        const std::string step = name + "-" + std::to_string(number++);
        seeds.add("decode", step + "-answer",
                  joined({{0, answer}, yuan_and_no_tag, piece(exchange.command), exchange.answer}));
        seeds.add("decode", step + "-command",
                  joined({{0, kind_number("command")}, yuan_and_no_tag, {0}, exchange.command}));
    }
}

// One value of each kind that no purchase brings along.
void add_kinds(const Seeds& seeds, const std::string& kind, const ByteString& list,
               const ByteString& data) {
    seeds.add("decode", "kind-" + kind,
              joined({{0, kind_number(kind)}, {0x00, 156, 0, 0, 0, 0}, piece(list), data}));
}

void add_operations(const Seeds& seeds, const std::filesystem::path& profile,
                    const std::string& aid, const std::string& name) {
    const char* application = aid.empty() ? nullptr : aid.c_str();
    const std::uint8_t how = aid == "A000000333010101" ? 2 : 0;

    insert(profile);
    std::vector<char> text(1 << 17);
    getIccInfo(ReaderHandle, application, "ABCDEFGHIJKL", text.data());
    seeds.add("card_information", name, joined({{how}, blocks}));

    for (const std::uint8_t kind : {std::uint8_t{0}, std::uint8_t{4}}) {
        insert(profile);
        GetIcBankCardTrDetail(kind == 0 ? QUORRIN_TRANSACTION_LOG : QUORRIN_LOAD_LOG, ReaderHandle,
                              0, application, text.data());
        seeds.add("card_log", name + (kind == 0 ? "-purchases" : "-loads"),
                  joined({{static_cast<std::uint8_t>(how | kind), 0}, blocks}));
        // The format is the answer to GET DATA, a record each that is read after it.
        ByteString format;
        for (const Exchange& exchange : exchanges) {
            ByteString data = exchange.answer;
            data.resize(data.size() - 2);
            if (exchange.command[1] == 0xCA) {
                format = data;
            } else if (exchange.command[1] == 0xB2 && !format.empty()) {
                seeds.add("log_record", name, joined({piece(format), data}));
                add_kinds(seeds, kind == 0 ? "log-record" : "load-log-record", format, data);
            }
        }
    }

    insert(profile);
    getARQC(ReaderHandle, terminal_data.data(), application, text.data(), text.data() + 100);
    ARPCExeScript(ReaderHandle, 0, issuer_text.data());
    seeds.add(
        "online_purchase", name,
        joined({{how}, piece(from_text(issuer_text)), piece(from_text(terminal_data)), blocks}));
    ByteString commands{0};
    unsigned number = 0;
    for (const Exchange& exchange : exchanges) {
        commands = joined({commands, piece(exchange.command)});
        ByteString data = exchange.answer;
        data.resize(data.size() - 2);
        if (data.empty()) {
            continue;
        }
        const std::string step = name + "-" + std::to_string(number++);
        seeds.add("codec", step, joined({{2, 0x9F, 0x38}, data}));
        seeds.add("store_walk", step, joined({{0, 0, 2, 0x9F, 0x38, 0, 0}, data}));
        seeds.add("keyed_text", step,
                  joined({piece(from_text("ABCDHIJKL")), piece(data), from_text(terminal_data)}));
        for (const ByteString& list :
             {ByteString(gl_CDOL1, gl_CDOL1 + 60), ByteString(gl_PDOL, gl_PDOL + 20)}) {
            const auto end =
                std::find_if(list.rbegin(), list.rend(), [](auto b) { return b != 0; });
            const ByteString used(list.begin(), end.base());
            seeds.add(
                "dol", step + "-" + std::to_string(used.size()),
                joined({{static_cast<std::uint8_t>(used.size() < 20 ? 1 : 0)}, piece(data), used}));
        }
    }
    seeds.add("simulated_card", name, commands);
    seeds.add("recorder", name, recorded_calls());
    add_meanings(seeds, name);

    if (aid.empty()) {
        insert(profile);
        CloseAllDevice();
        blocks.clear();
        std::int32_t length = 0;
        std::uint8_t name_length = 0;
        ByteString holder(252);
        ICRT_GetICPanName(QUORRIN_USER_CONTACT, 0, text.data(), &length, holder.data(),
                          &name_length);
        seeds.add("pan_and_name", name, joined({{0}, blocks}));
    }
}

std::string hex_text(const ByteString& bytes) {
    std::string text(2 * bytes.size(), '\0');
    bcd_to_asc(text.data(), bytes.data(), static_cast<std::int32_t>(text.size()), 0);
    return text;
}

ByteString contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void make_seeds(const std::filesystem::path& profiles, const Seeds& seeds) {
    for (const auto& entry : std::filesystem::directory_iterator(profiles)) {
        if (entry.path().extension() != ".toml") {
            continue;
        }
        const std::string name = entry.path().stem();
        const auto profile = simulator::load_profile(read_configuration(entry.path()));
        add_operations(seeds, entry.path(), "", name);
        for (const auto& application : profile.applications) {
            const std::string aid = hex_text(application.aid);
            add_operations(seeds, entry.path(), aid, name + "-" + aid);
        }
        seeds.add("card_profile", name, contents(entry.path()));
    }
    ByteString issuer_data(issuer_text.size() / 2);
    asc_to_bcd(issuer_data.data(), issuer_text.data(),
               static_cast<std::int32_t>(issuer_text.size()), 0);
    const auto size = static_cast<std::uint8_t>(issuer_data.size());
    seeds.add("issuer_data", "approval",
              joined({{0, size}, issuer_data, {0, 2, 0x90, 0, 0, 2, 0x6A, 0x82, 0xFF, 0xF5}}));
    for (const auto& kind : decode::data_kinds()) {
        add_kinds(seeds, std::string(kind.name), {},
                  from_text(kind.name == "keyed-text" ? terminal_data : "20260101"));
    }
    seeds.add("pcsc_settings", "everything",
              joined({piece(from_text("Desk Reader 5422CL 00 00")),
                      piece(from_text("Desk Reader SAM 00 01")),
                      {0},
                      from_text(R"(contact = "#0"
contactless = "5422cl"
sam1 = "none"
sam2 = "Desk Reader SAM 00 01"
wait = 30
access = "shared"
)")}));
    seeds.add("reader_file", "faults", from_text(R"([reader]
name = "Desk"
serial = "1"
[contact]
profile = "debit.toml"
[contact.t0]
portion = 16
[[fault]]
slot = "contact"
command = "00 B2 xx xx"
occurrence = 2
always = true
status = "69 82"
[[fault]]
slot = "contact"
exchange = 2
result = -11
)"));
}

}  // namespace

// The library looks them up here.
#pragma GCC visibility push(default)

int64_t ICC_Reader_Open(char* /*name*/) {
    return 7;
}
int64_t ICC_Reader_Close(void) {
    return 0;
}
int64_t ICC_Reader_PowerOff(int64_t /*handle*/, int /*slot*/) {
    return 0;
}
int64_t ICC_Reader_GetSerial(int64_t /*handle*/, char* /*serial*/) {
    return 0;
}

int64_t ICC_Reader_PowerOn(int64_t /*handle*/, int /*slot*/, uint8_t* atr) {
    const ByteString answer = inserted->power_on();
    append_block(answer);
    std::ranges::copy(answer, atr);
    return static_cast<std::int64_t>(answer.size());
}

int64_t ICC_Reader_Application(int64_t /*handle*/, int /*slot*/, int64_t length, uint8_t* command,
                               uint8_t* response) {
    const ByteString sent(command, command + length);
    const ByteString answer = inserted->transmit(sent);
    append_block(answer);
    exchanges.push_back({sent, answer});
    std::ranges::copy(answer, response);
    return static_cast<std::int64_t>(answer.size());
}

#pragma GCC visibility pop

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("seed_maker PROFILES OUT\n", stderr);
        return 2;
    }
    try {
        make_seeds(argv[1], Seeds(argv[2]));
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "seed_maker: %s\n", failure.what());
        return 1;
    }
}
