#include "reader_libraries/trace/recorder.hpp"

#include <sys/random.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

#include "reader_libraries/trace/unnoticed.hpp"

namespace quorrin::trace {
namespace {

thread_local bool is_recording = false;

}  // namespace

Recorder::Recorder(const Settings& settings) : settings_(settings) {
    start_session();
    file_.open(settings_.file);
}

// Unique among the sessions of a fleet: random for the process, counted within it.
void Recorder::start_session() {
    const std::int64_t process = getpid();
    if (process != process_) {
        process_ = process;
        std::uint64_t id = 0;
        if (getrandom(&id, sizeof id, GRND_NONBLOCK) != sizeof id) {
            timespec now{};
            clock_gettime(CLOCK_REALTIME, &now);
            id = (static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000U +
                  static_cast<std::uint64_t>(now.tv_nsec)) ^
                 static_cast<std::uint64_t>(process) << 40;
        }
        std::snprintf(process_id_.data(), process_id_.size(), "%016llx",
                      static_cast<unsigned long long>(id));
        sessions_ = 0;
    }
    const int size = std::snprintf(session_.data(), session_.size(), "%s-%llu", process_id_.data(),
                                   static_cast<unsigned long long>(++sessions_));
    session_size_ = static_cast<std::size_t>(size);
    sequence_ = 0;
}

CardMasking& Recorder::masking_of(const Call& call) {
    const auto row = find_slot_row(call.action, call.slot);
    return masking_[row ? *row : masking_count - 1];
}

void Recorder::record(const Call& call) noexcept {
    if (is_recording) {
        return;
    }
    is_recording = true;
    const Unnoticed unnoticed;
    try {
        const std::scoped_lock lock(mutex_);
        if (call.action == Action::Open) {
            if (sequence_ != 0) {
                start_session();
            }
            file_.open(settings_.file);  // again, where it could not be opened before
        }
        Shown shown;
        shown.masked = !settings_.clear;
        if (call.action == Action::PowerOn) {
            masking_of(call).power_on();
        } else if (call.action == Action::Exchange) {
            CardMasking& masking = masking_of(call);
            masking.exchange(call.command, call.answer, secrets_, command_mask_, answer_mask_);
            shown.application = masking.application();
            if (shown.masked) {
                shown.command = &command_mask_;
                shown.answer = &answer_mask_;
            }
        }
        const Origin origin{{settings_.terminal.data(), settings_.terminal_size},
                            {session_.data(), session_size_},
                            process_};
        file_.append(writer_.line(call, origin, ++sequence_, shown));
    } catch (...) {  // a lock that cannot be taken: the call goes unrecorded
    }
    is_recording = false;
}

void Recorder::before_fork() {
    mutex_.lock();
}

void Recorder::after_fork(bool is_child) {
    if (is_child) {
        start_session();
    }
    mutex_.unlock();
}

}  // namespace quorrin::trace
