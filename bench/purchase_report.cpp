// What a purchase costs: time and allocations of each step, with what goes over the wire beside
// them. Prints the tables of docs/performance.md.

#include <time.h>  // NOLINT(modernize-deprecated-headers): clock_gettime

#include <QLoggingCategory>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>

#include "bench/purchase.hpp"

// Counts what any library of this process allocates.
extern "C" {
void* __libc_malloc(std::size_t size);  // NOLINT(bugprone-reserved-identifier)
static std::size_t allocations = 0;
void* malloc(std::size_t size) {
    ++allocations;
    return __libc_malloc(size);
}
}

namespace {

using namespace quorrin::bench;

constexpr int runs_of_batch = 500;
constexpr int batches = 60;

double processor_time() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return 1e9 * static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec);
}

// Nanoseconds of one run. Other work on the machine only ever adds time: the fastest batch counts.
template <typename Operation>
double fastest(Operation operation) {
    double best = std::numeric_limits<double>::infinity();
    for (int batch = 0; batch < batches; ++batch) {
        const double start = processor_time();
        for (int run = 0; run < runs_of_batch; ++run) {
            operation();
        }
        best = std::min(best, (processor_time() - start) / runs_of_batch);
    }
    return best;
}

void run_steps(std::size_t count) {
    begin_purchase();
    for (const PurchaseStep& step : purchase_steps().first(count)) {
        if (step.run() != 0) {
            std::abort();
        }
    }
}

struct Cost {
    double nanoseconds = 0;
    std::size_t allocations = 0;
    Traffic traffic;
};

Cost cost_of_whole() {
    const std::size_t allocated = allocations;
    const Traffic before = traffic();
    if (run_purchase() != 0) {
        std::abort();
    }
    Cost cost;
    cost.allocations = allocations - allocated;
    cost.traffic = {traffic().exchanges - before.exchanges, traffic().sent - before.sent,
                    traffic().received - before.received};
    cost.nanoseconds = fastest([] { run_purchase(); });
    return cost;
}

// What a step adds to those before it.
Cost cost_of_step(std::size_t index) {
    run_steps(index);
    const std::size_t allocated = allocations;
    const Traffic before = traffic();
    if (purchase_steps()[index].run() != 0) {
        std::abort();
    }
    Cost cost;
    cost.allocations = allocations - allocated;
    cost.traffic = {traffic().exchanges - before.exchanges, traffic().sent - before.sent,
                    traffic().received - before.received};
    cost.nanoseconds = fastest([&] { run_steps(index + 1); }) - fastest([&] { run_steps(index); });
    return cost;
}

void drop(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& /*text*/) {}

enum class Logging { OffByRule, NullHandler, AsShipped };

void set_logging(Logging logging) {
    const bool off = logging == Logging::OffByRule;
    QLoggingCategory::setFilterRules(off ? "default.debug=false" : "");
    qInstallMessageHandler(logging == Logging::NullHandler ? drop : nullptr);
}

void report_costs() {
    constexpr std::array<Logging, 3> ways = {Logging::OffByRule, Logging::NullHandler,
                                             Logging::AsShipped};
    std::printf("%-16s %9s %6s %8s %21s %21s %21s\n", "", "exchanges", "sent", "received",
                "logging off by rule", "null handler", "as shipped");
    const auto print = [&](const char* name, auto cost_of) {
        for (const Logging way : ways) {
            set_logging(way);
            const Cost cost = cost_of();
            if (way == ways.front()) {
                std::printf("%-16s %9zu %6zu %8zu", name, cost.traffic.exchanges, cost.traffic.sent,
                            cost.traffic.received);
            }
            std::printf(" %8.0f ns %3zu allocs", cost.nanoseconds, cost.allocations);
        }
        std::printf("\n");
    };
    for (std::size_t i = 0; i < purchase_steps().size(); ++i) {
        print(purchase_steps()[i].name, [i] { return cost_of_step(i); });
    }
    print("whole purchase", cost_of_whole);
}

// How long the bytes alone take on the wire. Contact cards: a character is 12 times the bit (ISO
// 7816-3, with guard time), without procedure bytes. Contactless ones: 9 bits a byte (ISO 14443-3
// type A, parity), without frames. What a card computes comes on top of both.
void report_wire_times() {
    struct Rate {
        const char* name;
        double bits_a_second;
        double bits_a_byte;
    };
    constexpr double carrier = 13.56e6;
    constexpr Rate rates[] = {
        {"contact, 9,600 bit/s", 9600, 12},           {"contact, 19,200 bit/s", 19200, 12},
        {"contact, 38,400 bit/s", 38400, 12},         {"contact, 57,600 bit/s", 57600, 12},
        {"contact, 115,200 bit/s", 115200, 12},       {"contactless, 106 kbit/s", carrier / 128, 9},
        {"contactless, 212 kbit/s", carrier / 64, 9}, {"contactless, 424 kbit/s", carrier / 32, 9},
        {"contactless, 848 kbit/s", carrier / 16, 9},
    };
    set_logging(Logging::OffByRule);
    const Cost cost = cost_of_whole();
    const auto bytes = static_cast<double>(cost.traffic.sent + cost.traffic.received);
    std::printf("\n%-24s %12s %16s\n", "", "on the wire", "library's share");
    for (const Rate& rate : rates) {
        const double wire = 1e9 * bytes * rate.bits_a_byte / rate.bits_a_second;
        std::printf("%-24s %9.1f ms %14.4f %%\n", rate.name, wire / 1e6,
                    100 * cost.nanoseconds / (wire + cost.nanoseconds));
    }
}

}  // namespace

int main() {
    // As shipped, lines go to standard error; what a terminal does with them is not measured.
    if (std::freopen("/dev/null", "w", stderr) == nullptr) {
        return 1;
    }
    try {
        check_purchase();
    } catch (const std::exception& mismatch) {
        std::printf("%s\n", mismatch.what());
        return 1;
    }
    report_costs();
    report_wire_times();
    return 0;
}
