// Default DOLs of the terminal, the card's TDOL, and the command data built from DOLs.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

class DolData : public AccessorTest {};

// ---- TDOL

TEST_F(DolData, CardTdolIsReadWhenPresent) {
    GuardedBuffer out(252);
    GuardedBuffer out_length(1);
    EXPECT_EQ(emvGetTDOL(out.data(), out_length.data()), 52);
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(out_length.untouched());

    for (const std::uint16_t length : Lengths{252, 1}) {
        put("97", pattern(length));
        put("8C", pattern(252, 9));
        GuardedBuffer tdol(252);
        EXPECT_EQ(emvGetTDOL(tdol.data(), out_length.data()), 1);
        EXPECT_TRUE(tdol.holds(pattern(length)));
        EXPECT_TRUE(out_length.holds({static_cast<std::uint8_t>(length)}));
    }
    set_state_of("97", 0);
    EXPECT_EQ(emvGetTDOL(out.data(), out_length.data()), 52);
}

TEST_F(DolData, CardTdolInAnotherStateIsRefused) {
    put("97", pattern(3));
    row("97").state = 2;
    GuardedBuffer out(252);
    GuardedBuffer out_length(1);
    EXPECT_EQ(emvGetTDOL(out.data(), out_length.data()), 53);
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(out_length.untouched());
}

TEST_F(DolData, CardTdolRefusesNullPointersFirst) {
    GuardedBuffer out(252);
    GuardedBuffer out_length(1);
    for (const bool present : {false, true}) {
        put("97", pattern(3));
        set_state_of("97", present ? 1 : 0);
        EXPECT_EQ(emvGetTDOL(nullptr, out_length.data()), 49);
        EXPECT_EQ(emvGetTDOL(out.data(), nullptr), 49);
    }
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(out_length.untouched());
}

TEST_F(DolData, CardTdolEndsWithTheStorageWhateverLengthTheHostHasSet) {
    put("97", pattern(252));
    set_length_of("97", 0xFFFF, Current);
    GuardedBuffer out(252);
    GuardedBuffer out_length(1);
    EXPECT_EQ(emvGetTDOL(out.data(), out_length.data()), 1);
    EXPECT_TRUE(out.holds(pattern(252)));
    EXPECT_TRUE(out_length.holds({252}));
}

// ---- The terminal's defaults

ByteString bytes_of(const std::uint8_t (&storage)[252]) {
    return {std::begin(storage), std::end(storage)};
}

TEST_F(DolData, DefaultsAreKeptApart) {
    EXPECT_EQ(emvInTermDDOL(), 0);
    EXPECT_EQ(emvSetTermDDOL(ExactBytes(hex("9F3704")).data(), 3), 0);
    EXPECT_EQ(bytes_of(gl_Tm_DDOL), join(hex("9F3704"), filled(249, 0x00)));
    EXPECT_EQ(gl_Tm_LenDDOL, 3);
    EXPECT_EQ(bytes_of(gl_Tm_TDOL), filled(252, 0x00));
    EXPECT_EQ(gl_Tm_LenTDOL, 0);
    EXPECT_EQ(emvInTermDDOL(), 1);
    EXPECT_EQ(emvGetTermDDOLLength(), 3);

    EXPECT_EQ(emvSetTermDefaultTDOL(ExactBytes(hex("9F02065F2A02")).data(), 6), 0);
    EXPECT_EQ(bytes_of(gl_Tm_TDOL), join(hex("9F02065F2A02"), filled(246, 0x00)));
    EXPECT_EQ(gl_Tm_LenTDOL, 6);
    EXPECT_EQ(bytes_of(gl_Tm_DDOL), join(hex("9F3704"), filled(249, 0x00)));
    EXPECT_EQ(gl_Tm_LenDDOL, 3);

    GuardedBuffer out(252);
    GuardedBuffer out_length(1);
    EXPECT_EQ(emvGetTermDefaultTDOL(out.data(), out_length.data()), 0);
    EXPECT_TRUE(out.holds(hex("9F02065F2A02")));
    EXPECT_TRUE(out_length.holds({6}));

    EXPECT_EQ(emvSetTermDDOL(hex("9F3704").data(), 0), 0);
    EXPECT_EQ(emvInTermDDOL(), 0);
    EXPECT_EQ(emvGetTermDDOLLength(), 0);
}

TEST_F(DolData, DefaultTdolMayBeEmpty) {
    GuardedBuffer out(252);
    GuardedBuffer out_length(1);
    EXPECT_EQ(emvGetTermDefaultTDOL(out.data(), out_length.data()), 0);
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(out_length.holds({0}));
}

TEST_F(DolData, ShorterDefaultsLeaveTheRestAlone) {
    ByteString expected = pattern(252, 2);
    std::ranges::copy(hex("9F3704"), expected.begin());
    emvSetTermDDOL(pattern(252, 2).data(), 252);
    EXPECT_EQ(emvSetTermDDOL(ExactBytes(hex("9F3704")).data(), 3), 0);
    EXPECT_EQ(bytes_of(gl_Tm_DDOL), expected);
    EXPECT_EQ(gl_Tm_LenDDOL, 3);

    emvSetTermDefaultTDOL(pattern(252, 2).data(), 252);
    EXPECT_EQ(emvSetTermDefaultTDOL(ExactBytes(hex("9F3704")).data(), 3), 0);
    EXPECT_EQ(bytes_of(gl_Tm_TDOL), expected);
    EXPECT_EQ(gl_Tm_LenTDOL, 3);
}

TEST_F(DolData, DeliberatelyDefaultsKeepTheLengthGivenAndHandOutWhatTheyHold) {
    for (const std::uint8_t given : ByteString{252, 253, 255}) {
        EXPECT_EQ(emvSetTermDDOL(ExactBytes(pattern(given)).data(), given), 0);
        EXPECT_EQ(bytes_of(gl_Tm_DDOL), pattern(252));
        EXPECT_EQ(gl_Tm_LenDDOL, given);
        EXPECT_EQ(emvGetTermDDOLLength(), 252);

        EXPECT_EQ(emvSetTermDefaultTDOL(ExactBytes(pattern(given, 4)).data(), given), 0);
        EXPECT_EQ(bytes_of(gl_Tm_TDOL), pattern(252, 4));
        EXPECT_EQ(gl_Tm_LenTDOL, given);
        GuardedBuffer out(252);
        GuardedBuffer out_length(1);
        EXPECT_EQ(emvGetTermDefaultTDOL(out.data(), out_length.data()), 0);
        EXPECT_TRUE(out.holds(pattern(252, 4)));
        EXPECT_TRUE(out_length.holds({252}));
    }
}

TEST_F(DolData, DefaultsRefuseNullPointers) {
    emvSetTermDDOL(pattern(3).data(), 3);
    emvSetTermDefaultTDOL(pattern(4).data(), 4);
    EXPECT_EQ(emvSetTermDDOL(nullptr, 9), 49);
    EXPECT_EQ(emvSetTermDefaultTDOL(nullptr, 9), 49);
    EXPECT_EQ(gl_Tm_LenDDOL, 3);
    EXPECT_EQ(gl_Tm_LenTDOL, 4);
    GuardedBuffer out(252);
    GuardedBuffer out_length(1);
    EXPECT_EQ(emvGetTermDefaultTDOL(nullptr, out_length.data()), 49);
    EXPECT_EQ(emvGetTermDefaultTDOL(out.data(), nullptr), 49);
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(out_length.untouched());
}

// ---- Command data

struct CommandData {
    const char* name;
    void (*set)(const std::uint8_t* data, std::uint16_t length);
    std::int32_t (*get)(std::uint8_t* out, std::uint16_t* length);
    std::uint8_t (&storage)[256];
    std::uint16_t& length;
};

const CommandData commands[] = {
    {"GPO", emvSetGPOPdolData, emvGetGPOPdolData, gl_GPOPdolData, gl_LenGPOPdolData},
    {"first GAC", emvSetGACCdolOne, emvGetGACCdolOne, gl_GACCdolOne, gl_LenGACCdolOne},
    {"second GAC", emvSetGACCdolTwo, emvGetGACCdolTwo, gl_GACCdolTwo, gl_LenGACCdolTwo},
};

TEST_F(DolData, CommandDataAreKeptApart) {
    for (const CommandData& command : commands) {
        emvClrIccAndTermData();
        command.set(ExactBytes(pattern(7)).data(), 7);
        for (const CommandData& other : commands) {
            const ByteString expected = &other == &command ? pattern(7) : filled(7, 0x00);
            EXPECT_EQ(to_hex(other.storage), to_hex(join(expected, filled(249, 0x00))))
                << command.name << other.name;
            EXPECT_EQ(other.length, &other == &command ? 7 : 0) << command.name << other.name;
        }
    }
}

TEST_F(DolData, ShorterCommandDataLeaveTheRestAlone) {
    for (const CommandData& command : commands) {
        command.set(pattern(256, 2).data(), 256);
        command.set(ExactBytes(hex("8302AABB")).data(), 4);
        ByteString expected = pattern(256, 2);
        std::ranges::copy(hex("8302AABB"), expected.begin());
        EXPECT_EQ(to_hex(command.storage), to_hex(expected)) << command.name;
        EXPECT_EQ(command.length, 4) << command.name;
    }
}

TEST_F(DolData, DeliberatelyCommandDataKeepTheLengthGivenAndFillTheirStorage) {
    for (const CommandData& command : commands) {
        for (const std::uint16_t given : Lengths{256, 257, 0xFFFF}) {
            command.set(ExactBytes(pattern(given, 6)).data(), given);
            EXPECT_EQ(to_hex(command.storage), to_hex(pattern(256, 6))) << command.name;
            EXPECT_EQ(command.length, given) << command.name;
        }
    }
}

TEST_F(DolData, NullCommandDataAreNotSet) {
    for (const CommandData& command : commands) {
        command.set(pattern(5).data(), 5);
        command.set(nullptr, 9);
        EXPECT_EQ(command.length, 5) << command.name;
        EXPECT_EQ(to_hex(command.storage), to_hex(join(pattern(5), filled(251, 0x00))));
    }
}

TEST_F(DolData, GenerateAcDataAreCopiedWithTheirLength) {
    for (const CommandData& command : std::span(commands).subspan(1)) {
        SCOPED_TRACE(command.name);
        GuardedBuffer out(256);
        std::uint16_t length = 0xABCD;
        EXPECT_EQ(command.get(out.data(), &length), 0);
        EXPECT_TRUE(out.untouched());
        EXPECT_EQ(length, 0xABCD);

        command.set(pattern(9).data(), 9);
        EXPECT_EQ(command.get(out.data(), &length), 1);
        EXPECT_TRUE(out.holds(pattern(9)));
        EXPECT_EQ(length, 9);

        command.set(pattern(300).data(), 300);
        EXPECT_EQ(command.get(out.data(), &length), 1);
        EXPECT_TRUE(out.holds(pattern(256)));
        EXPECT_EQ(length, 256);
    }
}

TEST_F(DolData, CommandDataRefuseNullPointers) {
    for (const CommandData& command : commands) {
        command.set(hex("8302AABB").data(), 4);
        GuardedBuffer out(256);
        std::uint16_t length = 0xABCD;
        EXPECT_EQ(command.get(nullptr, &length), 49) << command.name;
        EXPECT_EQ(command.get(out.data(), nullptr), 49) << command.name;
        EXPECT_TRUE(out.untouched()) << command.name;
        EXPECT_EQ(length, 0xABCD) << command.name;
    }
}

// What is kept for GET PROCESSING OPTIONS, and the values without their template.
struct ProcessingOptions {
    const char* kept;
    std::int32_t result;
    const char* values;
};

constexpr ProcessingOptions processing_options[] = {
    {"", 0, ""},
    {"8300", 1, ""},
    {"8302 AABB", 1, "AABB"},
    {"8381 02 AABB", 1, "AABB"},
    {"8382 0002 AABB", 1, "AABB"},
    {"8302 AABB 00", 1, "AABB"},  // what follows is not told
    {"8303 AABB", 0, ""},         // value cut off
    {"83", 0, ""},                // no length
    {"8380 AABB", 0, ""},         // indefinite length
    {"8402 AABB", 0, ""},         // another tag
    {"A302 8100", 0, ""},         // constructed
    {"9F8302 AABB", 0, ""},       // malformed tag
    {"9F0302 AABB", 0, ""},       // two-byte tag
    {"00 8302 AABB", 0, ""},      // padding is not skipped
    {"77028300", 0, ""},          // not at the start
};

TEST_F(DolData, ProcessingOptionsAreHandedOutWithoutTheirTemplate) {
    for (const ProcessingOptions& options : processing_options) {
        emvClrIccAndTermData();
        const ByteString kept = hex(options.kept);
        emvSetGPOPdolData(ExactBytes(kept).data(), static_cast<std::uint16_t>(kept.size()));
        GuardedBuffer out(256);
        std::uint16_t length = 0xABCD;
        EXPECT_EQ(emvGetGPOPdolData(out.data(), &length), options.result) << options.kept;
        EXPECT_TRUE(out.holds(hex(options.values))) << options.kept;
        EXPECT_EQ(length, hex(options.values).size()) << options.kept;
    }
}

TEST_F(DolData, ProcessingOptionsFillTheirStorage) {
    const ByteString values = pattern(253);
    emvSetGPOPdolData(join(hex("8381FD"), values).data(), 256);
    GuardedBuffer out(253);
    std::uint16_t length = 0;
    EXPECT_EQ(emvGetGPOPdolData(out.data(), &length), 1);
    EXPECT_TRUE(out.holds(values));
    EXPECT_EQ(length, 253);
}

TEST_F(DolData, ProcessingOptionsBeyondTheirStorageAreNotHandedOut) {
    emvSetGPOPdolData(join(hex("83820100"), pattern(256)).data(), 260);
    GuardedBuffer out(256);
    std::uint16_t length = 0xABCD;
    EXPECT_EQ(emvGetGPOPdolData(out.data(), &length), 0);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(length, 0);
}

}  // namespace
}  // namespace quorrin::test
