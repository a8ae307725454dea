// Reading of files: what comes out of good ones, and the one line that a bad one gets.

#include "reader_libraries/configuration/configuration.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "tests/support/bytes.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* good = R"(number = 7
flag = true
name = "card"
value = "9F02 06"

[below]
number = 255
names = ["a", "b"]
values = ["01", "", "0203"]

[[entry]]
number = 1

[[entry]]
number = 2
)";

TEST(Configuration, ReadsEveryKindOfValue) {
    const Section root = parse_configuration(good, "good.toml");
    EXPECT_EQ(root.integer("number", 0, 255), 7);
    EXPECT_TRUE(root.boolean("flag"));
    EXPECT_EQ(root.text("name"), "card");
    EXPECT_EQ(root.hex("value", 3), hex("9F 02 06"));
    const Section below = root.section("below");
    EXPECT_EQ(below.integer("number", 0, 255), 255);
    EXPECT_THAT(below.texts("names"), ElementsAre("a", "b"));
    EXPECT_THAT(below.hex_list("values", 0, 2), ElementsAre(hex("01"), hex(""), hex("02 03")));
    const auto entries = root.sections("entry");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].integer("number", 1, 2), 1);
    EXPECT_EQ(entries[1].integer("number", 1, 2), 2);
    EXPECT_NO_THROW(root.finish());
}

TEST(Configuration, WhatMayBeAbsentIsNothing) {
    const Section root = parse_configuration("", "empty.toml");
    EXPECT_FALSE(root.optional_integer("x", 0, 1));
    EXPECT_FALSE(root.optional_boolean("x"));
    EXPECT_FALSE(root.optional_text("x"));
    EXPECT_FALSE(root.optional_hex("x", 0, 1));
    EXPECT_FALSE(root.optional_section("x"));
    EXPECT_FALSE(root.has("x"));
    EXPECT_THAT(root.sections("x"), IsEmpty());
    EXPECT_THAT(root.texts("x"), IsEmpty());
    EXPECT_THAT(root.hex_list("x", 0, 1), IsEmpty());
}

TEST(Configuration, KeysComeInTheOrderOfTheFile) {
    const Section root = parse_configuration("b = 1\na = 2\n\"9F36\" = 3\nA0 = 4\n", "keys.toml");
    EXPECT_THAT(root.keys(), ElementsAre("b", "a", "9F36", "A0"));
}

TEST(Configuration, PathsAndDirectoryAreKnown) {
    const Section root = parse_configuration("[a.b]\n[[c]]\n[[c]]\n", "some/where/x.toml");
    EXPECT_EQ(root.path(), "");
    EXPECT_EQ(root.section("a").section("b").path(), "a.b");
    EXPECT_EQ(root.sections("c").at(1).path(), "c[2]");
    EXPECT_EQ(root.directory(), "some/where");
}

struct Complaint {
    const char* name;
    const char* text;
    std::function<void(const Section&)> read;
    const char* line;  // what follows the file's name
};

class ConfigurationComplaint : public testing::TestWithParam<Complaint> {};

TEST_P(ConfigurationComplaint, IsOneLineThatNamesFileLineFieldAndReason) {
    try {
        GetParam().read(parse_configuration(GetParam().text, "card.toml"));
        ADD_FAILURE() << "no complaint";
    } catch (const ConfigurationError& error) {
        EXPECT_EQ(error.what(), std::string("card.toml: ") + GetParam().line);
    }
}

void touch_all(const Section& root) {
    if (const auto below = root.optional_section("below")) {
        below->has("known");
    }
    for (const Section& entry : root.sections("entry")) {
        entry.has("known");
    }
    root.finish();
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rows, ConfigurationComplaint, testing::Values(
    Complaint{"missing", "\nother = 1\n", [](auto& s) { s.integer("number", 0, 1); },
              "line 1: number: is missing"},
    Complaint{"missing_below", "x = 1\n[below]\n", [](auto& s) { s.section("below").text("name"); },
              "line 2: below.name: is missing"},
    Complaint{"not_a_number", "\nnumber = \"1\"\n", [](auto& s) { s.integer("number", 0, 9); },
              "line 2: number: must be a number, 0 to 9"},
    Complaint{"out_of_range", "number = 10", [](auto& s) { s.integer("number", 0, 9); },
              "line 1: number: must be 0 to 9, is 10"},
    Complaint{"below_range", "number = -1", [](auto& s) { s.integer("number", 0, 9); },
              "line 1: number: must be 0 to 9, is -1"},
    Complaint{"not_a_boolean", "flag = 1", [](auto& s) { s.boolean("flag"); },
              "line 1: flag: must be true or false"},
    Complaint{"not_a_text", "name = 1", [](auto& s) { s.text("name"); },
              "line 1: name: must be a text in quotes"},
    Complaint{"not_hex", "value = \"9G\"", [](auto& s) { s.hex("value", 0, 9); },
              "line 1: value: must be pairs of hex digits"},
    Complaint{"half_a_byte", "value = \"9F0\"", [](auto& s) { s.hex("value", 0, 9); },
              "line 1: value: must be pairs of hex digits"},
    Complaint{"hex_without_quotes", "value = 12", [](auto& s) { s.hex("value", 0, 9); },
              "line 1: value: must be hex digits in quotes"},
    Complaint{"hex_too_long", "value = \"010203\"", [](auto& s) { s.hex("value", 2); },
              "line 1: value: must be 2 bytes long, is 3"},
    Complaint{"hex_too_short", "value = \"\"", [](auto& s) { s.hex("value", 1, 2); },
              "line 1: value: must be 1 to 2 bytes long, is 0"},
    Complaint{"not_a_table", "below = 1", [](auto& s) { s.section("below"); },
              "line 1: below: must be a table"},
    Complaint{"not_a_list", "[entry]", [](auto& s) { s.sections("entry"); },
              "line 1: entry: must be a list of tables"},
    Complaint{"not_a_list_of_tables", "entry = [1]", [](auto& s) { s.sections("entry"); },
              "line 1: entry: must be a list of tables"},
    Complaint{"wrong_text_in_list", "names = [\n\"a\",\n1]", [](auto& s) { s.texts("names"); },
              "line 3: names[2]: must be a text in quotes"},
    Complaint{"wrong_hex_in_list", "values = [\"A0\",\n\"A\"]",
              [](auto& s) { s.hex_list("values", 1, 1); },
              "line 2: values[2]: must be pairs of hex digits"},
    Complaint{"field_of_an_entry", "[[entry]]\nnumber = 1\n[[entry]]\nnumber = 2\n",
              [](auto& s) { for (const auto& e : s.sections("entry")) { e.integer("number", 1, 1); } },
              "line 4: entry[2].number: must be 1, is 2"},
    Complaint{"unknown_key", "known = 1\nfoo = 1\nbar = 2\n",
              [](auto& s) { s.has("known"); s.finish(); },
              "line 2: foo: is not a field that is known here"},
    Complaint{"unknown_key_below", "[below]\nknown = 1\nfoo = 1\n", touch_all,
              "line 3: below.foo: is not a field that is known here"},
    Complaint{"unknown_key_in_entry", "[[entry]]\nknown = 1\n[[entry]]\nfoo = 1\n", touch_all,
              "line 4: entry[2].foo: is not a field that is known here"},
    Complaint{"own_reason", "[below]\nnumber = 1\n",
              [](auto& s) { s.section("below").fail("number", "cannot\nbe"); },
              "line 2: below.number: cannot be"}),
    [](const auto& row) { return std::string(row.param.name); });
// clang-format on

TEST(Configuration, TextThatIsNotTomlNamesTheLine) {
    constexpr const char* texts[] = {
        "a = 1\nb = = 2\n",
        "a = 1\n[!\nc = 3\n",              // a table without a name
        "a = 1\n[[ \x02\n",                // the same of an array
        "a = '\xC3\xA9'\n[\xC3\xA9]\n",    // beyond ASCII in quotes, and outside of them
        "a = \"\"\"\\\n\"\"\"\xD0\x96\n",  // behind a text of two lines
        "# \"\nb\xEF\xBB\xAF\n",           // behind a comment
        "a = 1\n\xFF\xFE\n",
        "a = 1\nb = 1\"['--\xEF\xBB\xAC=\n",  // behind quotes that open nothing
    };
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        try {
            parse_configuration(text, "card.toml");
            ADD_FAILURE() << "no complaint";
        } catch (const ConfigurationError& error) {
            EXPECT_THAT(error.what(), testing::StartsWith("card.toml: line 2: is not TOML: "));
            EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr("\n")));
        }
    }
}

TEST(Configuration, TextInQuotesAndCommentsMayBeAnything) {
    const Section root = parse_configuration(
        "\xEF\xBB\xBF# \xE5\x8D\xA1\nname = \"\\\"\xE5\x8D\xA1\" # \xC3\xA9\nb = '\xC3\xA9'\n"
        "c = \"\"\"\n\xC3\xA9\"\n\"\"\"\n",
        "card.toml");
    EXPECT_EQ(root.text("name"), "\"\xE5\x8D\xA1");
    EXPECT_EQ(root.text("b"), "\xC3\xA9");
    EXPECT_EQ(root.text("c"), "\xC3\xA9\"\n");
}

TEST(Configuration, AFileThatCannotBeReadIsMissing) {
    const std::string file = testing::TempDir() + "no-such-file.toml";
    try {
        read_configuration(file);
        ADD_FAILURE() << "no complaint";
    } catch (const ConfigurationMissing& error) {
        EXPECT_EQ(error.what(), file + ": cannot be read: No such file or directory");
    }
    EXPECT_THROW(read_configuration(testing::TempDir()), ConfigurationMissing);
}

}  // namespace
}  // namespace quorrin::test
