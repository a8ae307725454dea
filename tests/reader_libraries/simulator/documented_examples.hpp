// The examples of docs/simulator.md: what the page shows is what the tests run.
#pragma once

#include <map>
#include <string>

namespace quorrin::test {

struct DocumentedExamples {
    std::map<std::string, std::string> files;       // reader files by name
    std::map<std::string, std::string> complaints;  // what a wrong one gets, by name
};

// A ```toml block is a file, named by the comment on its first line; a ```text block right behind it
// is the complaint that it gets. Throws when a block is not of this form.
DocumentedExamples read_documented_examples(const std::string& page);

}  // namespace quorrin::test
