#include "process/process.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using State = Process::State;

class StepStateTest : public DeviceTest {
 protected:
  StepStateTest() { process = Named("1"); }

  static Process Named(const std::string& version) {
    Process made;
    made.name = "app";
    made.version = version;
    made.entrypoint = "start " + version;
    return made;
  }
  void SetPending(const std::string& version) {
    process.pending = std::make_shared<Process>(Named(version));
  }
  std::vector<std::string> Commands() { return std::exchange(fakeShell.commands, {}); }

  Process process;
};

TEST_F(StepStateTest, ARecordOutsideTheKnownStatesHasNoName) {
  const char* const names[] = {"stopped", "running", "failed", ""};
  for (int value = 0; value < 4; ++value) {
    process.state = static_cast<State>(value);
    EXPECT_EQ(process.StateInString(), names[value]);
  }
  process.StepState();
  EXPECT_THAT(Commands(), IsEmpty());
}

TEST_F(StepStateTest, LaunchesOnlyStrictlyPastTheTime) {
  process.nextLaunchTime = 1'731'711'240;
  fakeClock.nowMicros = process.nextLaunchTime * 1'000'000;
  process.StepState();
  EXPECT_EQ(process.state, State::Stopped);
  ++fakeClock.nowMicros;
  process.backoff = 32;
  process.StepState();
  EXPECT_EQ(process.state, State::Running);
  EXPECT_EQ(process.backoff, 2);
  EXPECT_EQ(process.nextLaunchTime, 1'731'711'242);
  EXPECT_EQ(process.retries, 1U);
  EXPECT_THAT(log.Lines(), ElementsAre("Launched process app", "Launch process app successfully"));
  process.StepState();
  EXPECT_THAT(Commands(), ElementsAre("pkill -9 app", "start 1")) << "running: nothing to do";
}

TEST_F(StepStateTest, TheWaitCountsFromTheEndOfTheLaunch) {
  fakeShell.onCommand = [](const std::string&) { return fakeClock.Advance(100), true; };
  process.StepState();
  EXPECT_EQ(process.launchTime, 1'731'711'434);
  EXPECT_EQ(process.nextLaunchTime, 1'731'711'436);
}

// One step a second with a launch that always fails: when it launches, when it asks for a rollback.
TEST_F(StepStateTest, FailedLaunchesBackOffAndLeadToARollback) {
  std::vector<int> launches;
  std::vector<int> rollbacks;
  int second = 0;
  fakeShell.onCommand = [&](const std::string& command) {
    if (command != "start 1") return true;
    launches.push_back(second);
    return false;
  };
  for (; second <= 320; ++second, fakeClock.Advance(1)) {
    process.StepState();
    for (const std::string& line : log.Lines()) {
      if (line == "Rollback process app unsuccessfully") rollbacks.push_back(second);
    }
    ASSERT_LE(process.backoff, 64);
  }
  EXPECT_THAT(launches, ElementsAre(0, 4, 12, 28, 60, 124, 188, 252, 316));
  EXPECT_THAT(rollbacks, ElementsAre(61));
  EXPECT_EQ(process.retries, 4U);
  EXPECT_EQ(process.launchFailures, 9U);
  fakeShell.onCommand = nullptr;
  fakeClock.Advance(64);
  process.StepState();
  EXPECT_EQ(process.backoff, 2);
  EXPECT_EQ(process.launchFailures, 9U) << "reset by the report alone";
}

TEST_F(StepStateTest, AFailureAfterASuccessRestartsInTheSameStep) {
  process.StepState();
  (void)Commands();
  fakeClock.Advance(2);
  process.state = State::Failed;
  process.StepState();
  EXPECT_EQ(process.state, State::Running);
  EXPECT_EQ(process.retries, 2U);
  EXPECT_THAT(Commands(), ElementsAre("pkill -9 app", "pkill -9 app", "start 1"));
}

TEST_F(StepStateTest, WithoutRetriesEveryStepAsksForARollback) {
  process.maxretries = 0;
  process.state = State::Failed;
  for (int step = 0; step < 2; ++step) {
    process.StepState();
    EXPECT_EQ(log.Lines().back(), "Rollback process app unsuccessfully");
    EXPECT_EQ(process.state, State::Failed);
  }
  EXPECT_THAT(Commands(), IsEmpty());
}

TEST_F(StepStateTest, APendingVersionIsSwitchedToAndLaunchedInOneStep) {
  for (const std::int32_t status : {0, 1, -2, 3}) {
    process = Named("1");
    process.state = State::Running;
    process.reportedStatus = status;
    process.retries = 4;
    process.heartbeatMissing = 2;
    process.nextLaunchTime = 1'731'711'236;
    SetPending("2");
    process.StepState();
    EXPECT_EQ(process.version, "2");
    EXPECT_EQ(process.pending, nullptr);
    EXPECT_EQ(process.state, State::Running);
    EXPECT_EQ(process.retries, 1U);
    EXPECT_EQ(process.heartbeatMissing, 0U);
    EXPECT_EQ(process.reportedStatus, 0);
    EXPECT_THAT(Commands(), ElementsAre("pkill -9 app", "pkill -9 app", "start 2"));
  }
}

TEST_F(StepStateTest, ABusyProcessIsLeftRunningUntilItAgreesOrFails) {
  for (const bool agrees : {true, false}) {
    process = Named("1");
    process.state = State::Running;
    process.reportedStatus = 2;
    SetPending("2");
    for (int step = 0; step < 3; ++step) process.StepState();
    EXPECT_EQ(process.version, "1");
    EXPECT_TRUE(process.pending->preDownloaded);
    EXPECT_THAT(Commands(), IsEmpty());
    std::vector<std::string> expected = {"pkill -9 app", "start 2"};
    if (agrees) {
      process.reportedStatus = 0;
      expected.insert(expected.begin(), "pkill -9 app");
    } else {
      process.state = State::Failed;
    }
    process.StepState();
    EXPECT_EQ(process.version, "2");
    EXPECT_EQ(Commands(), expected);
  }
  std::vector<std::string> lines = log.Lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "Pre-download all components for process app"),
            2)
      << "fetched ahead once";
}

TEST_F(StepStateTest, AFailedPreDownloadIsTriedAgainAndHoldsUpNothing) {
  process.state = State::Running;
  process.reportedStatus = 2;
  SetPending("2");
  process.pending->components.push_back({"app", "f", "/run/f", "2", Md5("f")});
  process.StepState();
  EXPECT_FALSE(process.pending->preDownloaded);
  process.reportedStatus = 0;
  process.StepState();
  EXPECT_EQ(process.version, "2");
  EXPECT_EQ(process.state, State::Failed) << "the launch could not fetch it either";
  EXPECT_EQ(process.launchFailures, 1U);
}

TEST_F(StepStateTest, CopiesShareThePendingRecordAndTakingItOverIsSafe) {
  SetPending("2");
  SetPending("2");
  Process copy = process;
  EXPECT_EQ(copy.pending, process.pending);
  copy = Process();
  EXPECT_EQ(process.pending.use_count(), 1);
  process.StepState();  // the only owner: the sanitizer would see its early end
  EXPECT_EQ(process.version, "2");
}

}  // namespace
