// Which reader serves which slot: names and configuration in, map out.

#include "reader_libraries/pcsc/slot_rules.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorrin::test {
namespace {

using pcsc::map_slots;
using pcsc::slot_count;
using pcsc::slot_rows;
using pcsc::SlotChoice;
using pcsc::SlotMap;

struct Wish {
    const char* slot;
    const char* reader;
};

struct Case {
    const char* name;
    std::vector<std::string> readers;
    std::vector<Wish> wishes;
    std::string map;  // what is neither served nor asked for is left out
};

std::ostream& operator<<(std::ostream& out, const Case& each) {
    return out << each.name;
}

std::string text_of(const SlotMap& map) {
    std::string text;
    for (std::size_t slot = 0; slot < slot_count; ++slot) {
        const auto& [reader, choice] = map[slot];
        if (choice == SlotChoice::NoReader && !reader) {
            continue;
        }
        text += text.empty() ? "" : ", ";
        text += std::string(slot_rows[slot].key) + " " + (reader ? std::to_string(*reader) : "-") +
                " " + pcsc::reason_of(choice);
    }
    return text;
}

const Case cases[] = {
    {"NoReader", {}, {}, ""},
    {"OneReaderThatSaysNothing", {"Desk Reader 00 00"}, {}, "contact 0 the first reader left"},
    {"VirtualReaders",
     {"Virtual PCD 00 00", "Virtual PCD 00 01"},
     {},
     "contact 0 the first reader left, "
     "contactless 1 another reader left"},
    {"DualReaderWithASam",
     {"ACS ACR1281 [ACR1281 ICC Interface] 00 00", "ACS ACR1281 [ACR1281 PICC Interface] 00 01",
      "ACS ACR1281 [ACR1281 SAM Interface] 00 02"},
     {},
     "contact 0 the first reader left, contactless 1 by its name, "
     "sam1 2 by its name"},
    {"ContactlessBeforeContact",
     {"OMNIKEY 5422 [5422CL Smartcard Reader] 00 00", "OMNIKEY 5422 [5422 Reader] 00 01"},
     {},
     "contact 1 the first reader left, contactless 0 by its name"},
    {"ContactlessNamesInAnyCase",
     {"Prox-DU Contactless_12400628 00 00", "Prox-DU Contact_12400628 00 01"},
     {},
     "contact 1 the first reader left, contactless 0 by its name"},
    {"NfcDeviceAlone", {"SCL3711 reader & nfc device 00 00"}, {}, "contactless 0 by its name"},
    {"ANamedContactlessReaderLeavesASecondOneAlone",
     {"One 00 00", "Two 00 00", "Three RFID 00 00"},
     {},
     "contact 0 the first reader left, contactless 2 by its name"},
    {"WordsWithinWordsSayNothing",
     {"Samsung Reader 00 00", "CLASSIC Desk 00 00"},
     {},
     "contact 0 the first reader left, "
     "contactless 1 another reader left"},
    {"SerialNumbersSayNothing", {"Reader (NFC SAM) 00 00"}, {}, "contact 0 the first reader left"},
    {"FourSamsInOrderAndNoMore",
     {"X SAM 00 00", "X SAM1 00 01", "X sam 00 02", "X SAM 00 03", "X SAM 00 04"},
     {},
     "sam1 0 by its name, sam2 1 by its name, sam3 2 by its name, sam4 3 by its name"},
    {"ASamReaderOfAContactlessDevice", {"NFC Reader SAM 00 00"}, {}, "sam1 0 by its name"},
    {"ExactName",
     {"Reader", "Reader 2"},
     {{"contact", "Reader 2"}, {"contactless", "Reader"}},
     "contact 1 configured, contactless 0 configured"},
    {"PartOfAName",
     {"One 00 00", "Two 00 00"},
     {{"contact", "two"}},
     "contact 1 configured, contactless 0 another reader left"},
    {"EqualPartsTakeOneReaderEach",
     {"Virtual PCD 00 00", "Virtual PCD 00 01"},
     {{"contact", "PCD"}, {"contactless", "PCD"}},
     "contact 0 configured, contactless 1 configured"},
    {"AnExactNameGoesBeforeAPart",
     {"Desk 00", "Desk 01"},
     {{"contact", "Desk"}, {"mas", "Desk 00"}},
     "contact 1 configured, mas 0 configured"},
    {"Number",
     {"One", "Two", "Three"},
     {{"contact", "#2"}, {"sam3", "#0"}, {"contactless", "none"}},
     "contact 2 configured, contactless - configured: none, sam3 0 configured"},
    {"TwoSlotsAtOneReader",
     {"Combi"},
     {{"contact", "#0"}, {"contactless", "Combi"}},
     "contact 0 configured, contactless 0 configured"},
    {"NoneKeepsTheRulesOut",
     {"One", "Two"},
     {{"contact", "none"}},
     "contact - configured: none, contactless 0 another reader left"},
    {"ReadersThatAreNotThere",
     {"One"},
     {{"contact", "Two"}, {"mas", "#1"}, {"sam1", "#99999999999999999999999"}},
     "contact - configured, but no such reader is there, "
     "contactless 0 another reader left, "
     "mas - configured, but no such reader is there, "
     "sam1 - configured, but no such reader is there"},
    {"ANumberSignAloneIsPartOfAName",
     {"One", "Reader #2b"},
     {{"contact", "#2b"}, {"contactless", "none"}},
     "contact 1 configured, contactless - configured: none"},
    {"AReaderCalledNone",
     {"none", "One"},
     {{"contact", "none"}, {"contactless", "One"}},
     "contact 0 configured, contactless 1 configured"},
    {"TheMasByConfigurationOnly",
     {"One", "Two", "MAS Reader"},
     {{"mas", "MAS"}},
     "contact 0 the first reader left, "
     "contactless 1 another reader left, mas 2 configured"},
};

class SlotRules : public testing::TestWithParam<Case> {};

TEST_P(SlotRules, MapNamesToSlots) {
    pcsc::SlotWishes wishes;
    for (const auto& [slot, reader] : GetParam().wishes) {
        const auto row = std::ranges::find(slot_rows, std::string_view(slot), &pcsc::SlotRow::key);
        ASSERT_NE(row, slot_rows.end());
        wishes[static_cast<std::size_t>(row - slot_rows.begin())] = reader;
    }
    EXPECT_EQ(text_of(map_slots(GetParam().readers, wishes)), GetParam().map);
}

INSTANTIATE_TEST_SUITE_P(Names, SlotRules, testing::ValuesIn(cases),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace quorrin::test
