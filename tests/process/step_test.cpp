// The state machine, a step at a time.
#include "tests/process/process_fixture.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

using StepTest = ProcessTest;
using State = Process::State;

TEST_F(StepTest, StateAndRetriesDecideWhatIsDone) {
  const struct {
    const char* what;
    State state;
    std::uint32_t retries, maxretries;
    std::string log;
    State stateAfter;
    std::uint32_t retriesAfter;
  } rows[] = {
      {"what is stopped is launched", State::Stopped, 0, 5, launch1, State::Running, 1},
      {"however often it was", State::Stopped, 9, 5, launch1, State::Running, 10},
      {"what runs is left alone", State::Running, 9, 5, "", State::Running, 9},
      {"the last retry", State::Failed, 4, 5, kill + launch1, State::Running, 5},
      {"retries used up", State::Failed, 5, 5, unreached + noRollback, State::Failed, 0},
      {"more than used up", State::Failed, 6, 5, unreached + noRollback, State::Failed, 0},
      {"no retries at all", State::Failed, 0, 0, unreached + noRollback, State::Failed, 0},
      {"no state at all", State{3}, 0, 5, "", State{3}, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    process = MakeProcess("app", "1");
    process.state = row.state;
    process.retries = row.retries;
    process.maxretries = row.maxretries;
    EXPECT_EQ(Step(), row.log);
    EXPECT_EQ(process.state, row.stateAfter);
    EXPECT_EQ(process.retries, row.retriesAfter);
  }
}

TEST_F(StepTest, EachStateHasItsNameAndWhatIsNoneHasNone) {
  const char* const names[] = {"stopped", "running", "failed", ""};
  for (int state = 0; state < 4; ++state) {
    process.state = State{state};
    EXPECT_EQ(process.StateInString(), names[state]);
  }
}

TEST_F(StepTest, ARollbackIsSwitchedToInTheNextStep) {
  cloud.Answer(ForManifest("lastknowngood", "app"), Manifest({{"app", "2"}}));
  process.state = State::Failed;
  process.retries = 5;
  EXPECT_EQ(Step(), asked + "0\nProcess app rollback to version 2\n");
  EXPECT_EQ(process.state, State::Failed);
  EXPECT_EQ(process.retries, 0U);
  EXPECT_EQ(Step(), fetchedAhead + kill + launch2);
}

TEST_F(StepTest, OnlyARunningProcessThatIsBusyPutsASwitchOff) {
  const std::string switched = fetchedAhead + kill + launch2;
  const struct {
    const char* what;
    State state;
    std::int32_t status;
    std::string log;
    const char* versionAfter;
  } rows[] = {
      {"busy", State::Running, 2, fetchedAhead, "1"},
      {"well", State::Running, 0, switched, "2"},
      {"just below busy", State::Running, 1, switched, "2"},
      {"just above busy", State::Running, 3, switched, "2"},
      {"an error of its own", State::Running, -1, switched, "2"},
      {"busy but for the sign", State::Running, -2, switched, "2"},
      {"busy, but stopped", State::Stopped, 2, fetchedAhead + launch2, "2"},
      {"busy, but failed", State::Failed, 2, fetchedAhead + launch2, "2"},
      {"failed", State::Failed, 0, switched, "2"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    process = MakeProcess("app", "1");
    process.state = row.state;
    process.reportedStatus = row.status;
    LetVersion2Wait();
    EXPECT_EQ(Step(), row.log);
    EXPECT_EQ(process.state, State::Running);
    EXPECT_EQ(process.version, row.versionAfter);
  }
}

// A launch that fails shows what the new record began with.
TEST_F(StepTest, ASwitchTakesNothingOverFromTheOldRecord) {
  fakeShell.onCommand = [](const std::string& command) { return command != "start app 2"; };
  process.retries = 5;
  process.launchFailures = 4;
  process.backoff = 64;
  process.nextLaunchTime = fakeClock.Seconds() + 64;
  process.reportedStatus = 1;
  LetVersion2Wait();
  process.pending->maxretries = 9;
  EXPECT_EQ(Step(), fetchedAhead + kill + kill + start2 + "Launch process app unsuccessfully\n");
  EXPECT_EQ(process.maxretries, 9U);
  EXPECT_EQ(process.retries, 1U);
  EXPECT_EQ(process.launchFailures, 1U);
  EXPECT_EQ(process.nextLaunchTime, fakeClock.Seconds() + 4);
  EXPECT_EQ(process.reportedStatus, 0);
  EXPECT_EQ(process.pending, nullptr);
}

TEST_F(StepTest, AVersionThatWaitsIsFetchedAheadUntilThatSucceedsOnce) {
  process.state = State::Running;
  process.reportedStatus = 2;
  LetVersion2Wait();
  process.pending->components.push_back({"app", "f", "/run/f", "2", Md5("bytes")});
  EXPECT_THAT(Step(), EndsWith(notFetchedAhead));
  EXPECT_THAT(Step(), EndsWith(notFetchedAhead)) << "again";
  cloud.Offer("f", "2", "bytes");
  EXPECT_THAT(Step(), EndsWith(fetchedAhead));
  EXPECT_EQ(ReadText("/run/f.predownload"), "bytes");
  EXPECT_EQ(Step(), "") << "no more";
  EXPECT_EQ(process.version, "1");
}

TEST_F(StepTest, ASwitchDoesNotWaitForWhatCannotBeFetchedAhead) {
  process.state = State::Running;
  LetVersion2Wait();
  process.pending->components.push_back({"app", "f", "/run/f", "2", Md5("bytes")});
  EXPECT_THAT(Step(), HasSubstr(notFetchedAhead + kill + kill));
  EXPECT_EQ(process.version, "2");
  EXPECT_EQ(process.state, State::Failed) << "the launch could not fetch it either";
}

TEST_F(StepTest, LaunchesOnlyPastItsTimeAndCountsTheNextFromTheEndOfTheLaunch) {
  process.nextLaunchTime = fakeClock.Seconds() + 5;
  process.backoff = 32;
  process.lastHeartbeatMs = 7;
  fakeShell.onCommand = [](const std::string&) {
    fakeClock.Advance(100);
    return true;
  };
  fakeClock.nowMicros = process.nextLaunchTime * 1'000'000;
  EXPECT_EQ(Step(), "") << "just its time";
  ++fakeClock.nowMicros;
  EXPECT_EQ(Step(), launch1);
  EXPECT_EQ(process.launchTime, fakeClock.Seconds());
  EXPECT_EQ(process.nextLaunchTime, fakeClock.Seconds() + 2);
  EXPECT_EQ(process.backoff, 2) << "the least, after a success";
  EXPECT_EQ(process.lastHeartbeatMs, 7) << "a launch is no heartbeat, and takes none away";
}

// A step a second with a shell that cannot run.
TEST_F(StepTest, FailedLaunchesBackOffAndLeadToARollback) {
  const std::string launchFailed = kill + start1 + "Launch process app unsuccessfully\n";
  std::vector<int> launches, rollbacks;  // the seconds in which they came
  fakeShell.onCommand = [](const std::string&) { return false; };
  for (int second = 0; second <= 320; ++second) {
    const std::string done = Step();
    if (done == launchFailed || done == kill + launchFailed) launches.push_back(second);
    if (done == unreached + noRollback) rollbacks.push_back(second);
    fakeClock.Advance(1);
  }
  EXPECT_THAT(launches, ElementsAre(0, 4, 12, 28, 60, 124, 188, 252, 316));
  EXPECT_THAT(rollbacks, ElementsAre(61));
  EXPECT_EQ(process.launchFailures, 9U);
}

TEST_F(StepTest, AProcessIsFoundByItsNameToTheLetterAndTheFirstOfThemCounts) {
  std::vector<Process> processes = {MakeProcess("App", "1"), MakeProcess("app", "1"),
                                    MakeProcess("app", "2")};
  EXPECT_EQ(FindNamed("app", processes), &processes[1]);
  EXPECT_EQ(FindNamed("ap", processes), nullptr);
  EXPECT_EQ(FindNamed("app2", processes), nullptr);
}

}  // namespace
