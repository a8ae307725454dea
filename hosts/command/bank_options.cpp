#include "hosts/command/bank_options.hpp"

#include <algorithm>
#include <cctype>

#include "decode/decode.hpp"
#include "hosts/command/subcommand.hpp"

namespace quorrin::command {

void add_bank_options(CLI::App& command, BankOptions& options, const char* rules_option) {
    command.add_option(rules_option, options.rules, "The test bank's keys and rules (TOML)")
        ->check(CLI::ExistingFile)
        ->type_name("FILE");
    command
        .add_option("--response-code", options.response_code,
                    "What the test bank decides, such as 05; without it, what its rules say")
        ->type_name("CODE");
    command.add_option("--arpc", options.arpc, "The proof that the answer is the bank's")
        ->check(CLI::IsMember({"right", "wrong", "none"}))
        ->type_name("right|wrong|none")
        ->capture_default_str();
    command
        .add_option("--wish", options.wishes,
                    "What the bank changes on the card: \"put 9F79 000000030000\", \"block "
                    "application\"; may be given several times")
        ->type_name("WISH");
}

host::BankDecision decision_of(const BankOptions& options) {
    const std::string& code = options.response_code;
    if (!code.empty() && (code.size() != 2 || !std::ranges::all_of(code, [](unsigned char c) {
                              return std::isalnum(c) != 0;
                          }))) {
        throw WrongUsage("--response-code: two letters or digits, such as 05 or 51");
    }
    for (const std::string& wish : options.wishes) {
        QuorrinBankWish ignored;
        if (quorrin_bank_read_wish(wish.c_str(), &ignored) != 0) {
            throw WrongUsage(std::string("--wish: ") + quorrin_bank_error());
        }
    }
    host::BankDecision decision;
    decision.response_code = code;
    decision.arpc = options.arpc == "wrong"  ? QUORRIN_BANK_ARPC_WRONG
                    : options.arpc == "none" ? QUORRIN_BANK_ARPC_NONE
                                             : QUORRIN_BANK_ARPC_RIGHT;
    return decision;
}

std::string response_meaning(const std::string& code) {
    const decode::Node node = decode::element(0x8A, host::ByteString(code.begin(), code.end()), {});
    // After the code itself, which is quoted.
    const std::size_t quote = node.text.rfind("\" ");
    return quote == std::string::npos ? std::string() : node.text.substr(quote + 2);
}

}  // namespace quorrin::command
