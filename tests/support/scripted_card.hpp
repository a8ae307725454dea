// A card for the scripted reader, written as text:
//
//   # comment
//   00A40400 [A000000333010101] 00          a command at the start of a line, in card notation ...
//       6F[ 84[A000000333010101] ... ]      ... and its answer on the indented lines after it,
//       9000                                    status word included
//   00B2 *                                  any command that begins so
//       6A83
//   80CA9F7900
//       !-11                                the reader fails with this result
//
// Rows that follow a SELECT (00A40400...) belong to that application: they answer only while it is
// the one selected last, by an answer that ends with 9000, be it the row's own or one put in its
// place. Rows before the first SELECT, and the SELECT rows themselves, always answer. The first row
// that matches wins; a command that no row matches fails the test.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/card_notation.hpp"
#include "tests/support/scripted_reader.hpp"

namespace quorrin::test {

class ScriptedCard {
  public:
    explicit ScriptedCard(std::string_view text);

    // From now on the reader's exchanges go to this card, which has to outlive them. The reader
    // keeps the trace: reader().commands().
    void insert();

    // Puts rows before all others; they answer whatever is selected.
    ScriptedCard& with(std::string_view rows);

    // Answers the first command that a row matches with that row, once, before all others.
    ScriptedCard& once(std::string_view rows);

    // Answers the command of this number, counted from 0 at the last insert(), with this answer.
    ScriptedCard& at_step(std::size_t step, Answer answer);

    // Answers commands without a row, which then do not fail the test.
    ScriptedCard& otherwise(Answer answer);

    Answer exchange(const ByteString& command);

  private:
    struct Row {
        ByteString command;
        bool is_prefix;
        Answer answer;
        int application;  // 0 before the first SELECT

        bool matches(const ByteString& sent) const;
        bool is_select() const;
    };

    static std::vector<Row> read_rows(std::string_view text);

    // The row of the card itself that matches a command, or null.
    const Row* find_row(const ByteString& command) const;
    // What the card is to answer: its row, or whatever takes its place.
    Answer answer_to(const ByteString& command, const Row* row);

    std::vector<Row> rows_;
    std::vector<Row> overriding_;
    std::deque<Row> once_;
    std::map<std::size_t, Answer> at_step_;
    std::optional<Answer> otherwise_;
    std::size_t step_ = 0;
    int selected_ = 0;
};

}  // namespace quorrin::test
