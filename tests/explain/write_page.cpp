// Writes the page that the browser test opens: a purchase, one that the bank spoils, a pulled card.
#include <fstream>
#include <iostream>

#include "explain/render.hpp"
#include "tests/explain/trace_notation.hpp"

int main(int argc, char** argv) {
    using namespace quorrin::test;
    if (argc != 2) {
        std::cerr << "write_page FILE\n";
        return 2;
    }
    TraceNotation trace = purchase({});
    const auto again = [&trace](const TraceNotation& other) {
        for (const auto& entry : other.trace().entries) {
            if (!entry.command.empty()) {
                trace.exchange(entry.command.text(), entry.answer.text());
            }
        }
    };
    trace.session("s2").open().power_on();
    again(purchase(
        {.cryptogram = "8013800013112233445566779907010103A00000019000", .authentication = "6300"},
        "000000000100 0156 261121 B1B2C3D4 0000008000"));
    trace.power_off().close();
    trace.session("s3").open().power_on();
    trace.exchange("00A4040008A00000033301010100", CardWords{}.fci)
        .exchange("80A80000068304F400000000", CardWords{}.options)
        .failure("00B2010C00", -2);
    std::ofstream out(argv[1], std::ios::binary);
    auto story = trace.story();
    story.file = "terminal.jsonl";
    out << quorrin::explain::to_html(story);
    return out.flush() ? 0 : 1;
}
