// Every single exchange of every bank card operation with every shipped card fails in every way: the
// result is that of the rules (operation_rules.hpp), and the next operation on a good card works.
//
// The outcomes are printed as a table for each profile and kept in outcomes/. After a change that is
// meant, scripts/fault-matrix writes them anew.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "quorrin/quorrin.h"
#include "reader_libraries/simulator/card/profile_card.hpp"
#include "reader_libraries/simulator/card/profile_loading.hpp"
#include "tests/purchase/fault_matrix/faults.hpp"
#include "tests/purchase/fault_matrix/operation_rules.hpp"
#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

constexpr int contact_slot_code = 0x01;
constexpr const char* terminal_data =
    "P012000000001000Q012000000000000R0040156S006260101T00200U006120000V020TEST MERCHANT       ";
constexpr const char* issuer_text =
    "8A02303089065130303030319108112233445566778871189F180400000001860F04DA9F780A000000080000112233"
    "44"
    "72128610841E00000B0102030405060708090A0B";

struct OperationRow {
    Operation operation;
    const char* name;
};
constexpr OperationRow operations[] = {
    {Operation::CardHolderInformation, "getIccInfo"},
    {Operation::Cryptogram, "getARQC"},
    {Operation::IssuerAnswer, "ARPCExeScript"},
    {Operation::TransactionLog, "GetIcBankCardTrDetail"},
    {Operation::PanAndName, "ICRT_GetICPanName"},
};

// A card in the reader of which one exchange goes wrong.
class DisturbedCard {
  public:
    explicit DisturbedCard(const std::filesystem::path& profile)
        : card_(simulator::load_card_file(profile)) {}

    // From now on exchanges are counted; the one with this number is disturbed.
    void begin(std::optional<std::size_t> number, const Fault* fault) {
        exchanges_.clear();
        number_ = number;
        fault_ = fault;
    }

    Answer exchange(const ByteString& command) {
        Answer given = answer(card_->transmit(command));
        if (number_ && exchanges_.size() == *number_) {
            given = fault_->disturb(*fault_, given.bytes);
        } else if (number_ && exchanges_.size() == *number_ + 1 &&
                   answers_bare(exchanges_.back())) {
            given = answer("6F00");  // nothing comes after what was announced
        }
        exchanges_.push_back({command, given});
        return given;
    }

    simulator::CardDevice& device() { return *card_; }
    const std::deque<Exchange>& exchanges() const { return exchanges_; }

  private:
    static bool answers_bare(const Exchange& exchange) {
        const Answer& given = exchange.answer;
        return given.result == 2 && (given.bytes[0] == 0x61 || given.bytes[0] == 0x6C);
    }

    std::unique_ptr<simulator::CardDevice> card_;
    std::deque<Exchange> exchanges_;
    std::optional<std::size_t> number_;
    const Fault* fault_ = nullptr;
};

// What an operation gave.
struct Outcome {
    std::int64_t result = 0;
    std::string text;
};

class FaultMatrix : public LibraryTest, public testing::WithParamInterface<std::filesystem::path> {
  protected:
    void insert(DisturbedCard& card) {
        reader().power_on[contact_slot_code] = answer(card.device().power_on());
        reader().card = [&card](const ByteString& command) { return card.exchange(command); };
        ReaderHandle = 7;
    }

    static std::string text_of(const std::vector<char>& room) { return room.data(); }

    // Runs an operation from power-on.
    Outcome run(Operation operation, const std::string& aid, DisturbedCard& card,
                std::optional<std::size_t> number, const Fault* fault) {
        reader().calls.clear();
        reader().lines_logged_before.clear();
        insert(card);
        card.begin(number, fault);
        std::vector<char> out(4096);
        std::vector<char> more(1024);
        Outcome outcome;
        switch (operation) {
            case Operation::CardHolderInformation:
                outcome.result = getIccInfo(ReaderHandle, aid.c_str(), "ABCDEFGHIJKL", out.data());
                break;
            case Operation::Cryptogram:
                outcome.result =
                    getARQC(ReaderHandle, terminal_data, aid.c_str(), out.data(), more.data());
                out.assign(out.size(), '\0');  // counts: it differs each time
                break;
            case Operation::IssuerAnswer:
                card.begin(std::nullopt, nullptr);
                EXPECT_EQ(
                    getARQC(ReaderHandle, terminal_data, aid.c_str(), out.data(), more.data()), 0);
                card.begin(number, fault);
                out.assign(out.size(), '\0');
                outcome.result = ARPCExeScript(ReaderHandle, 0, issuer_text);
                EXPECT_EQ(gl_Iss_NumScriptRslt, 2) << "both scripts have a result";
                break;
            case Operation::TransactionLog:
                outcome.result = GetIcBankCardTrDetail(QUORRIN_TRANSACTION_LOG, ReaderHandle, 0,
                                                       aid.c_str(), out.data());
                break;
            case Operation::PanAndName: {
                std::int32_t length = 0;
                std::uint8_t name_length = 0;
                outcome.result =
                    ICRT_GetICPanName(QUORRIN_USER_CONTACT, 0, out.data(), &length,
                                      reinterpret_cast<std::uint8_t*>(more.data()), &name_length);
                break;
            }
        }
        outcome.text = text_of(out) + text_of(more);
        return outcome;
    }
};

// The outcomes of one exchange under all faults, as the table has them.
class Cells {
  public:
    void add(const Fault& fault, std::int64_t own_code, std::int64_t result) {
        if (columns_.empty() || columns_.back().first != fault.column) {
            columns_.push_back({fault.column, {}});
        }
        columns_.back().second.push_back({fault.name, own_code, result});
    }

    std::string text() const {
        std::string line;
        for (const auto& [column, outcomes] : columns_) {
            line += (line.empty() ? "" : " | ") + in_one(outcomes);
        }
        return line;
    }
    std::string header() const {
        std::string line;
        for (const auto& [column, outcomes] : columns_) {
            line += (line.empty() ? "" : " | ") + column;
        }
        return line;
    }

  private:
    struct One {
        std::string fault;
        std::int64_t own_code;
        std::int64_t result;
    };

    static std::string in_one(const std::vector<One>& outcomes) {
        if (outcomes.size() > 1 &&
            std::ranges::all_of(outcomes, [](const One& o) { return o.result == o.own_code; })) {
            return "its own";
        }
        if (std::ranges::all_of(outcomes,
                                [&](const One& o) { return o.result == outcomes[0].result; })) {
            return std::to_string(outcomes[0].result);
        }
        std::string all;
        for (const One& one : outcomes) {
            all += (all.empty() ? "" : ", ") + one.fault + ": " + std::to_string(one.result);
        }
        return all;
    }

    std::vector<std::pair<std::string, std::vector<One>>> columns_;
};

// The code that a fault stands for by itself.
std::int64_t own_code(const Fault& fault) {
    if (fault.column == "status word") {
        return listed_code_of_status(static_cast<std::uint8_t>(fault.number >> 8),
                                     static_cast<std::uint8_t>(fault.number));
    }
    return listed_code(fault.number);
}

std::string command_name(const ByteString& command) {
    const std::string header = to_hex(ByteString(command.begin(), command.begin() + 4));
    switch (command[1]) {
        case 0xA4:
            return "SELECT " + to_hex(ByteString(command.begin() + 5, command.end() - 1));
        case 0xB2:
            return "READ RECORD " + std::to_string(command[2]) + " of file " +
                   std::to_string(command[3] >> 3);
        case 0xA8:
            return "GET PROCESSING OPTIONS";
        case 0xAE:
            return "GENERATE AC";
        case 0xCA:
            return "GET DATA " + header.substr(4);
        case 0x82:
            return "EXTERNAL AUTHENTICATE";
        default:
            return "script command " + header;
    }
}

std::vector<std::filesystem::path> profiles() {
    std::vector<std::filesystem::path> found;
    for (const auto& entry : std::filesystem::directory_iterator(QUORRIN_PROFILES)) {
        if (entry.path().extension() == ".toml") {
            found.push_back(entry.path());
        }
    }
    std::ranges::sort(found);
    return found;
}

std::string contents(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// The application of the directory, and those that the host can name.
std::vector<ByteString> applications(const std::filesystem::path& profile) {
    const auto card = simulator::load_profile(read_configuration(profile));
    std::vector<ByteString> aids;
    if (card.contact_directory) {
        aids.push_back({});
    }
    for (const auto& application : card.applications) {
        aids.push_back(application.aid);
    }
    return aids;
}

TEST_P(FaultMatrix, EveryFailureOfEveryExchangeHasItsResult) {
    std::ostringstream table;
    DisturbedCard card(GetParam());
    for (const ByteString& aid : applications(GetParam())) {
        for (const OperationRow& row : operations) {
            if (row.operation == Operation::PanAndName && !aid.empty()) {
                continue;  // takes the directory's
            }
            const std::string aid_text = to_hex(aid);
            if (row.operation == Operation::IssuerAnswer &&
                run(Operation::Cryptogram, aid_text, card, std::nullopt, nullptr).result != 0) {
                continue;  // a card that gives no cryptogram gets no answer
            }
            const Outcome good = run(row.operation, aid_text, card, std::nullopt, nullptr);
            const std::deque<Exchange> exchanges = card.exchanges();
            ASSERT_EQ(follow(row.operation, aid, exchanges).result, good.result);
            table << "\n"
                  << row.name << (aid.empty() ? "" : " with " + aid_text) << ": " << good.result
                  << "\n";
            for (std::size_t number = 0; number < exchanges.size(); ++number) {
                Cells cells;
                for (const Fault& fault : all_faults()) {
                    SCOPED_TRACE(std::string(row.name) + " " + aid_text + ", exchange " +
                                 std::to_string(number) + ": " + fault.column + " " + fault.name);
                    const Outcome outcome = run(row.operation, aid_text, card, number, &fault);
                    const Verdict expected = follow(row.operation, aid, card.exchanges());
                    EXPECT_EQ(outcome.result, expected.result);
                    EXPECT_EQ(expected.complaint, "");
                    cells.add(fault, own_code(fault), outcome.result);

                    const Outcome next = run(row.operation, aid_text, card, std::nullopt, nullptr);
                    EXPECT_EQ(next.result, good.result) << "the next one on a good card";
                    EXPECT_EQ(next.text, good.text);
                    EXPECT_EQ(card.exchanges().size(), exchanges.size());
                    if (HasFailure()) {
                        return;  // one is enough to read
                    }
                }
                if (number == 0) {
                    table << "  exchange | " << cells.header() << "\n";
                }
                table << "  " << number + 1 << " " << command_name(exchanges[number].command)
                      << " | " << cells.text() << "\n";
            }
        }
    }
    const std::filesystem::path kept =
        std::filesystem::path(QUORRIN_OUTCOMES) / (GetParam().stem().string() + ".txt");
    if (std::getenv("QUORRIN_WRITE_OUTCOMES") != nullptr) {
        std::ofstream(kept) << table.str();
    }
    if (!std::filesystem::exists(kept)) {
        GTEST_SKIP() << "the rules hold; no outcomes are kept yet: scripts/fault-matrix";
    }
    EXPECT_EQ(table.str(), contents(kept)) << "a change that is meant: scripts/fault-matrix";
}

INSTANTIATE_TEST_SUITE_P(Profiles, FaultMatrix, testing::ValuesIn(profiles()),
                         [](const auto& row) { return row.param.stem().string(); });

}  // namespace
}  // namespace quorrin::test
