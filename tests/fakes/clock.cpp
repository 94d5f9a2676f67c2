#include "platform/clock.h"

#include <chrono>
#include <thread>

#include "tests/fakes/fakes.h"

FakeClock fakeClock;

std::int64_t NowMicros() {
  if (!fakeClock.real) return fakeClock.nowMicros;
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch).count();
}

void SleepSeconds(unsigned seconds) {
  if (fakeClock.real) std::this_thread::sleep_for(std::chrono::milliseconds(seconds));
  fakeClock.sleeps.push_back(seconds);
  fakeClock.Advance(seconds);
  if (fakeClock.onSleep) fakeClock.onSleep();
}
