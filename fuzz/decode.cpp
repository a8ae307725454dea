// Card data told. Head: what is shown, the kind of data, the currency, a tag, and a list or command
// behind its length.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "decode/decode.hpp"
#include "decode/input.hpp"
#include "decode/lookup.hpp"
#include "decode/render.hpp"
#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/shown_text.hpp"

namespace {

using namespace quorrin;

struct Question {
    bool as_json = false;
    std::uint8_t kind = 0;
    std::uint32_t tag = 0;
    std::vector<std::uint8_t> data;  // of exactly this size
    decode::Options options;

    std::string_view text() const {
        return {reinterpret_cast<const char*>(data.data()), data.size()};
    }
};

Question read_question(fuzz::FuzzInput& input) {
    Question question;
    const std::uint8_t how = input.byte();
    question.options.show_sensitive = (how & 0x01) != 0;
    constexpr std::uint8_t kernels = 8;
    question.options.kernel = static_cast<decode::Kernel>((how >> 1) % kernels);
    question.as_json = (how & 0x20) != 0;
    question.kind = input.byte();
    if (const std::uint16_t currency = input.number(); currency != 0) {
        question.options.currency = currency % 1000;
    }
    question.tag = static_cast<std::uint32_t>(input.number()) << 16 | input.number();
    if ((how & 0x10) != 0) {
        question.options.instruction = static_cast<std::uint8_t>(question.tag);
    }
    const fuzz::Bytes list = input.piece();
    question.options.list.assign(list.begin(), list.end());
    const fuzz::Bytes rest = input.rest();
    question.data.assign(rest.begin(), rest.end());
    return question;
}

decode::Node told(const Question& question, const decode::Options& options) {
    const auto kinds = decode::data_kinds();
    switch (question.kind) {
        case 0xFF:
            return decode::element(question.tag, question.data, options);
        case 0xFE:
            return decode::answer(question.data, options.list, options);
        default:
            return kinds[question.kind % kinds.size()].decode(question.data, options);
    }
}

void check_places(const decode::Node& tree, std::size_t size) {
    std::vector<const decode::Node*> nodes{&tree};
    while (!nodes.empty()) {
        const decode::Node& node = *nodes.back();
        nodes.pop_back();
        fuzz::expect(node.offset <= size && node.size <= size - node.offset,
                     "a node stands within its data");
        for (const decode::Problem& problem : node.problems) {
            fuzz::expect(problem.offset <= size && !problem.text.empty(),
                         "a problem has a place in the data and a text");
        }
        for (const decode::Node& child : node.children) {
            nodes.push_back(&child);
        }
    }
}

// The account number of a string of data objects appears nowhere unless it is asked for.
void check_masking(const Question& question) {
    decode::Options options = question.options;
    options.show_sensitive = true;
    const decode::Node open = decode::tlv(question.data, options);
    const decode::Node* number = decode::find_object(open, "5A");
    if (number == nullptr) {
        return;
    }
    const std::string digits =
        number->value.substr(0, number->value.find_first_not_of("0123456789"));
    constexpr std::size_t shortest = 13;
    constexpr std::size_t longest = 19;
    if (digits.size() < shortest || digits.size() > longest) {
        return;
    }
    options.show_sensitive = false;
    const std::string shown = decode::to_json(decode::tlv(question.data, options), -1);
    fuzz::expect(shown.find(digits) == std::string::npos, "an account number is masked");
}

void read_as_text(const Question& question) {
    for (const auto read : {decode::read_hex, decode::read_base64, decode::read_any}) {
        const decode::Input input = read(question.text());
        fuzz::expect(input.error.empty() || input.bytes.empty(), "a refused input gives no bytes");
        fuzz::expect(input.bytes.size() <= question.data.size(), "text is longer than its bytes");
    }
    decode::parse_tag(question.text());
    decode::language_name(question.text());
    decode::country_name(question.text());
    for (const std::string_view name : decode::look_like(question.data)) {
        fuzz::expect(decode::find_data_kind(name) != nullptr, "a hint names a kind of data");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(data, size);
    const Question question = read_question(input);

    const decode::Node node = told(question, question.options);
    check_places(node, question.data.size());
    if (question.as_json) {
        fuzz::expect_json(decode::to_json(node, -1));
    } else {
        constexpr std::size_t narrow = 20;
        const std::string text = decode::to_text(node, {.width = narrow});
        fuzz::expect(text.ends_with('\n'), "a tree is told in whole lines");
        fuzz::expect_plain_text(text);
    }
    check_masking(question);
    read_as_text(question);
    fuzz::expect(decode::masked_hex(question.tag, question.data, question.options.kernel).size() ==
                     2 * question.data.size(),
                 "a masked value has its length");
    return 0;
}
