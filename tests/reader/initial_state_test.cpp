// The exported variables as they are after loading. In a program of its own: the other tests change
// them.

#include <gtest/gtest.h>

#include "quorrin/quorrin.h"

namespace {

TEST(InitialState, OfTheReaderConnection) {
    EXPECT_EQ(ReaderHandle, 0);
    EXPECT_EQ(EG_port, 0);
    const char expected[10] = {'A', 'U', 'T', 'O'};
    EXPECT_EQ(std::string(EG_szDev_Name, sizeof EG_szDev_Name),
              std::string(expected, sizeof expected));
}

TEST(InitialState, OfTheUserCard) {
    EXPECT_EQ(EG_nUserCardType, 11);
}

TEST(InitialState, OfTheLastExchange) {
    EXPECT_EQ(CARD_SW1, 0);
    EXPECT_EQ(CARD_SW2, 0);
    EXPECT_EQ(CARD_STATUS, 0);
}

}  // namespace
