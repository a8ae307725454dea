// Times of the data element store, each beside two yardsticks measured in the same run: a plain
// linear search over the two tables and memcpy of the same bytes.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "bench/workloads.hpp"

namespace quorrin::bench {
namespace {

// Other work on the machine only ever adds time: the fastest of several runs is the figure.
void show_fastest(benchmark::internal::Benchmark* b) {
    b->ComputeStatistics("fastest", [](const std::vector<double>& runs) {
        return *std::min_element(runs.begin(), runs.end());
    });
}

// Time per thing handled, beside the time of the whole run.
void count_per(benchmark::State& state, const char* name, std::size_t things) {
    state.counters[name] = benchmark::Counter(
        static_cast<double>(things),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The yardstick: row by row, card table first. What is asked for is not known when it is compiled.
[[gnu::noinline]] const QuorrinDataElement* linear_search(const std::uint8_t* tag,
                                                          std::size_t tag_length) {
    benchmark::DoNotOptimize(tag);
    benchmark::DoNotOptimize(tag_length);
    for (const auto table : {card_table(), terminal_table()}) {
        for (const QuorrinDataElement& element : table) {
            if (element.tagLen == tag_length && std::memcmp(element.tag, tag, tag_length) == 0) {
                return &element;
            }
        }
    }
    return nullptr;
}

struct Wanted {
    std::uint8_t bytes[2];
    std::uint8_t length;
};
constexpr Wanted first_tag{{0x9F, 0x26}, 2};    // card table, row 0
constexpr Wanted last_tag{{0xDF, 0x69}, 2};     // terminal table, row 47
constexpr Wanted unknown_tag{{0x9F, 0x70}, 2};  // in neither
constexpr Wanted no_tag{{}, 0};                 // refused at once: what a call itself costs

// A benchmark times nothing whose result is not the expected one.
bool is_right(benchmark::State& state, bool right) {
    if (!right) {
        state.SkipWithError("unexpected result");
    }
    return right;
}

void lookup(benchmark::State& state, Wanted wanted, unsigned table) {
    std::uint16_t row = 0;
    if (!is_right(state, emvFindDataElement(wanted.bytes, wanted.length, &row) == table)) {
        return;
    }
    unsigned results = 0;
    for (auto _ : state) {
        results += emvFindDataElement(wanted.bytes, wanted.length, &row);
    }
    benchmark::DoNotOptimize(results);
}
BENCHMARK_CAPTURE(lookup, first, first_tag, 1)->Apply(show_fastest);
BENCHMARK_CAPTURE(lookup, last, last_tag, 2)->Apply(show_fastest);
BENCHMARK_CAPTURE(lookup, unknown, unknown_tag, 0)->Apply(show_fastest);
BENCHMARK_CAPTURE(lookup, refused, no_tag, 0)->Apply(show_fastest);

void linear_lookup(benchmark::State& state, Wanted wanted, const QuorrinDataElement* element) {
    if (!is_right(state, linear_search(wanted.bytes, wanted.length) == element)) {
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(linear_search(wanted.bytes, wanted.length));
    }
}
BENCHMARK_CAPTURE(linear_lookup, first, first_tag, &IccDt[0])->Apply(show_fastest);
BENCHMARK_CAPTURE(linear_lookup, last, last_tag, &TermDt[47])->Apply(show_fastest);
BENCHMARK_CAPTURE(linear_lookup, unknown, unknown_tag, nullptr)->Apply(show_fastest);

// Into an empty store; whether every element arrived.
bool walks(const ByteString& answer, std::size_t elements) {
    emvClrIccAndTermData();
    return emvExtractDataElement(answer.data(), static_cast<std::uint16_t>(answer.size())) == 0 &&
           present_elements() == elements;
}

void walk(benchmark::State& state, const ByteString& answer, std::size_t elements) {
    if (!is_right(state, walks(answer, elements))) {
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            emvExtractDataElement(answer.data(), static_cast<std::uint16_t>(answer.size())));
        benchmark::ClobberMemory();
    }
    count_per(state, "per_object", elements);
}
BENCHMARK_CAPTURE(walk, record, record_answer(), record_elements)->Apply(show_fastest);
BENCHMARK_CAPTURE(walk, fci, fci_answer(), fci_elements)->Apply(show_fastest);

// The tags that a walk stores, found by linear search alone.
void linear_walk(benchmark::State& state, const ByteString& answer, std::size_t elements) {
    if (!is_right(state, walks(answer, elements))) {
        return;
    }
    std::vector<Wanted> wanted;
    for (const QuorrinDataElement& element : card_table()) {
        if (element.state == 1) {
            wanted.push_back({{element.tag[0], element.tag[1]}, element.tagLen});
        }
    }
    for (auto _ : state) {
        for (const Wanted& tag : wanted) {
            benchmark::DoNotOptimize(linear_search(tag.bytes, tag.length));
        }
    }
    count_per(state, "per_object", elements);
}
BENCHMARK_CAPTURE(linear_walk, record, record_answer(), record_elements)->Apply(show_fastest);
BENCHMARK_CAPTURE(linear_walk, fci, fci_answer(), fci_elements)->Apply(show_fastest);

void copy(benchmark::State& state, std::size_t size, std::size_t things) {
    const ByteString from(size, 0x5A);
    ByteString to(size);
    for (auto _ : state) {
        benchmark::DoNotOptimize(size);
        std::memcpy(to.data(), from.data(), size);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    count_per(state, "per_object", things);
}
BENCHMARK_CAPTURE(copy, record, 200, record_elements)->Apply(show_fastest);
BENCHMARK_CAPTURE(copy, fci, 150, fci_elements)->Apply(show_fastest);

void build_cdol1(benchmark::State& state) {
    const ByteString list = cdol1();
    std::uint8_t out[256];
    std::uint16_t out_length = 0;
    emvClrIccAndTermData();
    set_terminal_data();
    const bool right =
        dolPaddingDOL(out, &out_length, list.data(), static_cast<std::uint16_t>(list.size())) == 0;
    if (!is_right(state, right && out_length == cdol1_data_size)) {
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            dolPaddingDOL(out, &out_length, list.data(), static_cast<std::uint16_t>(list.size())));
        benchmark::ClobberMemory();
    }
    count_per(state, "per_entry", cdol1_entries);
}
BENCHMARK(build_cdol1)->Apply(show_fastest);

void linear_cdol1(benchmark::State& state) {
    constexpr Wanted entries[] = {{{0x9F, 0x02}, 2}, {{0x9F, 0x03}, 2}, {{0x9F, 0x1A}, 2},
                                  {{0x95}, 1},       {{0x5F, 0x2A}, 2}, {{0x9A}, 1},
                                  {{0x9C}, 1},       {{0x9F, 0x37}, 2}, {{0x9F, 0x21}, 2},
                                  {{0x9F, 0x4E}, 2}};
    static_assert(std::size(entries) == cdol1_entries);
    const bool right = std::ranges::all_of(
        entries, [](const Wanted& tag) { return linear_search(tag.bytes, tag.length) != nullptr; });
    if (!is_right(state, right)) {
        return;
    }
    for (auto _ : state) {
        for (const Wanted& tag : entries) {
            benchmark::DoNotOptimize(linear_search(tag.bytes, tag.length));
        }
    }
    count_per(state, "per_entry", cdol1_entries);
}
BENCHMARK(linear_cdol1)->Apply(show_fastest);
BENCHMARK_CAPTURE(copy, cdol1, cdol1_data_size, cdol1_entries)->Apply(show_fastest);

void full_reset(benchmark::State& state) {
    set_terminal_data();
    if (!is_right(state, emvClrIccAndTermData() == 0 && present_elements() == 0)) {
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(emvClrIccAndTermData());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(full_reset)->Apply(show_fastest);

// What a full reset has to write, in one piece.
std::size_t store_size() {
    std::size_t size = 0;
    for (const auto table : {card_table(), terminal_table()}) {
        for (const QuorrinDataElement& element : table) {
            size += element.maxLen + sizeof element.value + sizeof element.curLen +
                    sizeof element.state;
        }
    }
    return size + sizeof gl_GACOne + sizeof gl_GACTwo + sizeof gl_tIccPk + sizeof gl_tPinEnPk +
           sizeof gl_GPOPdolData + sizeof gl_GACCdolOne + sizeof gl_GACCdolTwo +
           sizeof gl_Iss_ScriptRslt + sizeof gl_Tm_DDOL + sizeof gl_Tm_TDOL;
}
BENCHMARK_CAPTURE(copy, store, store_size(), 142)->Apply(show_fastest);

}  // namespace
}  // namespace quorrin::bench
