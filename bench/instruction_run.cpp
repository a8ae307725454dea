// Runs one operation a number of times, for an instruction counter such as callgrind, and says how
// many things they handled: quorrin_instructions OPERATION RUNS

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/purchase.hpp"
#include "bench/workloads.hpp"

using namespace quorrin::bench;

namespace {

std::size_t walk(const ByteString& answer, std::size_t elements, int runs) {
    emvClrIccAndTermData();
    for (int i = 0; i < runs; ++i) {
        if (emvExtractDataElement(answer.data(), static_cast<std::uint16_t>(answer.size())) != 0) {
            std::abort();
        }
    }
    if (present_elements() != elements) {
        std::abort();
    }
    return elements;
}

std::size_t build_cdol1(int runs) {
    const ByteString list = cdol1();
    std::uint8_t out[256];
    std::uint16_t out_length = 0;
    emvClrIccAndTermData();
    set_terminal_data();
    for (int i = 0; i < runs; ++i) {
        if (dolPaddingDOL(out, &out_length, list.data(), static_cast<std::uint16_t>(list.size())) !=
                0 ||
            out_length != cdol1_data_size) {
            std::abort();
        }
    }
    return cdol1_entries;
}

std::size_t reset(int runs) {
    for (int i = 0; i < runs; ++i) {
        emvClrIccAndTermData();
    }
    return 1;
}

std::size_t find(const char* tag_text, unsigned table, int runs) {
    const ByteString tag = quorrin::test::hex(tag_text);
    std::uint16_t row = 0;
    for (int i = 0; i < runs; ++i) {
        if (emvFindDataElement(tag.data(), 2, &row) != table) {
            std::abort();
        }
    }
    return 1;
}

std::size_t purchase(int runs) {
    check_purchase();
    for (int i = 0; i < runs; ++i) {
        if (run_purchase() != 0) {
            std::abort();
        }
    }
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s first|last|unknown|record|fci|cdol1|reset|purchase RUNS\n",
                     argv[0]);
        return 2;
    }
    const char* operation = argv[1];
    const int runs = std::atoi(argv[2]);
    std::size_t handled = 0;
    if (std::strcmp(operation, "record") == 0) {
        handled = walk(record_answer(), record_elements, runs);
    } else if (std::strcmp(operation, "fci") == 0) {
        handled = walk(fci_answer(), fci_elements, runs);
    } else if (std::strcmp(operation, "cdol1") == 0) {
        handled = build_cdol1(runs);
    } else if (std::strcmp(operation, "reset") == 0) {
        handled = reset(runs);
    } else if (std::strcmp(operation, "first") == 0) {
        handled = find("9F26", 1, runs);
    } else if (std::strcmp(operation, "last") == 0) {
        handled = find("DF69", 2, runs);
    } else if (std::strcmp(operation, "unknown") == 0) {
        handled = find("9F70", 0, runs);
    } else if (std::strcmp(operation, "purchase") == 0) {
        handled = purchase(runs);
    } else {
        return 2;
    }
    std::printf("%zu\n", handled * static_cast<std::size_t>(runs));
    return 0;
}
