// The connection with the PC/SC service, and the readers that it knows.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "reader_libraries/pcsc/pcsc_functions.hpp"

namespace quorrin::pcsc {

// A step that failed, for the person who looks for the reason.
struct FailedStep {
    const char* function;
    LONG result;
};

class Service {
  public:
    explicit Service(const PcscFunctions& functions) : functions_(functions) {}

    // Connects where there is no connection and reads the list of readers; without any reader that
    // fails.
    std::optional<FailedStep> list_readers(std::vector<std::string>& names);

    void release();

    [[nodiscard]] SCARDCONTEXT context() const { return context_.value_or(0); }
    [[nodiscard]] const PcscFunctions& functions() const { return functions_; }

  private:
    LONG establish();
    LONG read_list(std::vector<std::string>& names) const;

    const PcscFunctions& functions_;
    std::optional<SCARDCONTEXT> context_;
};

}  // namespace quorrin::pcsc
