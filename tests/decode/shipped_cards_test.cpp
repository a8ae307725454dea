// Everything that the shipped cards send, decoded: no word is missing that the tables should know.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "decode/lookup.hpp"
#include "decode/render.hpp"
#include "reader_libraries/simulator/card/profile_card.hpp"
#include "tests/decode/tree_reading.hpp"

namespace quorrin::test {
namespace {

struct Exchange {
    ByteString command;
    ByteString answer;
    decode::Options options = {};
};

// A card under questions: what a terminal and a support engineer would ask it.
class Conversation {
  public:
    explicit Conversation(const std::string& profile)
        : card_(simulator::load_card_file(std::string(QUORRIN_PROFILES "/") + profile + ".toml")) {
        atr_ = card_->power_on();
    }

    const ByteString& atr() const { return atr_; }
    const std::vector<Exchange>& exchanges() const { return exchanges_; }

    // The answer's data; empty unless it ends with 9000.
    ByteString send(const ByteString& command, const ByteString& list = {}) {
        ByteString answer = card_->transmit(command);
        exchanges_.push_back({command, answer, {.list = list}});
        const bool is_good = answer.size() >= 2 && answer[answer.size() - 2] == 0x90;
        return is_good ? ByteString(answer.begin(), answer.end() - 2) : ByteString();
    }
    ByteString select(const ByteString& name) {
        return send(join(hex("00A40400"), ByteString{static_cast<std::uint8_t>(name.size())}, name,
                         hex("00")));
    }
    ByteString read_record(unsigned file, unsigned record, const ByteString& list = {}) {
        return send({0x00, 0xB2, static_cast<std::uint8_t>(record),
                     static_cast<std::uint8_t>(file << 3 | 4), 0x00},
                    list);
    }
    ByteString get_data(std::uint16_t tag) {
        return send({0x80, 0xCA, static_cast<std::uint8_t>(tag >> 8),
                     static_cast<std::uint8_t>(tag), 0x00});
    }

  private:
    std::unique_ptr<simulator::CardDevice> card_;
    ByteString atr_;
    std::vector<Exchange> exchanges_;
};

// Bytes of a value somewhere in an answer; the decoder's own tree says where.
ByteString value_of(const ByteString& answer, const std::string& tag) {
    const decode::Node tree = decode::tlv(answer, {.show_sensitive = true});
    const decode::Node* node = decode::find_object(tree, tag);
    if (node == nullptr) {
        return {};
    }
    const auto begin =
        answer.begin() + static_cast<std::ptrdiff_t>(node->offset + node->header_size);
    return {begin, begin + static_cast<std::ptrdiff_t>(node->size - node->header_size)};
}

// As many zeros as a list asks for; the contactless qualifiers offer quick PBOC.
ByteString zeros_for(const ByteString& list) {
    ByteString data;
    for (std::size_t i = 0; i < list.size();) {
        const bool long_tag = (list[i] & 0x1F) == 0x1F;
        const bool is_qualifiers = list[i] == 0x9F && list[i + 1] == 0x66;
        i += long_tag ? 2 : 1;
        const ByteString value = is_qualifiers ? hex("27000000") : ByteString(list[i], 0x00);
        data.insert(data.end(), value.begin(), value.end());
        ++i;
    }
    return data;
}

void ask_everything(Conversation& card, const ByteString& name) {
    const ByteString fci = card.select(name);
    ASSERT_FALSE(fci.empty());
    const ByteString pdol = value_of(fci, "9F38");
    const ByteString data = zeros_for(pdol);
    const ByteString wrapped = join(ByteString{0x83, static_cast<std::uint8_t>(data.size())}, data);
    const ByteString options =
        card.send(join(hex("80A80000"), ByteString{static_cast<std::uint8_t>(wrapped.size())},
                       wrapped, hex("00")),
                  pdol);
    ASSERT_FALSE(options.empty());
    for (unsigned file = 1; file <= 30; ++file) {
        for (unsigned record = 1; record <= 5; ++record) {
            const ByteString answer = card.read_record(file, record);
            const ByteString cdol = value_of(answer, "8C");
            if (!cdol.empty()) {
                const ByteString values = zeros_for(cdol);
                card.send(
                    join(hex("80AE8000"), ByteString{static_cast<std::uint8_t>(values.size())},
                         values, hex("00")),
                    cdol);
            }
        }
    }
    for (const int tag : {0x9F13, 0x9F17, 0x9F36, 0x9F4F, 0xDF4F, 0x9F50, 0x9F52, 0x9F5D, 0x9F68,
                          0x9F6B, 0x9F6C, 0x9F6D, 0x9F74, 0x9F77, 0x9F78, 0x9F79}) {
        card.get_data(static_cast<std::uint16_t>(tag));
    }
    const ByteString log_format = value_of(card.get_data(0x9F4F), "9F4F");
    for (const unsigned file : {11u, 20u}) {
        for (unsigned record = 1; record <= 10; ++record) {
            card.read_record(file, record, log_format);
        }
    }
}

struct ShippedCardCase {
    const char* profile;
    std::vector<const char*> applications;
    std::set<std::string> own_tags;  // the issuer's, in no table
};

const ShippedCardCase cases[] = {
    {"debit", {"A000000333010101"}, {}},
    {"credit", {"A000000333010102"}, {}},
    {"gm", {"A000000333010101"}, {}},
    {"two_applications", {"A000000333010101", "A000000333010102"}, {}},
    {"quick", {"A000000333010101"}, {}},
    // What its issuer made up, to stop early terminals.
    {"old", {"A0000003330101060001020304"}, {"DF7F", "C1", "E0", "DF01", "DF20"}},
};

class ShippedCards : public testing::TestWithParam<ShippedCardCase> {};

TEST_P(ShippedCards, NoWordIsMissing) {
    Conversation card(GetParam().profile);
    EXPECT_FALSE(decode::has_problems(decode::find_data_kind("atr")->decode(card.atr(), {})));
    card.select(text_bytes("1PAY.SYS.DDF01"));
    card.select(text_bytes("2PAY.SYS.DDF01"));
    for (unsigned file : {1u, 10u}) {
        card.read_record(file, 1);
    }
    for (const char* name : GetParam().applications) {
        ask_everything(card, hex(name));
    }
    std::size_t objects = 0;
    std::set<std::string> unknown;
    for (const Exchange& each : card.exchanges()) {
        const decode::Node command = decode::command(each.command, each.options);
        EXPECT_FALSE(decode::has_problems(command)) << decode::to_text(command);
        const decode::Node answer = decode::answer(each.answer, each.command, each.options);
        for (const decode::Problem& problem : decode::all_problems(answer)) {
            // The record of an odd card that an unknown template fills with an issuer's object.
            const std::string tag = problem.text.substr(0, problem.text.find(" is in no table"));
            if (problem.kind == decode::Problem::Kind::Unknown && tag.starts_with("the tag ")) {
                unknown.insert(tag.substr(8));
            } else {
                ADD_FAILURE() << problem.text << " at " << problem.offset << "\n"
                              << to_hex(each.command) << "\n"
                              << decode::to_text(answer);
            }
        }
        objects += answer.children.size();
    }
    for (const std::string& tag : unknown) {
        EXPECT_TRUE(GetParam().own_tags.contains(tag)) << tag;
    }
    EXPECT_GT(objects, 50u);
}

TEST_P(ShippedCards, NoNumberNameOrTrackIsShown) {
    Conversation card(GetParam().profile);
    for (const char* name : GetParam().applications) {
        ask_everything(card, hex(name));
    }
    for (const Exchange& each : card.exchanges()) {
        const decode::Node answer = decode::answer(each.answer, each.command, each.options);
        const std::string shown = decode::to_text(answer) + decode::to_json(answer);
        for (const char* secret : {"99990100000", "99990200000", "99990300000", "99990400000",
                                   "99990500000", "99990600000", "TEST/", "544553542F", "TEST0000",
                                   "5445535430303030", "D3012", "D2906"}) {
            EXPECT_EQ(shown.find(secret), std::string::npos) << secret << "\n" << shown;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, ShippedCards, testing::ValuesIn(cases),
                         [](const auto& each) { return std::string(each.param.profile); });

}  // namespace
}  // namespace quorrin::test
