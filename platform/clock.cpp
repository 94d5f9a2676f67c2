#include "platform/clock.h"

#include <unistd.h>

#include <chrono>
#include <thread>

std::int64_t NowMicros() {
  using std::chrono::duration_cast;
  using std::chrono::microseconds;
  // The library's clock counts nanoseconds; every time stamp of the system counts microseconds.
  return duration_cast<microseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

void SleepSeconds(unsigned seconds) {
  // The seconds left after an interrupted sleep do not matter: deadlines are kept by the clock.
  (void)sleep(seconds);
}

void SleepMillis(unsigned milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
