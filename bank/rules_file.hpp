// A bank's keys and rules as people write them: TOML, described in docs/test-bank.md. A file that
// makes no bank throws ConfigurationError, which names file, line, field and reason.
#pragma once

#include <filesystem>
#include <string_view>

#include "bank/rules.hpp"

namespace quorrin::bank {

Rules read_rules(const std::filesystem::path& file);
Rules rules_from_text(std::string_view text);

// The bank of the simulator's cards.
Rules test_rules();

}  // namespace quorrin::bank
