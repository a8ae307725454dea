// A reader file as a person may write it: a reader, or a complaint that names the place.

#include <stdlib.h>

#include <filesystem>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/memory_file.hpp"
#include "reader_libraries/simulator/reader_file.hpp"

namespace {

using namespace quorrin;

const fuzz::MemoryFile& content() {
    static const fuzz::MemoryFile file;
    return file;
}

// A reader file's profiles stand beside it: a folder with a profile, and a link to the file in memory.
const std::filesystem::path& place() {
    static const std::filesystem::path file = [] {
        auto directory =
            (std::filesystem::temp_directory_path() / "quorrin-reader-file-XXXXXX").string();
        fuzz::expect(mkdtemp(directory.data()) != nullptr, "a folder can be made");
        std::filesystem::copy(QUORRIN_PROFILES "/debit.toml", directory);
        const auto link = std::filesystem::path(directory) / "reader.toml";
        std::filesystem::create_symlink(content().path(), link);
        return link;
    }();
    return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    content().hold({data, size});
    try {
        const auto setup = simulator::read_reader_file(place());
        fuzz::expect(setup.name.size() < 32 && setup.serial.size() < 100,
                     "name and serial number fit");
    } catch (const ConfigurationError& complaint) {
        fuzz::expect(!complaint.reason.empty(), "a complaint gives a reason");
    }
    return 0;
}
