#include "tests/reader_libraries/simulator/documented_examples.hpp"

#include <fstream>
#include <stdexcept>

namespace quorrin::test {
namespace {

// The lines up to the end of a block.
std::string read_block(std::istream& page) {
    std::string block;
    for (std::string line; std::getline(page, line);) {
        if (line == "```") {
            return block;
        }
        block += line + "\n";
    }
    throw std::runtime_error("a block of the page has no end");
}

}  // namespace

DocumentedExamples read_documented_examples(const std::string& page) {
    std::ifstream stream(page);
    if (!stream) {
        throw std::runtime_error("cannot read " + page);
    }
    DocumentedExamples examples;
    std::string name;
    for (std::string line; std::getline(stream, line);) {
        if (line == "```toml") {
            const std::string text = read_block(stream);
            const auto end = text.find(".toml\n");
            if (!text.starts_with("# ") || end == std::string::npos || end > text.find('\n')) {
                throw std::runtime_error("an example has no name: " + text);
            }
            name = text.substr(2, end - 2) + ".toml";
            if (!examples.files.emplace(name, text).second) {
                throw std::runtime_error("two examples are called " + name);
            }
        } else if (line == "```text") {
            examples.complaints[name] = read_block(stream);
        } else if (line.starts_with("```")) {
            throw std::runtime_error("a block of an unknown kind: " + line);
        }
    }
    return examples;
}

}  // namespace quorrin::test
