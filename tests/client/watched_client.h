// The client header over a kernel whose clock steps are made up.
#pragma once

#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <ctime>
#include <utility>
#include <vector>

// The kernel as the header meets it. No test may set the machine's clock, so what a clock step does
// to a watching descriptor is made up here. The rest goes on to the kernel itself.
inline struct WatchedClock {
  bool stepped = false;               // the next read tells of a step
  int refusals = 0;                   // how many of the next attempts to arm the timer fail
  int refusal = EINVAL;               // with this error
  std::vector<std::time_t> expiries;  // of each attempt
} watchedClock;

inline ssize_t ReadClock(int descriptor, void* buffer, std::size_t size) {
  if (!std::exchange(watchedClock.stepped, false)) return read(descriptor, buffer, size);
  errno = ECANCELED;
  return -1;
}

inline int ArmClock(int descriptor, int flags, const itimerspec* expiry, itimerspec* before) {
  watchedClock.expiries.push_back(expiry->it_value.tv_sec);
  if (watchedClock.refusals == 0) return timerfd_settime(descriptor, flags, expiry, before);
  --watchedClock.refusals;
  errno = watchedClock.refusal;
  return -1;
}

#define read ReadClock
#define timerfd_settime ArmClock
#include "client/tolvar_heartbeat.h"
#undef timerfd_settime
#undef read
