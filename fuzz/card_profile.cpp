// A card profile as a person may write it: a card, or a complaint that names the place.

#include <string_view>

#include "fuzz/support/expectation.hpp"
#include "reader_libraries/simulator/card/profile_loading.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorrin;
    try {
        const std::string_view text(reinterpret_cast<const char*>(data), size);
        const auto profile = simulator::load_profile(parse_configuration(text, "profile.toml"));
        fuzz::expect(!profile.applications.empty(), "a card has an application");
    } catch (const ConfigurationError& complaint) {
        fuzz::expect(!complaint.reason.empty(), "a complaint gives a reason");
    }
    return 0;
}
