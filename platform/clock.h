// The wall clock and the sleep between passes: the seam at which tests put their own time.
#pragma once

#include <cstdint>

constexpr std::int64_t microsPerSec = 1000000;

// Wall-clock time in microseconds since the epoch. The only reader of the clock: seconds and
// milliseconds are divided from it, truncating toward zero. Any thread.
[[nodiscard]] std::int64_t NowMicros();

// Wall-clock time in whole seconds since the epoch. Any thread.
[[nodiscard]] inline std::int64_t NowSeconds() { return NowMicros() / microsPerSec; }

// Blocks the calling thread for `seconds` through the C library's `sleep`; a signal handler that
// runs meanwhile ends the wait early.
void SleepSeconds(unsigned seconds);

// Blocks the calling thread for `milliseconds`.
void SleepMillis(unsigned milliseconds);
