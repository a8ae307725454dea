// The table in docs/card-behaviour.md, row by row.
#include <fstream>
#include <map>
#include <sstream>

#include "reader_libraries/simulator/t0_framing.hpp"
#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

struct DocumentedRow {
    std::string state;
    std::string command;
    std::string answer;
    std::string source;
    int line = 0;
};

std::vector<DocumentedRow> documented_rows() {
    std::ifstream page(QUORRIN_BEHAVIOUR_PAGE);
    std::vector<DocumentedRow> rows;
    int number = 0;
    for (std::string line; std::getline(page, line);) {
        ++number;
        std::vector<std::string> cells;
        std::istringstream text(line);
        for (std::string cell; std::getline(text, cell, '|');) {
            const auto begin = cell.find_first_not_of(" `");
            const auto end = cell.find_last_not_of(" `");
            cells.push_back(begin == std::string::npos ? "" : cell.substr(begin, end - begin + 1));
        }
        if (cells.size() == 6 && cells[0].empty() && cells[1] != "State" && cells[1][0] != '-') {
            rows.push_back({cells[1], cells[2], cells[4], cells[5], number});
        }
    }
    return rows;
}

class CardOverT0 final : public simulator::CardDevice {
  public:
    explicit CardOverT0(std::unique_ptr<simulator::CardDevice> card) : card_(std::move(card)) {}
    simulator::ByteString power_on() override { return framing_.power_on(); }
    void power_off() override { framing_.power_off(); }
    simulator::ByteString transmit(std::span<const std::uint8_t> command) override {
        return framing_.transmit(command);
    }

  private:
    std::unique_ptr<simulator::CardDevice> card_;
    simulator::T0Framing framing_{*card_, {}};
};

class CardBehaviour : public CardTest {
  protected:
    void options() {
        terminal.select(first_aid);
        terminal.get_options();
        terminal.read_records();
    }
    void block_application() {
        terminal.purchase(first_aid);
        terminal.run_scripts(answer_with({bank::application_block()}));
        terminal.select(first_aid);
    }

    // The test profile's bank; its method is that of the card.
    bank::CardProduct product = test_bank();

    bank::OnlineAnswer issuers_answer(const bank::Decision& decision = {}) {
        return bank::answer_online(product, terminal.online_request(), decision);
    }
    void insert(const char* shipped) {
        terminal = Terminal(
            simulator::load_card_file(std::string(QUORRIN_PROFILES) + "/" + shipped + ".toml"));
    }
    void options_of_the_card_with_keys() {
        insert("full");
        options();
    }
    void select_quick(const char* qualifiers, const char* amount) {
        insert("quick");
        terminal.values["9F66"] = hex(qualifiers);
        terminal.values["9F02"] = hex(amount);
        terminal.select(first_aid);
    }
    // The issuer's answer by method 2 with this second byte of its card status update.
    void update_status(std::uint8_t second_byte, cryptography::ResponseCode code = {'0', '0'}) {
        terminal = Terminal(card_of(changed(test_profile(), "[keys]", "arpc_method = 2\n[keys]")));
        product.arpc_method = cryptography::ArpcMethod::Method2;
        terminal.purchase(first_aid);
        bank::Decision decision;
        decision.response_code = code;
        decision.status_update = {0x00, second_byte, 0x00, 0x00};
        EXPECT_EQ(terminal.authenticate(issuers_answer(decision)).status, 0x9000U);
    }

    std::optional<bank::OnlineRequest> arqc_request;  // where another cryptogram came after it

    void bring_to(const std::string& state) {
        terminal = Terminal(card_of(test_profile()));
        product = test_bank();
        arqc_request.reset();
        const std::map<std::string, std::function<void()>> ways{
            {"nothing selected", [] {}},
            {"directory selected", [&] { terminal.select(text_bytes("1PAY.SYS.DDF01")); }},
            {"contactless directory selected",
             [&] {
                 insert("quick");
                 terminal.select(text_bytes("2PAY.SYS.DDF01"));
             }},
            {"application selected", [&] { terminal.select(first_aid); }},
            {"nothing selected, T=0",
             [&] { terminal = Terminal(std::make_unique<CardOverT0>(card_of(test_profile()))); }},
            {"application selected, T=0",
             [&] {
                 terminal = Terminal(std::make_unique<CardOverT0>(card_of(test_profile())));
                 terminal.send("00A4040008A000000333010101");
             }},
            {"options given, a card with keys", [&] { options_of_the_card_with_keys(); }},
            {"ARQC given, a card with keys",
             [&] {
                 options_of_the_card_with_keys();
                 terminal.generate_ac(0x80);
             }},
            {"quick card selected, a small amount",
             [&] { select_quick("20000000", "000000000100"); }},
            {"quick card selected, a large amount",
             [&] { select_quick("20000000", "000000900000"); }},
            {"quick card selected, a large amount offline",
             [&] { select_quick("28000000", "000000900000"); }},
            {"quick cryptogram given",
             [&] {
                 select_quick("20000000", "000000900000");
                 terminal.get_options();
                 terminal.read_records();
                 terminal.cryptogram_answer = terminal.options;
             }},
            {"AAC given",
             [&] {
                 options();
                 terminal.generate_ac(0x00);
             }},
            {"issuer authentication failed",
             [&] {
                 terminal.purchase(first_aid);
                 terminal.send("008200000A00000000000000003030");
             }},
            {"unable to go online",
             [&] {
                 terminal.purchase(first_aid);
                 terminal.values["8A"] = text_bytes("Y3");
             }},
            {"status update without approval",
             [&] {
                 update_status(0x00, {'0', '5'});
             }},
            {"status update blocks the application", [&] { update_status(0x20); }},
            {"status update blocks the card", [&] { update_status(0x40); }},
            {"options given", [&] { options(); }},
            {"ARQC given", [&] { terminal.purchase(first_aid); }},
            {"issuer authenticated",
             [&] {
                 terminal.purchase(first_aid);
                 terminal.authenticate(answer());
             }},
            {"TC given",
             [&] {
                 options();
                 terminal.generate_ac(0x40);
             }},
            {"second cryptogram given",
             [&] {
                 terminal.purchase(first_aid);
                 arqc_request = terminal.online_request();
                 terminal.generate_ac(0x40);
             }},
            {"application blocked", [&] { block_application(); }},
            {"application blocked, AAC given",
             [&] {
                 block_application();
                 terminal.get_options();
                 terminal.generate_ac(0x80);
             }},
            {"card blocked after the ARQC",
             [&] {
                 terminal.purchase(first_aid);
                 terminal.run_scripts(answer_with({bank::card_block()}));
             }},
            {"PIN tries used up",
             [&] {
                 terminal.select(first_aid);
                 for (int i = 0; i < 3; ++i) {
                     terminal.send("0020008008 241111FFFFFFFFFF");
                 }
             }},
        };
        ASSERT_TRUE(ways.contains(state)) << state;
        ways.at(state)();
    }

    CardReply send(const std::string& command) {
        const std::map<std::string, bank::ScriptCommand> scripts{
            {"sealed APPLICATION BLOCK", bank::application_block()},
            {"sealed APPLICATION UNBLOCK", bank::application_unblock()},
            {"sealed CARD BLOCK", bank::card_block()},
            {"sealed PIN UNBLOCK", bank::pin_unblock()},
            {"sealed PUT DATA 9F79", bank::put_data(0x9F79, hex("000000020000"))},
            {"sealed PUT DATA 9F6D", bank::put_data(0x9F6D, hex("000000020000"))},
            {"sealed PUT DATA 9F79, class 8C",
             bank::put_data(0x9F79, hex("000000020000"), bank::CommandClass::SecureObjects)},
            {"sealed UPDATE RECORD", bank::update_record(3, 1, hex("7000"))},
            {"sealed UPDATE RECORD without data", bank::update_record(3, 1, {})},
        };
        if (const auto script = scripts.find(command); script != scripts.end()) {
            bank::Decision decision;
            decision.scripts.push_back(
                {bank::ScriptPhase::AfterFinalCryptogram, {}, {script->second}});
            const auto request = arqc_request ? *arqc_request : terminal.online_request();
            return terminal.run_scripts(bank::answer_online(product, request, decision)).at(0);
        }
        if (command == "GET PROCESSING OPTIONS") {
            return terminal.get_options();
        }
        if (command == "EXTERNAL AUTHENTICATE, right") {
            return terminal.authenticate(issuers_answer());
        }
        if (command == "VERIFY, enciphered") {
            constexpr std::uint8_t size = 112;  // of the card's key for PINs
            return terminal.send(join(hex("00200088"), ByteString{size}, filled(size, 0x00)));
        }
        if (command.starts_with("GENERATE AC ")) {
            return terminal.generate_ac(hex(command.substr(12)).at(0));
        }
        return terminal.send(command);
    }
};

// "9000", "6C05", or with the cryptogram's type behind it: "9000 TC".
std::string told(const std::string& command, const CardReply& reply) {
    std::string text = to_hex(ByteString{static_cast<std::uint8_t>(reply.status >> 8),
                                         static_cast<std::uint8_t>(reply.status)});
    // What GET CHALLENGE gives is random, and now and then begins like a template.
    const bool is_random = command.starts_with("0084");
    if (!is_random && !reply.data.empty() && reply.data[0] == 0x77) {
        if (const auto information = element(reply.data, "9F27")) {
            text += information->at(0) == 0x80   ? " ARQC"
                    : information->at(0) == 0x40 ? " TC"
                                                 : " AAC";
        } else if (element(reply.data, "9F26")) {
            // Without 9F27 the type is in the card verification results.
            const std::uint8_t results = expect_element(reply.data, "9F10").at(4);
            text += results == 0xA0 ? " ARQC" : results == 0x90 ? " TC" : " AAC";
        }
    }
    return text;
}

TEST_F(CardBehaviour, IsAsTheTableHasIt) {
    const auto rows = documented_rows();
    ASSERT_GE(rows.size(), 110U);
    for (const DocumentedRow& row : rows) {
        SCOPED_TRACE("line " + std::to_string(row.line) + ": " + row.state + ", " + row.command);
        bring_to(row.state);
        EXPECT_EQ(told(row.command, send(row.command)), row.answer);
        EXPECT_FALSE(row.source.empty());
    }
}

}  // namespace
}  // namespace quorrin::test
