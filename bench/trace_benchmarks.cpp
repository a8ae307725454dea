// What recording costs a call. Each exchange is made three ways in one run: with the idle reader alone,
// with the recorder in front of it, and, for the write that recording ends with, as a write of as many
// bytes. The recorder's own cost is the second less the other two.

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "bench/recorded_answers.hpp"
#include "quorrin/reader_library.h"

namespace quorrin::bench {
namespace {

using Exchange = decltype(&ICC_Reader_Application);

constexpr const char* nowhere = "/dev/null";

Exchange exchange_of(const char* library) {
    void* opened = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    void* found = opened == nullptr ? nullptr : dlsym(opened, "ICC_Reader_Application");
    if (found == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return reinterpret_cast<Exchange>(found);
}

Exchange recorder() {
    static const Exchange found = [] {
        setenv("QUORRIN_TRACE_FILE", nowhere, 1);
        setenv("QUORRIN_TRACE_READER", QUORRIN_IDLE_READER, 1);
        setenv("QUORRIN_TRACE_TERMINAL", "T0042", 1);
        return exchange_of(QUORRIN_TRACE_LIBRARY);
    }();
    return found;
}

Exchange idle_reader() {
    static const Exchange found = exchange_of(QUORRIN_IDLE_READER);
    return found;
}

// Other work on the machine only ever adds time: the fastest of several runs is the figure.
void show_fastest(benchmark::internal::Benchmark* b) {
    b->DenseRange(0, static_cast<std::int64_t>(recorded_exchanges().size()) - 1)
        ->ComputeStatistics("fastest", [](const std::vector<double>& runs) {
            return *std::min_element(runs.begin(), runs.end());
        });
}

void exchanges(benchmark::State& state, Exchange exchange) {
    const RecordedExchange& row = recorded_exchanges()[static_cast<std::size_t>(state.range(0))];
    state.SetLabel(row.name);
    test::ByteString command = test::hex(row.command);
    std::array<std::uint8_t, 1024> response{};
    // The lists come first, so that the cryptogram's data are understood.
    test::ByteString lists = test::hex("00B2021400");
    exchange(1, 1, 5, lists.data(), response.data());
    for (auto _ : state) {
        const auto size = exchange(1, 1, static_cast<std::int64_t>(command.size()), command.data(),
                                   response.data());
        if (size != static_cast<std::int64_t>(row.answer.size())) {
            state.SkipWithError("unexpected result");
        }
    }
}

void reader_alone(benchmark::State& state) {
    exchanges(state, idle_reader());
}
BENCHMARK(reader_alone)->Apply(show_fastest);

void reader_recorded(benchmark::State& state) {
    exchanges(state, recorder());
}
BENCHMARK(reader_recorded)->Apply(show_fastest);

// A line without command and answer has some 470 bytes.
void line_written(benchmark::State& state) {
    const RecordedExchange& row = recorded_exchanges()[static_cast<std::size_t>(state.range(0))];
    state.SetLabel(row.name);
    const std::string line(470 + test::hex(row.command).size() * 2 + row.answer.size() * 2, 'x');
    const int file = open(nowhere, O_WRONLY | O_APPEND);
    for (auto _ : state) {
        benchmark::DoNotOptimize(write(file, line.data(), line.size()));
    }
    close(file);
}
BENCHMARK(line_written)->Apply(show_fastest);

}  // namespace
}  // namespace quorrin::bench
