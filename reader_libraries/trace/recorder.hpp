// Puts calls into the trace: masks them, numbers them, writes their lines.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>

#include "reader_libraries/trace/call.hpp"
#include "reader_libraries/trace/call_names.hpp"
#include "reader_libraries/trace/line_writing.hpp"
#include "reader_libraries/trace/masking/card_masking.hpp"
#include "reader_libraries/trace/settings.hpp"
#include "reader_libraries/trace/trace_file.hpp"

namespace quorrin::trace {

class Recorder {
  public:
    explicit Recorder(const Settings& settings);

    // Nothing in it allocates, and the lock is not held while the reader works. A call from a signal
    // handler that interrupts the recording is not recorded.
    void record(const Call& call) noexcept;

    // Around fork: the child goes on in a session of its own.
    void before_fork();
    void after_fork(bool is_child);

  private:
    static constexpr std::size_t masking_count = slots::slot_count + 1;  // any other code

    void start_session();
    CardMasking& masking_of(const Call& call);

    std::mutex mutex_;
    Settings settings_;
    TraceFile file_;
    LineWriter writer_;
    std::array<char, 17> process_id_{};  // random
    std::array<char, 40> session_{};
    std::size_t session_size_ = 0;
    std::uint64_t sessions_ = 0;
    std::uint64_t sequence_ = 0;
    std::int64_t process_ = 0;
    std::array<CardMasking, masking_count> masking_;
    KnownSecrets secrets_;
    DigitMask command_mask_;
    DigitMask answer_mask_;
};

}  // namespace quorrin::trace
