// generate_traces DIRECTORY EXCHANGES: the traces of a fleet of terminals over three days, a file each.
// The same every time, and made of what the recorder itself makes lines of. What there is to be found:
//
//   T0017    its cards of A000000333010102 refuse GENERATE AC with 6985
//   T0023    cards are pulled out at EXTERNAL AUTHENTICATE, one in seven
//   T0031    has another reader on the last day
//   T0042    takes three times as long on the last day
//   T0055    is silent on the last day; T0066 is there on the last day only
//   each third terminal speaks T=0 with its cards: 61xx and 6Cxx
//   T0077    has the slowest exchange of all, of 9.5 seconds
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "reader_libraries/trace/line_writing.hpp"
#include "reader_libraries/trace/masking/card_masking.hpp"

namespace {

using namespace quorrin::trace;
using ByteString = std::vector<std::uint8_t>;

constexpr int terminals = 240;
constexpr int days = 3;
constexpr std::int64_t first_day = 1795046400'000'000;  // 2026-11-19T00:00:00Z
constexpr std::int64_t day_length = 86'400'000'000;
constexpr int exchanges_of_a_purchase = 16;  // 13, and 23 over T=0

ByteString bytes(std::string_view text) {
    const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'A' + 10; };
    ByteString result;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        result.push_back(static_cast<std::uint8_t>(digit(text[i]) << 4 | digit(text[i + 1])));
    }
    return result;
}

// Knuth's MMIX generator: the same everywhere.
class Random {
  public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    std::int64_t below(std::int64_t limit) {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::int64_t>((state_ >> 33) % static_cast<std::uint64_t>(limit));
    }

  private:
    std::uint64_t state_;
};

struct Step {
    ByteString command;
    ByteString data;  // of the answer
    ByteString status;
};

std::vector<Step> purchase(std::string_view aid) {
    const std::string name(aid);
    const auto step = [](const std::string& command, const std::string& data,
                         const std::string& status = "9000") {
        return Step{bytes(command), bytes(data), bytes(status)};
    };
    return {
        step("00A404000E315041592E5359532E444446303100",
             "6F1E840E315041592E5359532E4444463031A50C8801015F2D027A689F110101"),
        step("00B2010C00", "701B61194F08" + name +
                               "500A50424F432044454249548701"
                               "01"),
        step("00B2020C00", "", "6A83"),
        step("00A4040008" + name + "00",
             "6F248408" + name + "A518500A50424F432044454249549F38099F7A019F02065F2A02"),
        step("80A800000B8309000000000128500156"
             "00",
             "770E82021C0094080801010010010200"),
        step("00B2010C00",
             "70415713"
             "9999010000000011D30122010000012300000F"
             "5F2010544553542F4341524420484F4C444552"
             "9F6112544553543030303030303030303030303031"
             "9F620100"),
        step("00B2011400",
             "703E5A0899990100000000115F3401015F24033012315F25032001015F280201569F420201569F0702FF0"
             "09F080200308E0E000000000000000042035E031F00"),
        step("00B2021400",
             "70398C1B9F02069F03069F1A0295055F2A029A039C019F37049F21039F4E148D1A8A029F02069F03069F1"
             "A0295055F2A029A039C019F37049F2103"),
        step("80CA9F3600", "9F3602000B"),
        step("80AE800034000000012850000000000000000000000000000156261121000000000012453454455354205"
             "44541204"
             "84F5553452020202020"
             "00",
             "771F9F2701809F3602000C9F260811547054FB33903D9F100807010103A0000001"),
        step("008200000ACF99225022F842C53030", ""),
        step("04DA9F780A0000000080005154DB0D", ""),
        step("80CA9F7900", "9F7906000000010000"),
    };
}

class Terminal {
  public:
    Terminal(int number, const std::filesystem::path& directory)
        : number_(number), random_(static_cast<std::uint64_t>(number)) {
        char name[16];
        std::snprintf(name, sizeof name, "T%04d", number);
        name_ = name;
        file_.open(directory / (name_ + ".jsonl"), std::ios::binary);
    }

    void purchases(std::int64_t count) {
        for (std::int64_t i = 0; i < count; ++i) {
            const auto day = static_cast<int>(i * days / count);
            if ((number_ == 55 && day == days - 1) || (number_ == 66 && day != days - 1)) {
                continue;
            }
            now_ = first_day + day * day_length + (i * days % count) * (day_length / count) +
                   random_.below(1000);
            one_purchase(day, i);
        }
    }
    bool is_good() { return static_cast<bool>(file_.flush()); }

  private:
    void record(Call call, std::int64_t microseconds) {
        call.began = now_;
        call.duration = microseconds * 1000;
        now_ += microseconds + 50;
        Shown shown;
        if (call.action == Action::Exchange) {
            masking_.exchange(call.command, call.answer, secrets_, command_mask_, answer_mask_);
            shown = {true, &command_mask_, &answer_mask_, masking_.application()};
        }
        const std::string_view line =
            writer_.line(call, {name_, session_, 1000 + number_}, ++sequence_, shown);
        file_.write(line.data(), static_cast<std::streamsize>(line.size()));
    }

    void exchange(const ByteString& command, const ByteString& answer, std::int64_t microseconds) {
        record({.action = Action::Exchange,
                .handle = 1,
                .slot = 1,
                .result = static_cast<std::int64_t>(answer.size()),
                .command_length = static_cast<std::int64_t>(command.size()),
                .command = command,
                .answer = answer},
               microseconds);
    }

    // One command as the card's protocol has it.
    void step(const Step& step, std::int64_t microseconds) {
        ByteString answer = step.data;
        answer.insert(answer.end(), step.status.begin(), step.status.end());
        if (number_ % 3 != 0 || step.data.empty()) {
            return exchange(step.command, answer, microseconds);
        }
        const auto size = static_cast<std::uint8_t>(step.data.size());
        if (step.command.size() == 5) {
            exchange(step.command, {0x6C, size}, microseconds / 2);
            ByteString again = step.command;
            again[4] = size;
            return exchange(again, answer, microseconds / 2);
        }
        exchange(step.command, {0x61, size}, microseconds / 2);
        exchange({0x00, 0xC0, 0x00, 0x00, size}, answer, microseconds / 2);
    }

    void one_purchase(int day, std::int64_t number) {
        sequence_ = 0;
        session_ = name_ + "-" + std::to_string(number + 1);
        const char* reader = number_ == 31 && day == days - 1 ? "Desk reader 2" : "Desk reader 1";
        record({.action = Action::Open, .result = 1, .text = reader}, 900 + random_.below(200));
        const ByteString atr = bytes("3B6D000053494D20544553542043415244");
        masking_.power_on();
        record({.action = Action::PowerOn,
                .handle = 1,
                .slot = 1,
                .result = static_cast<std::int64_t>(atr.size()),
                .answer = atr},
               40'000 + random_.below(5000));
        const bool credit = random_.below(4) == 0;
        auto steps = purchase(credit ? "A000000333010102" : "A000000333010101");
        for (std::size_t i = 0; i < steps.size(); ++i) {
            std::int64_t time =
                8000 + 40 * static_cast<std::int64_t>(steps[i].data.size()) + random_.below(4000);
            if (number_ == 42 && day == days - 1) {
                time *= 3;
            }
            if (number_ == 77 && number == 0 && i == 9) {
                time = 9'500'000;
            }
            if (number_ == 17 && credit && i == 9) {
                step({steps[i].command, {}, {0x69, 0x85}}, time);
                break;
            }
            if (number_ == 23 && i == 10 && number % 7 == 0) {
                record({.action = Action::Exchange,
                        .handle = 1,
                        .slot = 1,
                        .result = -2,
                        .command_length = static_cast<std::int64_t>(steps[i].command.size()),
                        .command = steps[i].command},
                       time);
                break;
            }
            step(steps[i], time);
        }
        record({.action = Action::PowerOff, .handle = 1, .slot = 1}, 1000);
        record({.action = Action::Close}, 300);
    }

    int number_;
    Random random_;
    std::string name_;
    std::string session_;
    std::ofstream file_;
    std::int64_t now_ = 0;
    std::uint64_t sequence_ = 0;
    CardMasking masking_;
    KnownSecrets secrets_;
    DigitMask command_mask_;
    DigitMask answer_mask_;
    LineWriter writer_;
};

}  // namespace

int main(int count, char** arguments) {
    const std::int64_t exchanges = count == 3 ? std::atoll(arguments[2]) : 0;
    if (exchanges <= 0) {
        std::fprintf(stderr, "usage: generate_traces DIRECTORY EXCHANGES\n");
        return 2;
    }
    std::filesystem::create_directories(arguments[1]);
    const std::int64_t of_a_terminal = exchanges / terminals / exchanges_of_a_purchase + 1;
    for (int number = 1; number <= terminals; ++number) {
        Terminal terminal(number, arguments[1]);
        terminal.purchases(of_a_terminal);
        if (!terminal.is_good()) {
            std::fprintf(stderr, "generate_traces: cannot write to %s\n", arguments[1]);
            return 1;
        }
    }
    return 0;
}
