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
  fakeClock.nowMicros += milliseconds * 1000;
  if (fakeClock.onSleep) fakeClock.onSleep();
}

bool RunShell(const std::string& commandLine) {
  const Spared spared;
  Trace("$ " + commandLine);
  fakeShell.commands.push_back(commandLine);
  if (fakeShell.onCommand && !fakeShell.onCommand(commandLine)) return false;
  return !fakeShell.passThrough || std::system(commandLine.c_str()) != -1;
}

// In place of the stand-in library's, which the test program is linked with as well.
void init_metrics_client() { Trace("init_metrics_client"); }
void deinit_metrics_client() { Trace("deinit_metrics_client"); }
int put_metrics_JSON(int kind, int level, const char* key, const char* json) {
  const Spared spared;
  const std::string numbers = std::to_string(kind) + " " + std::to_string(level) + " ";
  Trace("put_metrics_JSON " + numbers + key + " " + json);
  fakeClock.Advance(1);  // as a slow service
  return -1;             // which nobody is to look at
}
