#include "health/heartbeat_supervision.h"

#include <cstring>
#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/log.h"

namespace {

void Record(const Heartbeat& heartbeat, std::vector<Process>& processes) {
  // A sender that left no terminator has a name as long as the field.
  const std::string_view name(heartbeat.name, strnlen(heartbeat.name, sizeof heartbeat.name));
  Process* sender = FindNamed(name, processes);
  if (sender == nullptr) return;
  sender->lastHeartbeatMs = heartbeat.timestampMs;
  sender->reportedStatus = heartbeat.status;
}

// The sender's time stamp may be any 64 bits: the arithmetic wraps instead of overflowing.
[[nodiscard]] std::int64_t MicrosSince(std::int64_t timestampMs, std::int64_t nowMicros) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(nowMicros) -
                                   static_cast<std::uint64_t>(timestampMs) * 1000U);
}

[[nodiscard]] bool IsHung(const Process& process, std::int64_t nowMicros, std::int64_t limitSec) {
  if (process.state != Process::State::Running) return false;
  const std::int64_t sinceLaunchSec = SecondsSince(process.launchTime, nowMicros);
  if (sinceLaunchSec <= std::int64_t{process.maxstartuptime}) return false;
  return MicrosSince(process.lastHeartbeatMs, nowMicros) / microsPerSec > limitSec;
}

}  // namespace

void TakeInHeartbeats(HeartbeatQueue& queue, std::mutex& mutex, std::vector<Process>& processes) {
  for (;;) {
    // Taken anew for each record, so that the receiver is never held up for long.
    const std::lock_guard<std::mutex> lock(mutex);
    if (queue.empty()) return;
    Record(queue.front(), processes);
    queue.pop();
  }
}

void MarkHungProcesses(std::vector<Process>& processes, std::uint32_t maxHeartbeatIntervalSec) {
  const std::int64_t nowMicros = NowMicros();
  for (Process& process : processes) {
    if (!IsHung(process, nowMicros, maxHeartbeatIntervalSec)) continue;
    process.state = Process::State::Failed;
    ++process.heartbeatMissing;
    Log("Process " + process.name + " failed to report heartbeat, heartbeatMissing " +
        std::to_string(process.heartbeatMissing));
  }
}
