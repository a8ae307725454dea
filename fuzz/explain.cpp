// A recording from anywhere, told as text, as JSON or as a page. Head: a byte whose bits ask for what
// is masked, mask what is not, and choose the form; then the file's lines.

#include <sstream>
#include <string>
#include <utility>

#include "explain/masking.hpp"
#include "explain/render.hpp"
#include "explain/story.hpp"
#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/shown_text.hpp"

namespace {

using namespace quorrin;

trace::Trace read_lines(fuzz::Bytes content) {
    std::istringstream stream(std::string(content.begin(), content.end()));
    trace::TraceReader reader(stream);
    trace::Trace trace;
    while (auto entry = reader.next()) {
        trace.entries.push_back(*std::move(entry));
    }
    trace.problems = reader.problems();
    return trace;
}

void check_lines(const explain::Story& story, std::size_t last) {
    for (const explain::Transaction& transaction : story.transactions) {
        fuzz::expect(transaction.first_line >= 1 && transaction.last_line <= last,
                     "a transaction stands in the recording");
        fuzz::expect(!transaction.steps.empty(), "a transaction has steps");
        for (const explain::Step& step : transaction.steps) {
            fuzz::expect(!step.exchanges.empty(), "a step has something to tell");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(data, size);
    const std::uint8_t how = input.byte();
    trace::Trace trace = read_lines(input.rest());
    const std::size_t last = trace.entries.empty() ? 0 : trace.entries.back().line;
    if ((how & 0x02) != 0) {
        trace = explain::masked(std::move(trace));
    }

    const explain::Story story = explain::tell(trace, {.show_sensitive = (how & 0x01) != 0});
    check_lines(story, last);
    switch (how >> 2 & 0x03) {
        case 1:
            fuzz::expect(explain::to_html(story).ends_with("</html>\n"), "a page is whole");
            break;
        case 2:
            fuzz::expect_json(explain::to_json(story, -1));
            break;
        default:
            fuzz::expect_plain_text(explain::to_text(story, {.details = true}));
            break;
    }
    return 0;
}
