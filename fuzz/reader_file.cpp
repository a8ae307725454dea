// A reader file as a person may write it: a reader, or a complaint that names the place.

#include <unistd.h>
#include <filesystem>
#include <fstream>

#include "fuzz/support/expectation.hpp"
#include "reader_libraries/simulator/reader_file.hpp"

namespace {

// The reader file is read from a file, beside which its profiles stand.
const std::filesystem::path& place() {
    static const std::filesystem::path file = [] {
        const auto directory = std::filesystem::temp_directory_path() /
                               ("quorrin-reader-file-" + std::to_string(getpid()));
        std::filesystem::create_directories(directory);
        std::filesystem::copy(QUORRIN_PROFILES "/debit.toml", directory / "debit.toml",
                              std::filesystem::copy_options::overwrite_existing);
        return directory / "reader.toml";
    }();
    return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorrin;
    std::ofstream(place(), std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    try {
        const auto setup = simulator::read_reader_file(place());
        fuzz::expect(setup.name.size() < 32 && setup.serial.size() < 100,
                     "name and serial number fit");
    } catch (const ConfigurationError& complaint) {
        fuzz::expect(!complaint.reason.empty(), "a complaint gives a reason");
    }
    return 0;
}
