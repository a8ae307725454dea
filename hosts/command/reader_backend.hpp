// The reader library behind the card commands. The program provides the six reader functions itself and
// hands them on to the library that was chosen, through the recorder when a trace is wanted.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quorrin::command {

struct BackendRequest {
    // How a person names a reader library: "simulator", "simulator:FILE or card", "pcsc", "pcsc:NAME", a
    // path, or nothing: PC/SC when it has a reader, else the simulator.
    std::string reader;
    std::string slot;  // for a simulated card that is named; empty: contact
    std::string trace_file = {};
    bool clear_trace = false;
};

struct BackendChoice {
    std::string name;  // "simulator", "pcsc" or the path
    std::string file;  // the library
};

// Loads the library that was asked for and says on standard error which one when nobody asked. With a
// trace file everything that goes through is recorded. Throws Failed.
BackendChoice load_backend(const BackendRequest& request);

// Where a library of this project is: beside the program, in the library folder of its tree, or wherever
// the loader finds it.
std::string library_file(const std::string& name);

// What PC/SC knows: reader names, or why it says nothing.
struct PcscReaders {
    std::vector<std::string> names;
    std::string failure;
    bool has_library = false;
};
PcscReaders pcsc_readers();

// From now on Ctrl-C lets no further command through: the card is powered down and the reader closed on
// the way out.
void catch_interrupts();
bool was_interrupted();
inline constexpr const char* interrupted_text =
    "interrupted; the card is powered down and the reader closed";

}  // namespace quorrin::command
