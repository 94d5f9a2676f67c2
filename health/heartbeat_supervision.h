// What heartbeats mean for the processes. Main loop's thread.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "health/heartbeat_channel.h"
#include "process/process.h"

// Takes in all that `queue` holds, in its order: each heartbeat's time stamp and status go to the
// first process of its name; one without is dropped. Holds `mutex` for one heartbeat at a time.
void TakeInHeartbeats(HeartbeatQueue& queue, std::mutex& mutex, std::vector<Process>& processes);

// Marks as Failed, counts and logs each running process that is past its start-up time and whose
// newest heartbeat is more than `maxHeartbeatIntervalSec` whole seconds old. Reads the clock once.
void MarkHungProcesses(std::vector<Process>& processes, std::uint32_t maxHeartbeatIntervalSec);
