// The clocks and the sleeps: the seam at which tests put their own time.
#pragma once

#include <cstdint>

constexpr std::int64_t microsPerSec = 1000000;

// Wall-clock time in microseconds since the epoch. Every time stamp comes from it: seconds and
// milliseconds are divided from it, truncating toward zero. Any thread.
[[nodiscard]] std::int64_t NowMicros();

// Wall-clock time in whole seconds since the epoch. Any thread.
[[nodiscard]] inline std::int64_t NowSeconds() { return NowMicros() / microsPerSec; }

// The whole seconds from `thenSec`, seconds since the epoch, to `nowMicros`, a reading of
// NowMicros; truncated toward zero, negative when the clock was set back meanwhile.
[[nodiscard]] constexpr std::int64_t SecondsSince(std::int64_t thenSec, std::int64_t nowMicros) {
  return (nowMicros - thenSec * microsPerSec) / microsPerSec;
}

// Milliseconds of a clock that nobody sets: for waits that must end, not for time stamps. Any
// thread.
[[nodiscard]] std::int64_t UptimeMillis();

// Blocks the calling thread for `seconds` through the C library's `sleep`; a signal handler that
// runs meanwhile ends the wait early.
void SleepSeconds(unsigned seconds);

// Blocks the calling thread for `milliseconds`, or less when a signal handler runs meanwhile.
void SleepMillis(unsigned milliseconds);
