// The library's process-wide state: as it is after loading, before each input; and what has to hold
// of it after any.
#pragma once

namespace quorrin::fuzz {

// The state after loading and a full reset; the log off.
void reset_library();

// The log on for this input, into a handler that keeps nothing: formatting is tested, too.
void turn_log_on();

// States are 0 or 1, no length exceeds its element's storage, AID list and script results stay
// inside theirs.
void check_library_state();

}  // namespace quorrin::fuzz
