#include "tests/fakes/fakes.h"

#include <chrono>
#include <cstdlib>
#include <thread>

#include "platform/clock.h"
#include "platform/log.h"
#include "platform/metrics_client.h"
#include "platform/shell.h"
#include "tests/fakes/scarcity.h"

FakeClock fakeClock;
FakeShell fakeShell;
FakeMetrics fakeMetrics;
FakeRandom fakeRandom;
bool traceCalls = false;

static void Trace(std::string_view call) {
  if (traceCalls) Log(call);
}

std::int64_t NowMicros() {
  ++fakeClock.reads;
  return fakeClock.nowMicros;
}

std::int64_t UptimeMillis() {
  ++fakeClock.uptimeReads;
  return fakeClock.nowMicros / 1000;
}

void SleepSeconds(unsigned seconds) {
  const Spared spared;
  Trace("sleep " + std::to_string(seconds));
  if (fakeClock.real) std::this_thread::sleep_for(std::chrono::milliseconds(seconds));
  fakeClock.Advance(seconds);
  if (fakeClock.onSleep) fakeClock.onSleep();
}

void SleepMillis(unsigned milliseconds) {
  const Spared spared;
  Trace("sleep " + std::to_string(milliseconds) + " ms");
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
  fakeClock.nowMicros += std::int64_t{milliseconds} * 1000;
  if (fakeClock.onSleep) fakeClock.onSleep();
}

bool RunShell(const std::string& commandLine) {
  const Spared spared;
  Trace("$ " + commandLine);
  fakeShell.commands.push_back(commandLine);
  if (fakeShell.onCommand && !fakeShell.onCommand(commandLine)) return false;
  return !fakeShell.passThrough || std::system(commandLine.c_str()) != -1;
}

static void CallMetrics(std::string_view call) {
  if (fakeMetrics.onCall) fakeMetrics.onCall(call);
}

// In place of the stand-in library's, which the test program is linked with as well.
void init_metrics_client() {
  Trace(__func__);
  CallMetrics(__func__);
}
void deinit_metrics_client() {
  Trace(__func__);
  CallMetrics(__func__);
}
int put_metrics_JSON(int kind, int level, const char* key, const char* json) {
  const Spared spared;
  const std::string numbers = std::to_string(kind) + " " + std::to_string(level);
  Trace(std::string(__func__) + " " + numbers + " " + key + " " + json);
  fakeMetrics.reports.emplace_back(json);
  fakeClock.Advance(1);
  CallMetrics(__func__);
  return -1;  // which nobody is to look at
}

// In place of the C library's.
extern "C" int rand() noexcept {
  Trace(__func__);
  return fakeRandom.draw;
}
extern "C" void srand(unsigned seed) noexcept {
  const Spared spared;
  Trace(__func__);
  fakeRandom.seeds.push_back(seed);
}
