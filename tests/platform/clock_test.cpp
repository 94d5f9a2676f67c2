#include "platform/clock.h"

#include <sys/syscall.h>

#include <chrono>
#include <ctime>

#include "tests/kit/device.h"

namespace {
// What a test has set the two clocks to; null: the kernel's own.
const timespec* wallClock = nullptr;
const timespec* uptime = nullptr;
}  // namespace

// In place of the C library's. With seconds of 64 bits the compiler calls it __clock_gettime64 on a
// 32-bit target, so that only a reader of the same kind sees what a test has set.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
#ifdef SYS_clock_gettime64  // a 32-bit kernel has this one for it
  constexpr long kernelCall = SYS_clock_gettime64;
#else
  constexpr long kernelCall = SYS_clock_gettime;
#endif
  const timespec* set = clock == CLOCK_REALTIME ? wallClock : nullptr;
  if (clock == CLOCK_MONOTONIC) set = uptime;
  if (set == nullptr) return static_cast<int>(syscall(kernelCall, clock, time));
  *time = *set;
  return 0;
}

namespace {

using ClockTest = DeviceTest;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST_F(ClockTest, TheWallClockDoesNotEndIn2038) {
  const struct {
    const char* what;
    timespec clock;
    std::int64_t micros, seconds;
  } rows[] = {
      {"2024", {1731711234, 567890123}, 1731711234567890, 1731711234},
      {"the last second of 31 bits", {2147483647, 999999999}, 2147483647999999, 2147483647},
      {"2040", {2210976000, 1000}, 2210976000000001, 2210976000},
  };
  const timespec other = {1, 0};
  uptime = &other;
  for (const auto& row : rows) {
    wallClock = &row.clock;
    const std::int64_t micros = NowMicros();
    const std::int64_t seconds = NowSeconds();
    wallClock = nullptr;
    EXPECT_EQ(micros, row.micros) << row.what;
    EXPECT_EQ(seconds, row.seconds) << row.what;
  }
  uptime = nullptr;
}

TEST_F(ClockTest, UptimeIsOfTheClockThatNobodySets) {
  const timespec set = {2210976000, 0};
  const timespec sinceStart = {4294967296, 123999999};
  wallClock = &set;
  uptime = &sinceStart;
  const std::int64_t millis = UptimeMillis();
  wallClock = nullptr;
  uptime = nullptr;
  EXPECT_EQ(millis, 4294967296123);
}

TEST_F(ClockTest, ASleepLastsAsLongAsAsked) {
  const auto start = steady_clock::now();
  SleepMillis(30);
  const auto afterMillis = steady_clock::now();
  SleepSeconds(1);
  const auto afterSecond = steady_clock::now();
  EXPECT_GE(afterMillis - start, milliseconds(30));
  EXPECT_LT(afterMillis - start, milliseconds(900));
  EXPECT_GE(afterSecond - afterMillis, milliseconds(1000));
  EXPECT_LT(afterSecond - afterMillis, milliseconds(1900));
}

}  // namespace
