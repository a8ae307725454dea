// A terminal at a simulated card: commands, data object lists and the online request. It reads
// answers by its own means, so that it checks what the card made.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "bank/online_answer.hpp"
#include "reader_libraries/simulator/card/profile_card.hpp"
#include "tests/support/bytes.hpp"

namespace quorrin::test {

struct CardReply {
    ByteString data;
    unsigned status = 0;
};

// The value of the first object with this tag ("9F26"), in templates too.
std::optional<ByteString> element(const ByteString& objects, const std::string& tag);

// The same where it has to be there; an empty value and a failed test otherwise.
ByteString expect_element(const ByteString& objects, const std::string& tag);

// The bank of all test cards.
bank::CardProduct test_bank();

class Terminal {
  public:
    explicit Terminal(std::unique_ptr<simulator::CardDevice> card);

    simulator::CardDevice& card() { return *card_; }

    // What the terminal has to tell, by tag. Lists get zeros for what is not here.
    std::map<std::string, ByteString> values;

    CardReply send(const ByteString& command);
    CardReply send(const std::string& command) { return send(hex(command)); }

    CardReply select(const ByteString& name, std::uint8_t p2 = 0);
    CardReply get_options();                 // with the selected application's PDOL
    void read_records();                     // all that the AFL names
    CardReply generate_ac(std::uint8_t p1);  // with CDOL1 the first time, then CDOL2

    CardReply get_data(const std::string& tag);
    ByteString data_value(const std::string& tag);  // of a GET DATA that has to succeed

    // Selection to ARQC, each step expected to succeed.
    CardReply purchase(const ByteString& aid);

    [[nodiscard]] ByteString list_data(const ByteString& list) const;
    [[nodiscard]] bank::OnlineRequest online_request() const;

    // EXTERNAL AUTHENTICATE with the answer's 91.
    CardReply authenticate(const bank::OnlineAnswer& answer);

    // The answer's script commands one after the other, as terminals send them: with Le behind.
    std::vector<CardReply> run_scripts(const bank::OnlineAnswer& answer);

    ByteString fci;
    ByteString records;  // the values of all templates 70, one behind the other
    ByteString options;
    ByteString cryptogram_answer;

  private:
    std::unique_ptr<simulator::CardDevice> card_;
    bool first_generated_ = false;
};

// Objects one behind the other, as script templates and records hold them.
struct FoundObject {
    std::string tag;
    ByteString value;
};
std::vector<FoundObject> objects_in(const ByteString& bytes);

}  // namespace quorrin::test
