#include "tests/support/scripted_card.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace quorrin::test {
namespace {

bool begins_with(const ByteString& bytes, const ByteString& start) {
    return bytes.size() >= start.size() && std::equal(start.begin(), start.end(), bytes.begin());
}

std::string without_comment(const std::string& line) {
    std::string text = line.substr(0, line.find('#'));
    text.erase(text.find_last_not_of(" \t\r") + 1);
    return text;
}

bool succeeds(const Answer& answer) {
    const ByteString& bytes = answer.bytes;
    return bytes.size() >= 2 && ByteString(bytes.end() - 2, bytes.end()) == hex("9000");
}

Answer read_answer(const std::string& text) {
    const std::size_t start = text.find_first_not_of(" \n");
    if (start != std::string::npos && text[start] == '!') {
        return failure(std::stoll(text.substr(start + 1)));
    }
    return answer(card_bytes(text));
}

}  // namespace

ScriptedCard::ScriptedCard(std::string_view text) : rows_(read_rows(text)) {}

void ScriptedCard::insert() {
    step_ = 0;
    selected_ = 0;
    reader().card = [this](const ByteString& command) { return exchange(command); };
}

ScriptedCard& ScriptedCard::with(std::string_view text) {
    const std::vector<Row> rows = read_rows(text);
    overriding_.insert(overriding_.begin(), rows.begin(), rows.end());
    return *this;
}

ScriptedCard& ScriptedCard::once(std::string_view text) {
    const std::vector<Row> rows = read_rows(text);
    once_.insert(once_.end(), rows.begin(), rows.end());
    return *this;
}

ScriptedCard& ScriptedCard::at_step(std::size_t step, Answer given) {
    at_step_[step] = std::move(given);
    return *this;
}

ScriptedCard& ScriptedCard::otherwise(Answer given) {
    otherwise_ = std::move(given);
    return *this;
}

Answer ScriptedCard::exchange(const ByteString& command) {
    const Row* row = find_row(command);
    const Answer given = answer_to(command, row);
    // What the card was made to answer counts: a SELECT that another answer than its row's refuses
    // selects nothing, one that another answer accepts does.
    if (row != nullptr && row->is_select() && succeeds(given)) {
        selected_ = row->application;
    }
    return given;
}

const ScriptedCard::Row* ScriptedCard::find_row(const ByteString& command) const {
    const auto row = std::find_if(rows_.begin(), rows_.end(), [&](const Row& candidate) {
        const bool reachable = candidate.application == 0 || candidate.application == selected_ ||
                               candidate.is_select();
        return reachable && candidate.matches(command);
    });
    return row == rows_.end() ? nullptr : &*row;
}

Answer ScriptedCard::answer_to(const ByteString& command, const Row* row) {
    if (const auto found = at_step_.find(step_++); found != at_step_.end()) {
        return found->second;
    }
    const auto matches = [&](const Row& candidate) { return candidate.matches(command); };
    if (const auto one = std::find_if(once_.begin(), once_.end(), matches); one != once_.end()) {
        const Answer given = one->answer;
        once_.erase(one);
        return given;
    }
    const auto over = std::find_if(overriding_.begin(), overriding_.end(), matches);
    if (over != overriding_.end()) {
        return over->answer;
    }
    if (row != nullptr) {
        return row->answer;
    }
    if (otherwise_) {
        return *otherwise_;
    }
    ADD_FAILURE() << "the card has no row for " << to_hex(command);
    return answer("6F00");
}

bool ScriptedCard::Row::matches(const ByteString& sent) const {
    return is_prefix ? begins_with(sent, command) : sent == command;
}

bool ScriptedCard::Row::is_select() const {
    return begins_with(command, hex("00A40400"));
}

std::vector<ScriptedCard::Row> ScriptedCard::read_rows(std::string_view text) {
    std::vector<Row> rows;
    std::string command;
    std::string answer_text;
    int application = 0;
    const auto finish_row = [&] {
        if (command.empty()) {
            return;
        }
        const bool is_prefix = command.back() == '*';
        if (is_prefix) {
            command.pop_back();
        }
        rows.push_back({card_bytes(command), is_prefix, read_answer(answer_text), 0});
        application += rows.back().is_select() ? 1 : 0;
        rows.back().application = application;
        command.clear();
        answer_text.clear();
    };

    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
        line = without_comment(line);
        if (line.empty()) {
            continue;
        }
        if (line[0] != ' ') {
            finish_row();
            command = line;
        } else {
            answer_text += line + "\n";
        }
    }
    finish_row();
    return rows;
}

}  // namespace quorrin::test
