#include "tests/reader_libraries/simulator/card/test_profile.hpp"

#include <fstream>
#include <stdexcept>

namespace quorrin::test {

const std::string& test_profile() {
    static const std::string text = R"toml(
name = "test card"
atr = "3B 00"

[keys]
cryptogram = "0123456789ABCDEF FEDCBA9876543210"
mac = "1133557799BBDDFF 0022446688AACCEE"
encipherment = "F1E2D3C4B5A69788 796A5B4C3D2E1F00"

[pse]
file = 1
fci = ["5F2D 'zh'"]

[[application]]
aid = "A000000333010101"
label = "FIRST"
priority = 1
pdol = "9F7A 01 9F02 06"
aip = "1C00"
pin = "1234"
pin_tries = 3
atc = 16
last_online_atc = 12
data = [
  "9F79 000000010000", "9F77 000000100000", "9F78 000000005000",
  "9F58 1E", "9F59 28", "9F54 000001000000",
]

[[application.record]]
file = 1
number = 1
elements = ["5A 9999010000000011", "5F34 01", "5F20 'TEST/CARD'"]

[[application.record]]
file = 1
number = 2
elements = [
  "8C 9F02 06 9F03 06 9F1A 02 95 05 5F2A 02 9A 03 9C 01 9F37 04 9F21 03 9F4E 14",
  "8D 8A 02 9F02 06 9F37 04",
]

[[application.record]]
file = 3
number = 1
elements = ["9F61 'NOT IN THE AFL'"]

[application.log]
file = 11
records = 2
format = "9A 03 9F02 06 9F36 02 9F4E 04"
filled = ["250101 000000000001 0010 'SHOP'"]

[application.load_log]
file = 12
records = 2
format = "9A 03 9F36 02"

[[application]]
aid = "A000000333010102"
label = "SECOND"
aip = "0000"
afl = ""

[[application.record]]
file = 1
number = 1
elements = ["5A 9999010000000011", "5F34 02"]
)toml";
    return text;
}

std::string changed(std::string text, const std::string& from, const std::string& to) {
    const auto at = text.find(from);
    if (at == std::string::npos) {
        throw std::invalid_argument("nothing to change: " + from);
    }
    return text.replace(at, from.size(), to);
}

std::unique_ptr<simulator::CardDevice> card_of(const std::string& profile) {
    return simulator::load_card(parse_configuration(profile, "test.toml"));
}

std::string documented_example() {
    std::ifstream page(QUORRIN_PROFILE_PAGE);
    std::string text;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (inside && line == "```") {
            return text;
        }
        if (inside) {
            text += line + "\n";
        }
        inside = inside || line == "```toml";
    }
    return {};
}

}  // namespace quorrin::test
