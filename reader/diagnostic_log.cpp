#include "reader/diagnostic_log.hpp"

#include <QDebug>
#include <QLoggingCategory>
#include <QMessageLogger>

namespace quorrin::log {
namespace {

// The host may have installed a message handler that throws: nothing may cross the exported
// functions.
template <typename Output>
void guarded(Output output) noexcept {
    try {
        if (enabled()) {
            output(QMessageLogger(nullptr, 0, nullptr));
        }
    } catch (...) {
    }
}

}  // namespace

bool enabled() noexcept {
    const QLoggingCategory* category = QLoggingCategory::defaultCategory();
    return category != nullptr && category->isDebugEnabled();
}

void write(const char* text) noexcept {
    guarded([=](const QMessageLogger& logger) { logger.debug("%s", text); });
}

void write_items(const char* first, const char* second) noexcept {
    guarded([=](const QMessageLogger& logger) { logger.debug() << first << second; });
}

void write_items(const char* first, const char* second, std::int64_t third) noexcept {
    guarded([=](const QMessageLogger& logger) {
        logger.debug() << first << second << static_cast<qint64>(third);
    });
}

}  // namespace quorrin::log
