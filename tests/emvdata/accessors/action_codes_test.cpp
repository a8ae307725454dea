// Issuer and terminal action codes.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

class ActionCodes : public AccessorTest {};

struct Code {
    std::uint8_t selector;
    std::uint8_t (&code)[5];
    std::uint8_t* set_by_host;  // terminal codes only
    const char* tag;            // issuer codes only
};

const Code codes[] = {
    {11, gl_IAC_Denial, nullptr, "9F0E"},
    {12, gl_IAC_Online, nullptr, "9F0F"},
    {13, gl_IAC_Default, nullptr, "9F0D"},
    {21, gl_TAC_Denial, &gl_FgTAC_Denial, nullptr},
    {22, gl_TAC_Online, &gl_FgTAC_Online, nullptr},
    {23, gl_TAC_Default, &gl_FgTAC_Default, nullptr},
};

ByteString all_codes() {
    ByteString bytes;
    for (const Code& code : codes) {
        bytes.insert(bytes.end(), std::begin(code.code), std::end(code.code));
    }
    return bytes;
}

ByteString flags() {
    return {gl_FgTAC_Denial, gl_FgTAC_Online, gl_FgTAC_Default};
}

bool is_selector(int number) {
    return std::ranges::find(codes, number, &Code::selector) != std::end(codes);
}

TEST_F(ActionCodes, EverySelectorReadsTheBitsOfItsOwnCode) {
    for (const Code& selected : codes) {
        for (unsigned at = 0; at < 40; ++at) {
            for (const Code& code : codes) {
                std::ranges::fill(code.code, std::uint8_t{0});
            }
            selected.code[at / 8] = static_cast<std::uint8_t>(1u << at % 8);
            for (const Code& asked : codes) {
                EXPECT_EQ(emvGetActionCode(static_cast<std::uint8_t>(at / 8 + 1),
                                           static_cast<std::uint8_t>(at % 8 + 1), asked.selector),
                          &asked == &selected);
            }
        }
    }
}

TEST_F(ActionCodes, IssuerCodesAreThoseOfTheirTags) {
    put("9F0E", hex("0000000001"));
    put("9F0F", hex("0000000200"));
    put("9F0D", hex("0000040000"));
    EXPECT_EQ(emvGetActionCode(5, 1, 11), 1);
    EXPECT_EQ(emvGetActionCode(4, 2, 12), 1);
    EXPECT_EQ(emvGetActionCode(3, 3, 13), 1);
}

TEST_F(ActionCodes, BitsOutsideACodeAreZero) {
    for (const Code& code : codes) {
        emvSetActionCode(code.selector, 1);
    }
    for (const Code& code : codes) {
        EXPECT_EQ(emvGetActionCode(0, 1, code.selector), 0);
        EXPECT_EQ(emvGetActionCode(6, 1, code.selector), 0);
        EXPECT_EQ(emvGetActionCode(1, 0, code.selector), 0);
        EXPECT_EQ(emvGetActionCode(1, 9, code.selector), 0);
    }
}

TEST_F(ActionCodes, AreFilledWithAllOnesOrZeros) {
    for (const Code& selected : codes) {
        const ByteString before = all_codes();
        for (const int on : {1, 2, 0xFF}) {
            std::ranges::fill(selected.code, std::uint8_t{0x5A});
            EXPECT_EQ(emvSetActionCode(selected.selector, static_cast<std::uint8_t>(on)), 0);
            EXPECT_EQ(to_hex(selected.code), "FFFFFFFFFF") << int{selected.selector};
        }
        EXPECT_EQ(emvSetActionCode(selected.selector, 0), 0);
        EXPECT_EQ(to_hex(selected.code), "0000000000") << int{selected.selector};
        std::copy_n(before.begin() + 5 * (&selected - codes), 5, selected.code);
        EXPECT_EQ(all_codes(), before) << int{selected.selector};
    }
}

TEST_F(ActionCodes, DeliberatelyFillingSetsNoPresence) {
    for (const Code& code : codes) {
        emvSetActionCode(code.selector, 1);
    }
    EXPECT_EQ(flags(), hex("000000"));
    for (const char* tag : {"9F0E", "9F0F", "9F0D"}) {
        EXPECT_EQ(row(tag).state, 0) << tag;
        EXPECT_EQ(row(tag).curLen, 0) << tag;
    }
}

TEST_F(ActionCodes, DeliberatelyFillingLeavesPresenceAsItWas) {
    const char* const issuer_tags[] = {"9F0E", "9F0F", "9F0D"};
    for (const char* tag : issuer_tags) {
        mark(tag, 1, 0x0303);
    }
    gl_FgTAC_Denial = gl_FgTAC_Online = gl_FgTAC_Default = 1;
    for (const Code& code : codes) {
        for (const std::uint8_t on : ByteString{1, 0}) {
            EXPECT_EQ(emvSetActionCode(code.selector, on), 0);
        }
    }
    EXPECT_EQ(flags(), hex("010101"));
    for (const char* tag : issuer_tags) {
        EXPECT_EQ(row(tag).state, 1) << tag;
        EXPECT_EQ(row(tag).curLen, 0x0303) << tag;
    }
}

TEST_F(ActionCodes, OtherSelectorsAreRefusedEverywhere) {
    const ByteString before = all_codes();
    const ByteString code = pattern(5);
    for (int number = 0; number <= 255; ++number) {
        const auto selector = static_cast<std::uint8_t>(number);
        if (!is_selector(number)) {
            EXPECT_EQ(emvGetActionCode(1, 1, selector), -32) << number;
            EXPECT_EQ(emvSetActionCode(selector, 1), -32) << number;
            EXPECT_EQ(emvInActionCode(selector), -32) << number;
            EXPECT_EQ(emvSetTermActionCode(code.data(), selector), 49) << number;
        }
    }
    EXPECT_EQ(all_codes(), before);
    EXPECT_EQ(flags(), hex("000000"));
}

TEST_F(ActionCodes, OfTheTerminalAreSetWithTheirOwnFlag) {
    for (const Code& selected : codes) {
        if (selected.set_by_host == nullptr) {
            continue;
        }
        emvClrIccAndTermData();
        ByteString expected = all_codes();
        std::ranges::copy(pattern(5), expected.begin() + 5 * (&selected - codes));
        EXPECT_EQ(emvSetTermActionCode(ExactBytes(pattern(5)).data(), selected.selector), 0);
        EXPECT_EQ(all_codes(), expected) << int{selected.selector};
        for (const Code& other : codes) {
            if (other.set_by_host != nullptr) {
                EXPECT_EQ(*other.set_by_host, &other == &selected) << int{selected.selector};
            }
        }
    }
}

TEST_F(ActionCodes, OfTheIssuerCannotBeSetByTheHost) {
    const ByteString before = all_codes();
    for (const std::uint8_t selector : ByteString{11, 12, 13}) {
        EXPECT_EQ(emvSetTermActionCode(pattern(5).data(), selector), 49);
    }
    EXPECT_EQ(all_codes(), before);
    EXPECT_EQ(flags(), hex("000000"));
}

TEST_F(ActionCodes, NullCodeIsRefused) {
    const ByteString before = all_codes();
    for (const std::uint8_t selector : ByteString{21, 22, 23, 0}) {
        EXPECT_EQ(emvSetTermActionCode(nullptr, selector), 49);
    }
    EXPECT_EQ(all_codes(), before);
    EXPECT_EQ(flags(), hex("000000"));
}

TEST_F(ActionCodes, OfTheIssuerArePresentWithTheirElements) {
    for (const Code& code : codes) {
        if (code.tag != nullptr) {
            EXPECT_EQ(emvInActionCode(code.selector), 0) << code.tag;
            put(code.tag, pattern(5));
            EXPECT_EQ(emvInActionCode(code.selector), 1) << code.tag;
            set_state_of(code.tag, 0);
            EXPECT_EQ(emvInActionCode(code.selector), 0) << code.tag;
        }
    }
}

// Every combination of the three flags: what 21, 22 and 23 answer. Any flag but 0 is set.
struct Cascade {
    const char* flags;  // denial, online, default
    std::int32_t denial;
    std::int32_t online;
    std::int32_t by_default;
};

constexpr Cascade cascades[] = {
    {"000000", 0, 0, 0},     {"000001", 0, 0, -32},     {"000100", 0, 0, 0},
    {"000101", 0, -32, -32}, {"010000", 0, 0, 0},       {"010001", 0, 0, -32},
    {"010100", 0, 0, 0},     {"010101", -32, -32, -32}, {"020101", -32, -32, -32},
    {"000201", 0, -32, -32}, {"000002", 0, 0, -32},     {"020000", 0, 0, 0},
};

TEST_F(ActionCodes, DeliberatelyTheTerminalsPresenceCascadesToTheDefaultCode) {
    for (const Cascade& cascade : cascades) {
        const ByteString set = hex(cascade.flags);
        gl_FgTAC_Denial = set[0];
        gl_FgTAC_Online = set[1];
        gl_FgTAC_Default = set[2];
        EXPECT_EQ(emvInActionCode(21), cascade.denial) << cascade.flags;
        EXPECT_EQ(emvInActionCode(22), cascade.online) << cascade.flags;
        EXPECT_EQ(emvInActionCode(23), cascade.by_default) << cascade.flags;
    }
}

TEST_F(ActionCodes, DeliberatelyASetDefaultCodeEndsAsABadSelector) {
    EXPECT_EQ(emvInActionCode(23), 0);
    EXPECT_EQ(emvSetTermActionCode(pattern(5).data(), 23), 0);
    EXPECT_EQ(emvInActionCode(23), -32);
}

}  // namespace
}  // namespace quorrin::test
