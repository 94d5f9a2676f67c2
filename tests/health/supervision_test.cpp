#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using State = Process::State;

class SupervisionTest : public DeviceTest {
 protected:
  SupervisionTest() {
    for (const char* name : {"a", "b", "a"}) {
      Process process;
      process.name = name;
      process.state = State::Running;
      process.launchTime = fakeClock.nowMicros / 1'000'000;
      supervisor.processes.push_back(process);
    }
  }
  void Queue(const std::string& name, std::int64_t timestampMs, std::int32_t status = 0) {
    Heartbeat heartbeat = {timestampMs, status, {}};
    (void)name.copy(heartbeat.name, sizeof heartbeat.name);
    supervisor.heartbeatQueue.push(heartbeat);
  }
  Process& First() { return supervisor.processes[0]; }

  Processes supervisor;
};

TEST_F(SupervisionTest, TheLastQueuedHeartbeatOfTheFirstNamesakeCounts) {
  Queue("a", 2000, 2);
  Queue("unknown", 9);
  Queue("A", 9);
  Queue("", 9);
  Queue("ab", 9);
  Queue("b", 5, -1);
  Queue("a", 1000, 3);
  supervisor.ProcessHeartbeat();
  EXPECT_TRUE(supervisor.heartbeatQueue.empty());
  EXPECT_EQ(First().lastHeartbeatMs, 1000) << "older, but later in the queue";
  EXPECT_EQ(First().reportedStatus, 3);
  EXPECT_EQ(supervisor.processes[1].lastHeartbeatMs, 5);
  EXPECT_EQ(supervisor.processes[1].reportedStatus, -1);
  EXPECT_EQ(supervisor.processes[2].lastHeartbeatMs, 0);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(SupervisionTest, ANameWithoutTerminatorEndsWithItsField) {
  First().name = std::string(132, 'x');
  Queue(First().name + "beyond", 7);
  supervisor.ProcessHeartbeat();
  EXPECT_EQ(First().lastHeartbeatMs, 7);
}

TEST_F(SupervisionTest, LimitsAreExceededInWholeSeconds) {
  constexpr std::int64_t start = 1'731'711'234;
  const struct {
    State state;
    std::uint32_t maxstartuptime;
    std::uint32_t interval;
    std::int64_t sinceLaunchMicros;
    std::int64_t heartbeatAgeMs;
    bool failed;
  } cases[] = {
      {State::Running, 60, 5, 60'999'999, 9000, false},
      {State::Running, 60, 5, 61'000'000, 9000, true},
      {State::Running, 60, 5, 100'000'000, 5999, false},
      {State::Running, 60, 5, 100'000'000, 6000, true},
      {State::Running, 60, 0, 100'000'000, 999, false},
      {State::Running, 60, 0, 100'000'000, 1000, true},
      {State::Running, 0, 5, 999'999, 9000, false},
      {State::Running, 60, 5, 100'000'000, -50000, false},  // a time stamp in the future
      {State::Running, 60, 5, -100'000'000, 9000, false},   // the clock was set back
      {State::Running, 4294967295, 5, 100'000'000, 9000, false},
      {State::Running, 60, 4294967295, 100'000'000, 9'000'000, false},
      {State::Stopped, 60, 5, 100'000'000, 9000, false},
      {State::Failed, 60, 5, 100'000'000, 9000, false},
  };
  supervisor.processes.resize(1);
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::Message() << row.sinceLaunchMicros << " " << row.heartbeatAgeMs);
    Processes::maxHeartbeatIntervalSec_ = row.interval;
    fakeClock.nowMicros = start * 1'000'000 + row.sinceLaunchMicros;
    First().state = row.state;
    First().maxstartuptime = row.maxstartuptime;
    First().launchTime = start;
    First().lastHeartbeatMs = fakeClock.nowMicros / 1000 - row.heartbeatAgeMs;
    First().heartbeatMissing = 41;
    supervisor.ProcessHeartbeat();
    EXPECT_EQ(First().state, row.failed ? State::Failed : row.state);
    EXPECT_EQ(First().heartbeatMissing, row.failed ? 42U : 41U);
    const std::vector<std::string> lines = log.Lines();
    ASSERT_EQ(lines.size(), row.failed ? 1U : 0U);
    if (row.failed) {
      EXPECT_EQ(lines[0], "Process a failed to report heartbeat, heartbeatMissing 42");
    }
  }
}

TEST_F(SupervisionTest, ARelaunchedProcessIsJudgedByItsPreviousHeartbeat) {
  First().lastHeartbeatMs = fakeClock.nowMicros / 1000;
  First().maxstartuptime = 3;
  fakeClock.Advance(10);
  supervisor.ProcessHeartbeat();
  ASSERT_EQ(First().state, State::Failed);
  First().StepState();
  fakeClock.Advance(3);
  supervisor.ProcessHeartbeat();
  EXPECT_EQ(First().state, State::Running);
  fakeClock.Advance(1);
  supervisor.ProcessHeartbeat();
  EXPECT_EQ(First().state, State::Failed);
  EXPECT_EQ(First().heartbeatMissing, 2U);
}

}  // namespace
