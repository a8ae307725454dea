#include "bank/script_commands.hpp"

#include <gtest/gtest.h>

#include "tests/cryptography/fixed_bytes.hpp"

namespace quorrin::bank {
namespace {

using test::hex;
using test::to_hex;

// Header without Lc, then the data.
std::string clear_text(const ScriptCommand& command) {
    const test::ByteString header{static_cast<std::uint8_t>(command.command_class),
                                  command.instruction, command.p1, command.p2};
    return to_hex(header) + " " + to_hex(command.data);
}

TEST(ScriptCommands, AreCodedAsTheCardKnowsThem) {
    struct Case {
        ScriptCommand command;
        const char* clear;
    };
    const Case cases[] = {
        {application_block(), "841E0000 "},
        {application_unblock(), "84180000 "},
        {card_block(), "84160000 "},
        {pin_unblock(), "84240000 "},
        {pin_change("1234"), "84240002 "},
        {pin_change("1234", "5678"), "84240001 "},
        {put_data(0x9F79, hex("000000100000")), "04DA9F79 000000100000"},
        {put_data(0x9F6D, hex("0001"), CommandClass::SecureProprietary), "84DA9F6D 0001"},
        {put_data(0x5A, hex("00")), "04DA005A 00"},
        {update_record(1, 2, hex("70035A0112")), "04DC020C 70035A0112"},
        {update_record(30, 255, {}, CommandClass::SecureProprietary), "84DCFFF4 "},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(clear_text(c.command), c.clear);
    }
}

TEST(ScriptCommands, CarryANewPinOnlyInPinChange) {
    EXPECT_FALSE(pin_unblock().new_pin.has_value());
    EXPECT_FALSE(application_block().new_pin.has_value());

    const ScriptCommand alone = pin_change("1234");
    ASSERT_TRUE(alone.new_pin.has_value());
    EXPECT_EQ(alone.new_pin->digits, "1234");
    EXPECT_EQ(alone.new_pin->current, std::nullopt);

    const ScriptCommand under_current = pin_change("1234", "5678");
    ASSERT_TRUE(under_current.new_pin.has_value());
    EXPECT_EQ(under_current.new_pin->digits, "1234");
    EXPECT_EQ(under_current.new_pin->current, "5678");
}

TEST(ScriptCommands, NameNoRecordThatCannotBe) {
    EXPECT_THROW(update_record(0, 1, {}), std::invalid_argument);
    EXPECT_THROW(update_record(31, 1, {}), std::invalid_argument);
    EXPECT_THROW(update_record(1, 0, {}), std::invalid_argument);
}

}  // namespace
}  // namespace quorrin::bank
