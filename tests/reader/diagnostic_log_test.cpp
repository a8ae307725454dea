// What the log costs and how it behaves towards the host's logging configuration.

#include <QLoggingCategory>
#include <stdexcept>

#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

using testing::IsEmpty;

// Every operation that has a log line, failures included.
void log_everything() {
    GuardedBuffer buffer(1022);
    std::uint32_t length = 0;
    std::int64_t handle = 0;
    reader().open.bytes = text_bytes("%s%n");
    OpenDevice("AUTO", &handle);
    reader().power_on[0x01] = answer("3B00");
    PowerUp(handle, 11, buffer.data(), &length);
    PowerUp(handle, 12, buffer.data(), &length);
    reader().answers = {answer("4142 9000"), answer("6A82"),    answer("6101"), answer("41 9000"),
                        answer("6C01"),      answer("41 9000"), failure(-11)};
    for (int i = 0; i < 5; ++i) {
        IccComm(handle, 11, 0x31, 0x32, 0x33, 0x34, 0, nullptr, 0, 1, buffer.data(), &length);
    }
    TransRetCode(-2, nullptr);
    TransRetCode(-51, nullptr);
    TransRetCode(5, nullptr);
    PowerDown(handle, 11);
    CloseDevice(&handle);
    char message[73];
    icBandkCardPowerUp(3, message);
}
constexpr std::size_t lines_of_everything = 20;

class DiagnosticLog : public LibraryTest {
  protected:
    ~DiagnosticLog() override { QLoggingCategory::setFilterRules(QString()); }
};

// LogCapture::texts checks type, category and missing context of every line.
TEST_F(DiagnosticLog, EveryLineIsADebugLineOfTheDefaultCategoryWithoutContext) {
    log_everything();
    EXPECT_EQ(log.texts().size(), lines_of_everything);
}

TEST_F(DiagnosticLog, NoLineReachesTheHandlerWhileTheCategoryIsOff) {
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    log_everything();
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(reader().calls.size(), 12u) << "the operations themselves go on";

    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=true"));
    log_everything();
    EXPECT_EQ(log.lines().size(), lines_of_everything);
}

TEST_F(DiagnosticLog, OtherCategoriesAndLevelsDoNotMatter) {
    QLoggingCategory::setFilterRules(
        QStringLiteral("*.debug=false\ndefault.debug=true\ndefault.warning=false"));
    log_everything();
    EXPECT_EQ(log.lines().size(), lines_of_everything);
}

TEST_F(DiagnosticLog, ThrowingHandlerOfTheHostIsContained) {
    int thrown = 0;
    static int* counter = nullptr;
    counter = &thrown;
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {
            ++*counter;
            throw std::runtime_error("host");
        });
    EXPECT_NO_THROW(log_everything());
    qInstallMessageHandler(previous);
    EXPECT_EQ(thrown, static_cast<int>(lines_of_everything));
}

}  // namespace
}  // namespace quorrin::test
