// A host notices nothing of the recording.
#pragma once

#include <pthread.h>

#include <cerrno>

namespace quorrin::trace {

// While it lives: errno is kept, and a thread that the host ends (pthread_cancel) does not end in here,
// with half of the work done.
class Unnoticed {
  public:
    Unnoticed() : errno_(errno) { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelling_); }
    ~Unnoticed() {
        pthread_setcancelstate(cancelling_, nullptr);
        errno = errno_;
    }
    Unnoticed(const Unnoticed&) = delete;
    Unnoticed& operator=(const Unnoticed&) = delete;

  private:
    int errno_;
    int cancelling_ = 0;
};

}  // namespace quorrin::trace
