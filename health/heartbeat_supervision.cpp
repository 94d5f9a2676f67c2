#include <cstring>
#include <string_view>

#include "platform/clock.h"
#include "platform/log.h"
#include "supervisor/processes.h"
#include "supervisor/to_string.h"

namespace {

void Record(const Heartbeat& heartbeat, std::vector<Process>& processes) {
  // A sender that left no terminator has a name as long as the field.
  const std::string_view name(heartbeat.name, strnlen(heartbeat.name, sizeof heartbeat.name));
  for (Process& process : processes) {
    if (process.name != name) continue;
    process.lastHeartbeatMs = heartbeat.timestampMs;
    process.reportedStatus = heartbeat.status;
    return;
  }
}

// The sender's time stamp may be any 64 bits: the arithmetic wraps instead of overflowing.
[[nodiscard]] std::int64_t MicrosSince(std::int64_t timestampMs, std::int64_t nowMicros) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(nowMicros) -
                                   static_cast<std::uint64_t>(timestampMs) * 1000U);
}

[[nodiscard]] bool IsHung(const Process& process, std::int64_t nowMicros) {
  if (process.state != Process::State::Running) return false;
  const std::int64_t sinceLaunchSec =
      (nowMicros - process.launchTime * microsPerSec) / microsPerSec;
  if (sinceLaunchSec <= std::int64_t{process.maxstartuptime}) return false;
  const std::int64_t sinceHeartbeatSec =
      MicrosSince(process.lastHeartbeatMs, nowMicros) / microsPerSec;
  return sinceHeartbeatSec > std::int64_t{Processes::maxHeartbeatIntervalSec_};
}

}  // namespace

void Processes::ProcessHeartbeat() {
  DrainHeartbeats();
  MarkHungProcesses();
}

void Processes::DrainHeartbeats() {
  for (;;) {
    // Taken anew for each record, so that the receiver is never held up for long.
    const std::lock_guard<std::mutex> lock(heartbeatMutex);
    if (heartbeatQueue.empty()) return;
    Record(heartbeatQueue.front(), processes);
    heartbeatQueue.pop();
  }
}

void Processes::MarkHungProcesses() {
  const std::int64_t nowMicros = NowMicros();
  for (Process& process : processes) {
    if (!IsHung(process, nowMicros)) continue;
    process.state = Process::State::Failed;
    ++process.heartbeatMissing;
    Log("Process " + process.name + " failed to report heartbeat, heartbeatMissing " +
        ToString(process.heartbeatMissing));
  }
}
