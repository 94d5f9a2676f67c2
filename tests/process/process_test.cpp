#include "process/process.h"

#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using State = Process::State;

// What the log shows of the steps of "app" 1 and of its replacement 2.
const std::string kill = "$ pkill -9 app\n", start1 = "$ start app 1\n";
const std::string launched = "Launched process app\nLaunch process app successfully\n";
const std::string launch1 = kill + start1 + launched, launch2 = kill + "$ start app 2\n" + launched;
const std::string ahead = "Pre-download all components for process app\n";
const std::string notAhead = "Failed to pre-download components for process app\n";
const std::string request = "Get processes from domain https://cloud.test:8443, status ";
const std::string failed = "Rollback process app unsuccessfully\n";
const std::string noAnswer = "Curl return code 7\n" + request + "2\n" +
                             "Get last known good version processes failed\n" + failed;

Process App(const std::string& version) {
  Process made;
  made.name = "app";
  made.version = version;
  made.entrypoint = "start app " + version;
  return made;
}

struct ProcessTest : DeviceTest {
  ProcessTest() { traceCalls = true; }
  std::string Step() {
    process.StepState();
    return log.Text();
  }
  // State, version, retries, last status and, if any, the pending version.
  [[nodiscard]] std::string Record() const {
    std::ostringstream text;
    text << process.StateInString() << " " << process.version << " " << process.retries << " "
         << process.reportedStatus << (process.pending ? " " + process.pending->version : "");
    return text.str();
  }
  void SetRecord(const std::string& record) {
    std::istringstream words(record);
    std::string state, version, pending;
    words >> state >> version;
    process = App(version);
    words >> process.retries >> process.reportedStatus >> pending;
    process.state = state == "failed" ? State::Failed : State{state == "running"};
    if (!pending.empty()) process.pending = std::make_shared<Process>(App(pending));
  }

  FakeCloud cloud;
  Process process = App("1");
};

TEST_F(ProcessTest, StateRetriesStatusAndAPendingVersionDecideAStep) {
  const struct {
    std::string before, log, after;
  } rows[] = {
      {"stopped 1 0 0", launch1, "running 1 1 0"},
      {"running 1 1 0", "", "running 1 1 0"},
      {"failed 1 4 0", kill + launch1, "running 1 5 0"},
      {"failed 1 5 0", noAnswer, "failed 1 0 0"},
      {"running 1 4 0 2", ahead + kill + launch2, "running 2 1 0"},
      {"running 1 4 -2 2", ahead + kill + launch2, "running 2 1 0"},
      {"failed 1 4 2 2", ahead + launch2, "running 2 1 0"},
  };
  for (const auto& [before, expected, after] : rows) {
    SetRecord(before);
    EXPECT_EQ(Step(), expected) << before;
    EXPECT_EQ(Record(), after) << before;
  }
  process.state = State{3};
  EXPECT_EQ(Step(), "");
}

TEST_F(ProcessTest, LaunchesStrictlyPastTheTimeAndWaitsFromTheEndOfIt) {
  process.nextLaunchTime = 1'731'711'240;
  process.backoff = 32;
  process.lastHeartbeatMs = 7;
  fakeShell.onCommand = [](const std::string&) { return fakeClock.Advance(100), true; };
  fakeClock.nowMicros = process.nextLaunchTime * 1'000'000;
  EXPECT_EQ(Step(), "");
  ++fakeClock.nowMicros;
  EXPECT_EQ(Step(), launch1);
  EXPECT_EQ(process.launchTime, 1'731'711'440);
  EXPECT_EQ(process.nextLaunchTime, 1'731'711'442);
  EXPECT_EQ(process.backoff, 2);
  EXPECT_EQ(process.lastHeartbeatMs, 7);
}

// One step a second with a shell that cannot run: when it launches, when it asks for a rollback.
TEST_F(ProcessTest, FailedLaunchesBackOffAndLeadToARollback) {
  std::vector<int> launches, rollbacks;
  fakeShell.onCommand = [](const std::string&) { return false; };
  for (int second = 0; second <= 320; ++second, fakeClock.Advance(1)) {
    const std::string text = Step();
    if (text == noAnswer) rollbacks.push_back(second);
    if (text == kill + start1 + "Launch process app unsuccessfully\n") launches.push_back(second);
  }
  EXPECT_THAT(launches, ElementsAre(0, 4, 12, 28, 60, 124, 188, 252, 316));
  EXPECT_THAT(rollbacks, ElementsAre(61));
  EXPECT_EQ(process.launchFailures, 9U);
}

TEST_F(ProcessTest, APendingVersionIsFetchedAheadOnceAndTheSwitchDoesNotWaitForIt) {
  SetRecord("running 1 0 2 2");
  process.pending->components.push_back({"app", "f", "/run/f", "2", Md5("f")});
  EXPECT_THAT(Step(), testing::EndsWith(notAhead));
  process.reportedStatus = 0;
  EXPECT_THAT(Step(), testing::HasSubstr(notAhead + kill + kill)) << "tried again";
  EXPECT_EQ(Record(), "failed 2 1 0") << "the launch could not fetch it either";

  SetRecord("running 1 0 2 2");
  EXPECT_EQ(Step(), ahead);
  EXPECT_EQ(Step(), "") << "once it is there, no more";
  process.reportedStatus = 0;
  EXPECT_EQ(Step(), kill + launch2);
}

TEST_F(ProcessTest, TheFirstComponentThatFailsEndsALaunchAndAPreDownload) {
  for (const std::string file : {"one", "two", "three"}) {
    process.components.push_back({"app", file, "/run/app/" + file, "1", Md5(file)});
    if (file != "two") cloud.SetFile(file, "1", file);
  }
  EXPECT_EQ(process.Launch() + process.PreDownload(), 2);
  EXPECT_EQ(process.launchTime, 0);
  EXPECT_THAT(cloud.asked, ElementsAre("one@1", "https://files.test/one/1", "two@1", "two@1"));
}

TEST_F(ProcessTest, TheFirstRecordOfTheAnswerDecidesARollback) {
  const std::string to = "Process app rollback to version ";
  const struct {
    std::string answer, log, pending;
  } rows[] = {
      {"<html>", "Parse last known good version response failed, <html>\n" + failed, ""},
      {Manifest(""), "Empty processes, rollback app failed\n" + failed, ""},
      {Manifest("App 0,app 0"), "Rollback from process app to App, looks wrong!\n" + failed, ""},
      {Manifest("app 1,app 0"), "", ""},
      {Manifest("app 0,App 0"), to + "0\n", " 0"},
      {Manifest("app 2"), to + "2\n", " 2"},
  };
  for (const auto& [answer, lines, pending] : rows) {
    SetRecord("failed 1 5 0");
    cloud.Set("lastknowngood app", answer);
    EXPECT_EQ(Step(), request + "0\n" + lines) << answer;
    EXPECT_EQ(Record(), "failed 1 0 0" + pending) << answer;
  }
  cloud.Set("lastknowngood app", Manifest("app 1"));
  EXPECT_EQ(process.Rollback(), 0);
  EXPECT_EQ(Record(), "failed 1 0 0 2") << "what waits is left alone";
}

}  // namespace
