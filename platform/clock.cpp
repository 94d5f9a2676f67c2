#include "platform/clock.h"

#include <poll.h>
#include <unistd.h>

#include <ctime>

namespace {

// Asked here and not through the C++ library, whose own clock was built with seconds of 32 bits on
// 32-bit targets and returns rubbish from 2038 on.
timespec Read(clockid_t clock) {
  timespec now = {};
  (void)clock_gettime(clock, &now);  // both clocks exist on every kernel
  return now;
}

}  // namespace

std::int64_t NowMicros() {
  const timespec now = Read(CLOCK_REALTIME);
  return std::int64_t{now.tv_sec} * microsPerSec + now.tv_nsec / 1000;
}

std::int64_t UptimeMillis() {
  const timespec now = Read(CLOCK_MONOTONIC);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

void SleepSeconds(unsigned seconds) {
  // The seconds left after an interrupted sleep do not matter: deadlines are kept by the clock.
  (void)sleep(seconds);
}

void SleepMillis(unsigned milliseconds) {
  (void)poll(nullptr, 0, static_cast<int>(milliseconds));  // a signal handler may end it early
}
