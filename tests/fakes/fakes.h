// The other side of the seams: a clock, a sleep and a shell that the tests script. One test runs in
// a process, so there is nothing to reset.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct FakeClock {
  // 2024-11-15, so that negative and wrapped differences would show. Sleeping moves it on.
  std::int64_t nowMicros = 1'731'711'234'567'890;
  std::vector<unsigned> sleeps;
  std::function<void()> onSleep;  // runs in each sleep, after the clock has moved
  bool real = false;              // read the real clock and sleep a millisecond per second

  void Advance(std::int64_t seconds) { nowMicros += seconds * 1'000'000; }
};

struct FakeShell {
  std::vector<std::string> commands;
  bool passThrough = false;  // run them, too
  // What running the command answers; without one, true.
  std::function<bool(const std::string&)> onCommand;
};

extern FakeClock fakeClock;
extern FakeShell fakeShell;
