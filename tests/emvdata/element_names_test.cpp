// The names of the data elements in English and Chinese, which tools show.

#include <algorithm>
#include <set>
#include <string>

#include "tests/emvdata/store_test.hpp"

namespace quorrin::test {
namespace {

struct ElementNames {
    const char* english;
    const char* chinese;
};

constexpr ElementNames element_names[] = {
#define ELEMENT(tag, name, storage, bytes, shortest, longest, format, templates, resets, english, \
                chinese)                                                                          \
    {english, chinese},
#include "emvdata/card_elements.def"
#include "emvdata/terminal_elements.def"
#undef ELEMENT
};
static_assert(std::size(element_names) == std::size(IccDt) + std::size(TermDt));

bool is_ascii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

TEST(ElementNames, TellEveryElementFromTheOthersInBothLanguages) {
    std::set<std::string_view> english;
    std::set<std::string_view> chinese;
    for (const ElementNames& names : element_names) {
        EXPECT_TRUE(english.insert(names.english).second) << names.english;
        EXPECT_TRUE(chinese.insert(names.chinese).second) << names.chinese;
        EXPECT_TRUE(*names.english != '\0' && is_ascii(names.english)) << names.english;
        EXPECT_FALSE(is_ascii(names.chinese)) << names.english;
    }
}

}  // namespace
}  // namespace quorrin::test
