// The named bits of host.hpp and the decoder's tables say the same.
#include <quorrin/host/verification_bits.hpp>

#include <gtest/gtest.h>

#include "decode/decode.hpp"

namespace quorrin::host {
namespace {

// What the decoder calls each bit that is set.
template <typename Bits>
std::vector<std::string> decoded(std::uint32_t tag, const Bits& bits) {
    std::vector<std::string> texts;
    for (const decode::Node& node : decode::element(tag, bits.bytes()).children) {
        texts.push_back(node.text);
    }
    return texts;
}

TEST(VerificationBits, AreThoseOfTheDecoder) {
    for (const BitRow<TvrBit>& row : tvr_bits) {
        Tvr tvr;
        tvr.set(row.bit);
        EXPECT_EQ(decoded(0x95, tvr), std::vector<std::string>{std::string(row.text)});
    }
    for (const BitRow<TsiBit>& row : tsi_bits) {
        Tsi tsi;
        tsi.set(row.bit);
        EXPECT_EQ(decoded(0x9B, tsi), std::vector<std::string>{std::string(row.text)});
    }
}

}  // namespace
}  // namespace quorrin::host
