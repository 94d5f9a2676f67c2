#include "health/heartbeat_supervision.h"

#include <cstring>
#include <limits>

#include "tests/kit/device.h"

namespace {

using State = Process::State;
using HeartbeatSupervisionTest = DeviceTest;
using testing::ElementsAre;
using testing::IsEmpty;

Process Named(const std::string& name) {
  Process process;
  process.name = name;
  process.lastHeartbeatMs = 7;
  process.reportedStatus = 7;
  return process;
}

// As an application sends it; 132 bytes of name leave no room for a terminator.
Heartbeat Beat(const std::string& name, std::int64_t timestampMs, std::int32_t status) {
  Heartbeat heartbeat = {timestampMs, status, {}};
  std::memcpy(heartbeat.name, name.data(), std::min(name.size(), sizeof heartbeat.name));
  return heartbeat;
}

TEST_F(HeartbeatSupervisionTest, AHeartbeatGoesToTheFirstProcessOfExactlyItsName) {
  const std::string longest(132, 'n');
  const struct {
    const char* what;
    std::string sender, first, second;
    bool firstHears, secondHears;
  } rows[] = {
      {"the first", "a", "a", "b", true, false},
      {"the second", "b", "a", "b", false, true},
      {"two of one name", "a", "a", "a", true, false},
      {"unknown", "c", "a", "b", false, false},
      {"the start of a name", "a", "ab", "A", false, false},
      {"more than a name", "ab", "a", "b", false, false},
      {"without terminator", longest, longest + "n", longest, false, true},
      {"a byte less than that", longest.substr(1), longest, longest.substr(1), false, true},
      {"what follows the terminator", std::string("a\0b", 3), "b", "a", false, true},
      {"no name", "", "a", "", false, true},
  };
  for (const auto& row : rows) {
    std::vector<Process> processes = {Named(row.first), Named(row.second)};
    HeartbeatQueue queue;
    std::mutex mutex;
    queue.push(Beat(row.sender, 1000, -2));
    TakeInHeartbeats(queue, mutex, processes);
    EXPECT_EQ(processes[0].lastHeartbeatMs, row.firstHears ? 1000 : 7) << row.what;
    EXPECT_EQ(processes[0].reportedStatus, row.firstHears ? -2 : 7) << row.what;
    EXPECT_EQ(processes[1].lastHeartbeatMs, row.secondHears ? 1000 : 7) << row.what;
    EXPECT_EQ(processes[1].reportedStatus, row.secondHears ? -2 : 7) << row.what;
    EXPECT_TRUE(queue.empty()) << row.what;
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(HeartbeatSupervisionTest, TheOneThatCameLastCountsHoweverOldItsStamp) {
  std::vector<Process> processes = {Named("a")};
  HeartbeatQueue queue;
  std::mutex mutex;
  queue.push(Beat("a", 2000, 2));
  queue.push(Beat("a", 3000, 2));
  queue.push(Beat("a", 1000, 0));
  TakeInHeartbeats(queue, mutex, processes);
  EXPECT_EQ(processes[0].lastHeartbeatMs, 1000);
  EXPECT_EQ(processes[0].reportedStatus, 0);
  EXPECT_TRUE(queue.empty());
  EXPECT_TRUE(mutex.try_lock()) << "still held";
  mutex.unlock();
}

constexpr std::int64_t now = 1'731'711'234'567;  // ms; launches are another 0.57 s ago
constexpr std::uint32_t widest = 4294967295;
using Stamp = std::numeric_limits<std::int64_t>;

TEST_F(HeartbeatSupervisionTest, LimitsAreExceededInWholeSeconds) {
  const struct {
    const char* what;
    State state;
    std::uint32_t startup, interval;
    std::int64_t launchedSecAgo, heartbeatMs;
    bool fails;
  } rows[] = {
      {"never heard, starting", State::Running, 60, 5, 60, 0, false},
      {"never heard, started", State::Running, 60, 5, 61, 0, true},
      {"no start-up time, launched now", State::Running, 0, 5, 0, 0, false},
      {"no start-up time, a second later", State::Running, 0, 5, 1, 0, true},
      {"5.99 s old", State::Running, 60, 5, 100, now - 5999, false},
      {"6 s old", State::Running, 60, 5, 100, now - 6000, true},
      {"an interval of 0 and 0.99 s", State::Running, 60, 0, 100, now - 999, false},
      {"an interval of 0 and 1 s", State::Running, 60, 0, 100, now - 1000, true},
      {"stamped a day ahead", State::Running, 60, 5, 100, now + 86400000, false},
      {"the earliest stamp, which wraps", State::Running, 60, 5, 100, Stamp::min(), true},
      {"the latest stamp, which wraps", State::Running, 60, 5, 100, Stamp::max(), true},
      {"clock set back", State::Running, 60, 5, -100, now - 9000, false},
      {"widest start-up time", State::Running, widest, 5, 100, now - 9000, false},
      {"widest interval", State::Running, 60, widest, 100, now - 9000, false},
      {"stopped", State::Stopped, 60, 5, 100, now - 9000, false},
      {"failed already", State::Failed, 60, 5, 100, now - 9000, false},
  };
  for (const auto& row : rows) {
    std::vector<Process> processes = {Named("a")};
    Process& process = processes[0];
    process.heartbeatMissing = 41;
    process.state = row.state;
    process.maxstartuptime = row.startup;
    process.launchTime = now / 1000 - row.launchedSecAgo;
    process.lastHeartbeatMs = row.heartbeatMs;
    MarkHungProcesses(processes, row.interval);
    EXPECT_EQ(process.state, row.fails ? State::Failed : row.state) << row.what;
    EXPECT_EQ(process.heartbeatMissing, row.fails ? 42U : 41U) << row.what;
    const std::string line = "Process a failed to report heartbeat, heartbeatMissing 42";
    EXPECT_EQ(log.Lines(), std::vector<std::string>(row.fails ? 1 : 0, line)) << row.what;
  }
}

TEST_F(HeartbeatSupervisionTest, EveryHungProcessIsFoundAtOneReadingOfTheClock) {
  std::vector<Process> processes = {Named("a"), Named("b"), Named("c")};
  for (Process& process : processes) process.state = State::Running;
  processes[1].lastHeartbeatMs = fakeClock.nowMicros / 1000;
  MarkHungProcesses(processes, 5);
  EXPECT_THAT(log.Lines(), ElementsAre("Process a failed to report heartbeat, heartbeatMissing 1",
                                       "Process c failed to report heartbeat, heartbeatMissing 1"));
  EXPECT_EQ(fakeClock.reads, 1U);
}

}  // namespace
