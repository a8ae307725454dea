#include "bankcard/application_reading.hpp"

#include <initializer_list>

namespace quorrin {

std::int64_t read_application(std::int64_t handle, const char* aid_hex, const char* terminal_data,
                              const QuorrinKeyRow* table, ReadingWatch watch) {
    const auto take = [&](ReadingStep step) {
        switch (step) {
            case ReadingStep::selection:
                return emvSelectAid(handle, aid_hex);
            case ReadingStep::options:
                return emvGPO(handle, terminal_data, table);
            default:
                return emvReadICCard(handle);
        }
    };
    for (const ReadingStep step :
         {ReadingStep::selection, ReadingStep::options, ReadingStep::records}) {
        if (watch != nullptr) {
            watch(step, false);
        }
        if (const std::int64_t failure = take(step)) {
            if (watch != nullptr) {
                watch(step, true);
            }
            return failure;
        }
    }
    return QUORRIN_SUCCESS;
}

}  // namespace quorrin
