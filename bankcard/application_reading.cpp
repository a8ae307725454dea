#include "bankcard/application_reading.hpp"

#include <initializer_list>

namespace quorrin {

std::int64_t read_application(std::int64_t handle, const char* aid_hex, const char* terminal_data,
                              const QuorrinKeyRow* table, ReadingWatch watch) {
    const auto take = [&](ReadingStep step) {
        switch (step) {
            case ReadingStep::Selection:
                return emvSelectAid(handle, aid_hex);
            case ReadingStep::Options:
                return emvGPO(handle, terminal_data, table);
            default:
                return emvReadICCard(handle);
        }
    };
    for (const ReadingStep step :
         {ReadingStep::Selection, ReadingStep::Options, ReadingStep::Records}) {
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
