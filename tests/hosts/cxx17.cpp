// The headers for hosts in the oldest language level that they are for, twice in one program.
#include <quorrin/host.hpp>
#include <quorrin/testbank.hpp>

int first_unit() {
    return static_cast<int>(quorrin::host::Amount(1).minor());
}
