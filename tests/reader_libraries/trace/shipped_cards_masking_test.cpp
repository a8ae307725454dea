// Every shipped card, asked for all that it has, over T=1 and T=0: nothing of its account, its holder or
// its PIN is shown.

#include <gtest/gtest.h>

#include <regex>

#include "reader_libraries/simulator/card/profile_card.hpp"
#include "reader_libraries/simulator/t0_framing.hpp"
#include "reader_libraries/trace/masking/card_masking.hpp"
#include "tests/support/bytes.hpp"

namespace quorrin::trace {
namespace {

using test::ByteString;

std::string text_of(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// What of a profile must not be seen, as hex text.
struct Secrets {
    std::vector<std::string> in_answers;
    std::vector<std::string> pins;
};

std::vector<std::string> all_matches(const std::string& text, const char* pattern) {
    const std::regex expression(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at) {
        found.push_back((*at)[1]);
        std::erase(found.back(), ' ');
    }
    return found;
}

Secrets secrets_of(const std::string& profile) {
    Secrets secrets;
    const auto add_account = [&secrets](const std::string& digits) {
        secrets.in_answers.push_back(digits.substr(0, 12));
        secrets.in_answers.push_back(digits.substr(digits.size() - 12));
        secrets.in_answers.push_back(test::to_hex(test::text_bytes(digits)));
    };
    for (const auto& pan : all_matches(profile, R"re("5A ([0-9 ]+))re")) {
        add_account(pan);
    }
    for (const auto& pan : all_matches(profile, R"re("57 ([0-9 ]+)D)re")) {
        add_account(pan);
    }
    for (const auto& rest : all_matches(profile, R"re("57 [0-9 ]+D([0-9 ]+))re")) {
        secrets.in_answers.push_back(rest);
    }
    for (const auto& text :
         all_matches(profile, R"re("(?:5F20|9F0B|9F61|9F1F|9F20|56) '([^']+)')re")) {
        secrets.in_answers.push_back(test::to_hex(test::text_bytes(text)));
    }
    // Spaces count in texts.
    for (const auto& text : all_matches(profile, R"re("5F20 '([^ ']+))re")) {
        secrets.in_answers.push_back(test::to_hex(test::text_bytes(text)));
    }
    secrets.pins = all_matches(profile, R"re(pin = "([0-9]+)")re");
    return secrets;
}

// A host that asks a card for everything, and what a trace shows of it.
class CuriousHost {
  public:
    explicit CuriousHost(simulator::CardDevice& card) : card_(card) { card_.power_on(); }

    // Sends a command, fetches the answer as over T=0, keeps what is shown and what was there.
    ByteString send(const ByteString& command) {
        std::string shown;
        ByteString whole;
        ByteString answer = exchange(command, shown);
        if (answer.size() == 2 && answer[0] == 0x6C) {
            ByteString again(command.begin(), command.begin() + 4);
            again.push_back(answer[1]);
            answer = exchange(again, shown);
        }
        whole.assign(answer.begin(), answer.end() - 2);
        while (answer.size() >= 2 && answer[answer.size() - 2] == 0x61) {
            answer = exchange({0x00, 0xC0, 0x00, 0x00, answer.back()}, shown);
            whole.insert(whole.end(), answer.begin(), answer.end() - 2);
        }
        shown_.push_back(shown);
        clear_.push_back(test::to_hex(whole));
        whole.insert(whole.end(), answer.end() - 2, answer.end());
        return whole;
    }
    ByteString send(std::string_view command) { return send(test::hex(command)); }

    // The same command with longer and longer data, until the card is content.
    void send_until_accepted(std::uint8_t instruction, std::uint8_t p1, bool template_83) {
        for (std::uint8_t size = 0; size < 120; ++size) {
            ByteString data(size, 0x00);
            if (template_83) {
                data.insert(data.begin(), {0x83, size});
            }
            ByteString command = {0x80, instruction, p1, 0x00,
                                  static_cast<std::uint8_t>(data.size())};
            command.insert(command.end(), data.begin(), data.end());
            command.push_back(0x00);
            const ByteString answer = send(command);
            if (answer[answer.size() - 2] == 0x90) {
                return;
            }
        }
    }

    const std::vector<std::string>& shown() const { return shown_; }
    const std::vector<std::string>& clear() const { return clear_; }
    const std::vector<std::string>& commands() const { return commands_; }

  private:
    ByteString exchange(const ByteString& command, std::string& shown) {
        const ByteString answer = card_.transmit(command);
        DigitMask command_mask;
        DigitMask answer_mask;
        masking_.exchange(command, answer, secrets_, command_mask, answer_mask);
        commands_.push_back(text(command, command.size(), command_mask));
        shown += text(answer, answer.size() - 2, answer_mask);
        return answer;
    }
    static std::string text(const ByteString& bytes, std::size_t size, const DigitMask& mask) {
        std::string text = test::to_hex(bytes).substr(0, 2 * size);
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (mask.is_hidden(i)) {
                text[i] = '*';
            }
        }
        return text;
    }

    simulator::CardDevice& card_;
    CardMasking masking_;
    KnownSecrets secrets_;
    std::vector<std::string> shown_;
    std::vector<std::string> clear_;
    std::vector<std::string> commands_;
};

void read_all_records(CuriousHost& host) {
    for (unsigned file = 1; file <= 30; ++file) {
        for (unsigned record = 1; record <= 12; ++record) {
            const ByteString answer =
                host.send(ByteString{0x00, 0xB2, static_cast<std::uint8_t>(record),
                                     static_cast<std::uint8_t>(file << 3 | 4), 0x00});
            if (answer[answer.size() - 2] != 0x90) {
                break;
            }
        }
    }
}

void ask_for_everything(CuriousHost& host, const std::string& profile, const Secrets& secrets) {
    host.send("00A404000E315041592E5359532E444446303100");
    read_all_records(host);
    host.send("00A404000E325041592E5359532E444446303100");
    for (const std::string& aid : all_matches(profile, R"re(aid = "([0-9A-F]+)")re")) {
        const ByteString name = test::hex(aid);
        ByteString select = {0x00, 0xA4, 0x04, 0x00, static_cast<std::uint8_t>(name.size())};
        select.insert(select.end(), name.begin(), name.end());
        select.push_back(0x00);
        host.send(select);
        for (const char* tag : {"9F4F", "DF4F", "9F79", "9F77", "9F78", "9F6D", "9F36", "9F13",
                                "9F17", "005A", "0057", "5F20", "9F61", "9F1F"}) {
            host.send("80CA" + std::string(tag) + "00");
        }
        host.send_until_accepted(0xA8, 0x00, true);
        read_all_records(host);
        for (const std::string& pin : secrets.pins) {
            const std::string padded = (pin + "FFFFFFFFFFFFFF").substr(0, 14);
            host.send(
                "002000800"
                "82" +
                std::to_string(pin.size()) + padded);
        }
        host.send_until_accepted(0xAE, 0x80, false);
        host.send(
            "8424000104"
            "11223344");
    }
}

class ShippedCardMasking : public testing::TestWithParam<std::string> {};

TEST_P(ShippedCardMasking, ShowsNothingOfAccountHolderOrPin) {
    const auto file = std::filesystem::path(QUORRIN_PROFILES) / (GetParam() + ".toml");
    const std::string profile = text_of(file);
    const Secrets secrets = secrets_of(profile);
    ASSERT_FALSE(secrets.in_answers.empty());
    struct Line {
        bool t0;
        simulator::T0Settings settings;
    };
    const Line lines[] = {{false, {}},
                          {true, {}},
                          {true, {.portion = 16}},
                          {true, {.portion = 7, .wrong_le = false}},
                          {true, {.portion = 1, .wrong_le = false}}};
    for (const Line& line : lines) {
        const auto card = simulator::load_card_file(file);
        simulator::T0Framing framing(*card, line.settings);
        CuriousHost host(line.t0 ? static_cast<simulator::CardDevice&>(framing) : *card);
        ask_for_everything(host, profile, secrets);

        for (const std::string& secret : secrets.in_answers) {
            const auto holds = [&secret](const std::string& text) {
                return text.find(secret) != std::string::npos;
            };
            // The card told it, if it was in one of its records; the trace does not.
            EXPECT_TRUE(std::ranges::none_of(host.shown(), holds)) << secret;
            EXPECT_TRUE(std::ranges::none_of(host.commands(), holds)) << secret;
        }
        EXPECT_TRUE(std::ranges::any_of(host.clear(), [&](const std::string& text) {
            return text.find(secrets.in_answers.front()) != std::string::npos;
        }));
        for (const std::string& pin : secrets.pins) {
            EXPECT_TRUE(std::ranges::none_of(host.commands(), [&pin](const std::string& command) {
                return command.starts_with("0020") && command.find(pin, 10) != std::string::npos;
            }));
        }
        // And what says nothing of them stays.
        EXPECT_TRUE(std::ranges::any_of(host.shown(),
                                        [](const std::string& text) {
                                            return text.starts_with("9F3602") &&
                                                   text.find('*') == std::string::npos;
                                        }) ||
                    line.settings.portion == 1);
    }
}

std::vector<std::string> shipped() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(QUORRIN_PROFILES)) {
        if (entry.path().extension() == ".toml") {
            names.push_back(entry.path().stem());
        }
    }
    std::ranges::sort(names);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Cards, ShippedCardMasking, testing::ValuesIn(shipped()),
                         [](const auto& row) { return row.param; });

}  // namespace
}  // namespace quorrin::trace
