// Who uses the library: its state is one set of process-wide variables.
#pragma once

#include <cstdint>
#include <thread>

#include <quorrin/quorrin.h>
#include <quorrin/host/failure.hpp>

namespace quorrin::host::detail {

struct Session {
    std::uint64_t opened = 0;       // counts the openings; each reader has its number
    std::uint64_t current = 0;      // of the open reader, 0 when there is none
    std::uint64_t transaction = 0;  // counts what wipes the store
    std::thread::id thread;
};

inline Session& session() {
    static Session only;
    return only;
}

inline bool is_current(std::uint64_t number) {
    return number != 0 && session().current == number;
}

inline void require_thread() {
    if (session().thread != std::this_thread::get_id()) {
        throw Misuse("the reader is used by another thread");
    }
}

inline void require_free() {
    if (session().current != 0 || ReaderHandle != 0) {
        throw Misuse("a reader is open already: the library serves one at a time");
    }
}

inline void require_current(std::uint64_t number) {
    if (!is_current(number)) {
        throw Misuse("the reader is closed");
    }
    require_thread();
}

inline void require_transaction(std::uint64_t number, std::uint64_t transaction) {
    require_current(number);
    if (session().transaction != transaction) {
        throw Misuse("another operation has begun since this purchase");
    }
}

inline std::uint64_t open_session() {
    Session& only = session();
    only.current = ++only.opened;
    only.thread = std::this_thread::get_id();
    return only.current;
}

inline void close_session() {
    session().current = 0;
}

}  // namespace quorrin::host::detail
