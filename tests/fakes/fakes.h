// The other side of the seams: a clock, a sleep, a shell, a metrics client and the C library's
// random numbers, scripted by tests. One test runs in a process, so there is nothing to reset.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct FakeClock {
  // 2024-11-15, so that negative and wrapped differences would show. Sleeping moves it on.
  std::int64_t nowMicros = 1'731'711'234'567'890;
  std::function<void()> onSleep;   // runs in each sleep, after the clock has moved
  bool real = false;               // sleep for real, but only a millisecond per second
  std::atomic<unsigned> reads{0};  // of the clock
  unsigned uptimeReads = 0;        // of the clock that nobody sets
  void Advance(std::int64_t seconds) { nowMicros += seconds * 1'000'000; }
  [[nodiscard]] std::int64_t Seconds() const { return nowMicros / 1'000'000; }
};

struct FakeShell {
  std::vector<std::string> commands;
  bool passThrough = false;  // run them, too
  // What running the command answers; without one, true.
  std::function<bool(const std::string&)> onCommand;
};

// Each submission takes a second, as with a slow service, and is answered with -1.
struct FakeMetrics {
  std::vector<std::string> reports;  // that were submitted, whatever became of them
  // Runs in each call of the client, which it is told by name; may throw.
  std::function<void(std::string_view)> onCall;
};

struct FakeRandom {
  int draw = 99;                // what `rand` answers
  std::vector<unsigned> seeds;  // that `srand` was given
};

extern FakeClock fakeClock;
extern FakeShell fakeShell;
extern FakeMetrics fakeMetrics;
extern FakeRandom fakeRandom;
// Whether the log shows the fakes' calls between the lines of the code under test: "$ COMMAND",
// "sleep SECONDS", "put_metrics_JSON KIND LEVEL KEY JSON", "srand" and so on.
extern bool traceCalls;
