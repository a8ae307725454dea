// Room for a PC/SC service of the tests' own.
#pragma once

#include <string>

namespace quorrin::test {

struct PrivateSession {
    bool possible = false;
    std::string how;  // it is done, or why it is not possible
};

// Moves this process, which has no other thread yet, into a mount and network namespace of its own with
// an empty /run, so that services of several test runs and that of the machine do not meet. Where that
// is not allowed but the machine runs no service, it stays where it is.
PrivateSession enter_private_session();

}  // namespace quorrin::test
