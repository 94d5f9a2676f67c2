// Whether memory grows with passes: growth [PASSES], 100000 unless given. Runs passes of the loop
// with heartbeats from 20 processes under a clock of its own, reports and restarts included, and
// fails when the heap in use has grown over the second half.
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/clock.h"
#include "platform/shell.h"
#include "supervisor/processes.h"

namespace {

std::int64_t nowMicros = 1'731'711'234'567'890;
constexpr int processCount = 20;

}  // namespace

std::int64_t NowMicros() { return nowMicros; }
std::int64_t UptimeMillis() { return nowMicros / 1000; }
void SleepMillis(unsigned milliseconds) { nowMicros += std::int64_t{milliseconds} * 1000; }
void SleepSeconds(unsigned seconds) { nowMicros += seconds * microsPerSec; }
bool RunShell(const std::string& /*commandLine*/) { return true; }

namespace {

std::string NameOf(int index) { return "process-" + std::to_string(index); }

// A heartbeat of every process but one, which changes each minute and so is found hung.
void QueueHeartbeats(Processes& supervisor) {
  for (int i = 0; i < processCount; ++i) {
    if (nowMicros / microsPerSec / 60 % processCount == i) continue;
    Heartbeat heartbeat = {nowMicros / 1000, 0, {}};
    (void)NameOf(i).copy(heartbeat.name, sizeof heartbeat.name);
    supervisor.heartbeatQueue.push(heartbeat);
  }
}

void Pass(Processes& supervisor) {
  QueueHeartbeats(supervisor);
  supervisor.ProcessHeartbeat();
  for (Process& process : supervisor.processes) process.StepState();
  (void)supervisor.ReportMetrics();
  SleepSeconds(1);
}

}  // namespace

int main(int count, char** values) {
  const int passes = count > 1 ? std::atoi(values[1]) : 100000;
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  Processes supervisor;
  supervisor.processes.resize(processCount);
  for (int i = 0; i < processCount; ++i) {
    supervisor.processes[static_cast<std::size_t>(i)].name = NameOf(i);
    supervisor.processes[static_cast<std::size_t>(i)].maxretries = 4294967295;
  }
  std::size_t warm = 0;
  for (int pass = 0; pass < passes; ++pass) {
    if (pass == passes / 2) warm = mallinfo2().uordblks;
    Pass(supervisor);
  }
  const std::size_t end = mallinfo2().uordblks;
  (void)std::fprintf(stderr, "%d passes: heap in use %zu bytes at half-time, %zu at the end\n",
                     passes, warm, end);
  return end > warm ? 1 : 0;
}
