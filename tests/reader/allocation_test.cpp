// The way to the card and back allocates nothing, and neither does the log while it is off. A
// program of its own: it counts what malloc is asked for, under a reader that asks for nothing.

#include <gtest/gtest.h>

#include <QLoggingCategory>

#include "quorrin/quorrin.h"
#include "tests/support/counted_allocations.hpp"

namespace {

void use_the_card() {
    char message[512] = {};
    std::uint8_t response[1024];
    std::uint32_t length = 0;
    EXPECT_EQ(icBandkCardPowerUp(0, message), 0);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(IccComm(ReaderHandle, EG_nUserCardType, 0x80, 0xCA, 0x9F, 0x36, 0, nullptr, 0, 1,
                          response, &length),
                  0);
        EXPECT_EQ(TransRetCode(0, message), -27266);
    }
    EXPECT_EQ(CloseAllDevice(), 0);
    EXPECT_EQ(icBandkCardPowerUp(1, message), -2);
}

std::size_t allocations_of_a_session() {
    use_the_card();  // whatever happens once only has happened
    const std::size_t before = allocations;
    use_the_card();
    return allocations - before;
}

TEST(Allocation, NoneWhileTheLogIsOff) {
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    EXPECT_EQ(allocations_of_a_session(), 0u);
}

// The count itself: the log does allocate, and its lines are seen.
TEST(Allocation, OnlyOfTheLogWhileItIsOn) {
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    EXPECT_GT(allocations_of_a_session(), 0u);
    qInstallMessageHandler(nullptr);
}

}  // namespace
