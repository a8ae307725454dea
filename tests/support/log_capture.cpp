#include "tests/support/log_capture.hpp"

#include <gtest/gtest.h>

#include <QString>

namespace quorrin::test {
namespace {

std::vector<LogLine>& captured() {
    static std::vector<LogLine> lines;
    return lines;
}

void capture(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    captured().push_back(
        {type, context.category != nullptr ? context.category : "(null)",
         context.file != nullptr || context.function != nullptr || context.line != 0,
         message.toStdString()});
}

}  // namespace

LogCapture::LogCapture() : previous_(qInstallMessageHandler(capture)) {
    captured().clear();
}

LogCapture::~LogCapture() {
    qInstallMessageHandler(previous_);
}

std::vector<std::string> LogCapture::texts() const {
    std::vector<std::string> texts;
    for (const LogLine& line : captured()) {
        EXPECT_EQ(line.type, QtDebugMsg);
        EXPECT_EQ(line.category, "default");
        EXPECT_FALSE(line.has_context);
        texts.push_back(line.text);
    }
    return texts;
}

const std::vector<LogLine>& LogCapture::lines() const {
    return captured();
}

std::size_t LogCapture::line_count() {
    return captured().size();
}

void LogCapture::clear() {
    captured().clear();
}

}  // namespace quorrin::test
