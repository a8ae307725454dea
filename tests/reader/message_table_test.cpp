// The message table, held row for row against the published listing through the exported functions.

#include <algorithm>
#include <iterator>
#include <vector>

#include "tests/reader/message_listing.hpp"
#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;

static_assert(std::size(message_listing) == 73);

constexpr int pin_placeholder = -51;

// The first listed row that `matches`, the end row excluded; null when there is none.
template <typename Matches>
const ListedMessage* first_listed(Matches matches) {
    for (const ListedMessage& row : message_listing) {
        if (row.code != 0 && matches(row)) {
            return &row;
        }
    }
    return nullptr;
}

const ListedMessage* listed_status_word(int sw1, int sw2) {
    return first_listed([=](const ListedMessage& row) { return row.sw1 == sw1 && row.sw2 == sw2; });
}

const ListedMessage* listed_code(int code) {
    return first_listed([=](const ListedMessage& row) { return row.code == code; });
}

std::string log_line(const ListedMessage& row) {
    return std::to_string(row.code) + ",返回信息:" + std::string(row.text);
}

// The rows that `selects`, for a test of each.
template <typename Selects>
std::vector<ListedMessage> listed_rows(Selects selects) {
    std::vector<ListedMessage> rows;
    std::copy_if(std::begin(message_listing), std::end(message_listing), std::back_inserter(rows),
                 selects);
    return rows;
}

std::string row_name(const testing::TestParamInfo<ListedMessage>& row) {
    return "Row" + std::to_string(row.param.row);
}

class MessageTest : public LibraryTest, public testing::WithParamInterface<ListedMessage> {
  protected:
    // Translating `code` gives the code and text of the expected row, and its log line.
    static void expect_row(std::int64_t code, const ListedMessage& expected,
                           const LogCapture& log) {
        GuardedBuffer text(73);
        EXPECT_EQ(TransRetCode(code, text.text()), expected.code);
        EXPECT_TRUE(text.holds(terminated(expected.text)));
        EXPECT_THAT(log.texts(), ElementsAre(log_line(expected)));
        EXPECT_EQ(TransRetCodeNoMsg(code), expected.code);
    }
};

// A code that stands in several rows has the text of the first. (0 is the last status word, and -51
// has a text of its own.)
class MessageOfCode : public MessageTest {};

TEST_P(MessageOfCode, IsTheFirstOfItsCode) {
    expect_row(GetParam().code, *listed_code(GetParam().code), log);
}

INSTANTIATE_TEST_SUITE_P(Rows, MessageOfCode,
                         testing::ValuesIn(listed_rows([](const ListedMessage& row) {
                             return row.code != 0 && row.code != pin_placeholder;
                         })),
                         row_name);

class MessageOfStatusWord : public MessageTest {};

TEST_P(MessageOfStatusWord, IsTheFirstOfItsStatusWord) {
    CARD_SW1 = static_cast<std::uint8_t>(GetParam().sw1);
    CARD_SW2 = static_cast<std::uint8_t>(GetParam().sw2);
    expect_row(0, *listed_status_word(GetParam().sw1, GetParam().sw2), log);
}

INSTANTIATE_TEST_SUITE_P(Rows, MessageOfStatusWord,
                         testing::ValuesIn(listed_rows([](const ListedMessage& row) {
                             return row.code != 0;
                         })),
                         row_name);

class WholeMessageTable : public LibraryTest {};

TEST_F(WholeMessageTable, KnowsTheListedStatusWordsAndNoOthers) {
    for (int sw = 0; sw <= 0xFFFF; ++sw) {
        const int sw1 = sw >> 8;
        const int sw2 = sw & 0xFF;
        CARD_SW1 = static_cast<std::uint8_t>(sw1);
        CARD_SW2 = static_cast<std::uint8_t>(sw2);
        const ListedMessage* row = listed_status_word(sw1, sw2);
        const int expected = sw == 0x9000 ? 0 : row != nullptr ? row->code : -40000;
        EXPECT_EQ(TransRetCodeNoMsg(0), expected) << std::hex << sw;
    }
}

TEST_F(WholeMessageTable, KnowsTheListedCodesAndNoOthers) {
    CARD_SW1 = 0x90;
    for (int code = -41000; code <= 41000; ++code) {
        const int expected = code == 0 || listed_code(code) != nullptr ? code : -40000;
        EXPECT_EQ(TransRetCodeNoMsg(code), expected);
    }
}

// The longest text fixes the size that hosts give their buffers.
TEST_F(WholeMessageTable, HasTextsOfAtMost72Bytes) {
    std::size_t longest = 0;
    const auto translate = [&](std::int64_t code) {
        char text[512];
        std::fill(std::begin(text), std::end(text), '\x7E');
        if (TransRetCode(code, text) != 0) {
            longest = std::max(longest, std::strlen(text));
        }
    };
    for (const ListedMessage& row : message_listing) {
        CARD_SW1 = static_cast<std::uint8_t>(row.sw1);
        CARD_SW2 = static_cast<std::uint8_t>(row.sw2);
        translate(0);
        translate(row.code);
    }
    CARD_SW1 = 0x61;  // not in the table
    CARD_SW2 = 0xCF;  // 15 tries, the longest number
    translate(0);
    translate(pin_placeholder);
    translate(5);
    EXPECT_EQ(longest, 72u);
}

}  // namespace
}  // namespace quorrin::test
