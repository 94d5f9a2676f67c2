#include "tools/tolvar/log/device.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tools/tolvar/log/view.h"

namespace devicelog {
namespace {

// A log read: the time line without the supervisor's own lines, and what stands at the end.
struct Outcome {
  std::string events;
  std::string alarms;       // "name subject", those that are over in brackets
  std::uint32_t signs = 0;  // of the first alarm
  ProcessStates states;
};

Outcome ReadLog(const std::string& log) {
  Outcome outcome;
  View view({}, [&](const Event& event) {
    if (event.isNoise || event.process.empty()) return;
    outcome.events += event.process + " " + InWords(event) + "\n";
  });
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) view.Take({line, false});
  view.Finish();
  outcome.states = view.Processes();
  const std::vector<Alarm> alarms = view.Alarms();
  if (!alarms.empty()) outcome.signs = alarms.front().count;
  for (const Alarm& alarm : alarms) {
    const std::string text = std::string(NameOf(alarm.kind)) + " " + alarm.subject;
    outcome.alarms += (alarm.isOver ? "[" + text + "]" : text) + "\n";
  }
  return outcome;
}

std::string Times(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

std::string Report(const std::string& version, const std::string& state, int failures,
                   int missing) {
  return R"({"processes":[{"name":"cam","version":")" + version + R"(","state":")" + state +
         R"(","launchFailures":")" + std::to_string(failures) + R"(","heartbeatMissing":")" +
         std::to_string(missing) + "\"}]}\n";
}

const std::string start = "mac address 02005e102030\nGet enr successfully\n";
const std::string answered = "Get processes from domain https://c, status 0\n";
const std::string launched = "Launched process cam\nLaunch process cam successfully\n";
const std::string lost = "Process cam failed to report heartbeat, heartbeatMissing 1\n";
const std::string notLaunched =
    "Failed to get components for process cam\nLaunch process cam unsuccessfully\n";
const std::string timedOut =
    "Curl return code 28\nGet processes from domain https://c, status 2\n"
    "Failed to get processes for version latest\nGet latest processes failed\n";

std::string List(const std::string& version, const std::string& outcome = "") {
  return answered + "Parsed component cam, version " + version + "\n" + outcome +
         "Got 1 processes from cloud\n";
}
std::string Cached(const std::string& version) {
  return "CheckIntegrity a vs. a\nFound cached component: name cam, version " + version + "\n";
}
const std::string newer = "Wait to stop process cam for upgrading\n";
const std::string ahead = "Pre-download all components for process cam\n";
const std::string runsOne =
    start + List("1") + Cached("1") + launched + Report("1", "running", 0, 0);
const std::string rolledBack =
    lost + answered + "Process cam rollback to version 1\n" + ahead + Cached("1") + launched;

struct Row {
  const char* name;
  std::string log;
  std::string events;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class DeviceTells : public testing::TestWithParam<Row> {};

TEST_P(DeviceTells, WhatHappened) { EXPECT_EQ(ReadLog(GetParam().log).events, GetParam().events); }

const std::string one = "cam launched 1? (files in place or on the card)\n";
const std::string again = "cam launched 1 (files in place or on the card)\n";

const Row rows[] = {
    {"AVersionIsAGuessUntilAReport", runsOne + lost + Cached("1") + launched,
     one + "cam heartbeat lost by 1, 1 since the last report\n" + again},
    {"AnUpgradeIsSeenFetchedAndSwitchedTo",
     runsOne + List("2", newer) + ahead + Cached("2") + launched,
     one + "cam new version seen, 1 -> 2?\ncam fetched ahead 2?\ncam stopped 1 for 2?\n"
           "cam launched 2? (files in place or on the card)\n"},
    {"AFetchAheadWithoutALaunchWaitsForABusyProcess",
     runsOne + List("2", newer) + ahead + List("2", newer) + ahead + List("2", newer),
     one + "cam new version seen, 1 -> 2?\ncam fetched ahead 2?\ncam 2? waits, the process is "
           "busy\n"},
    {"ARollbackNamesItsVersion",
     runsOne + List("2", newer) + ahead + Cached("2") + launched + rolledBack,
     one +
         "cam new version seen, 1 -> 2?\ncam fetched ahead 2?\ncam stopped 1 for 2?\n"
         "cam launched 2? (files in place or on the card)\ncam heartbeat lost by 2?, 1 since the "
         "last report\n"
         "cam rolled back, 2? -> 1\ncam fetched ahead 1\ncam stopped 2? for 1\n" +
         again},
    {"BackOffDoublesToItsLimit", start + List("1") + Times(6, notLaunched),
     "cam launch failed, backs off 4 s: a component is missing\ncam launch failed, backs off 8 s: "
     "a component is missing\n"
     "cam launch failed, backs off 16 s: a component is missing\ncam launch failed, backs off 32 "
     "s: a component is missing\n"
     "cam launch failed, backs off 64 s: a component is missing\ncam launch failed, backs off 64 "
     "s: a component is missing\n"},
    {"ABackOffThatBeganBeforeTheLogIsNotKnown", notLaunched,
     "cam launch failed: a component is missing\n"},
    {"ALaunchWithoutAReasonIsTheShell", start + "Launch process cam unsuccessfully\n",
     "cam launch failed, backs off 4 s: the shell could not be run\n"},
    {"AnUnfinishedRequestOfAFailedProcessWasARollbackToItself",
     runsOne + lost + answered + "Parsed component cam, version 1\n" + Cached("1") + launched,
     one +
         "cam heartbeat lost by 1, 1 since the last report\ncam no rollback: the version that "
         "fails is the last known good one\n" +
         again},
    {"WhatTheFirstReportLacksIsNoLongerSupervised",
     runsOne + start + "Got 0 processes from cloud\n{\"processes\":[]}\n",
     one + "cam dropped 1: no longer in the list since the supervisor's start; what ran may run "
           "on\n"},
    {"FilesThatMisledAreNoLongerBelieved",
     start + List("7") + Cached("7") + launched + Report("1", "running", 0, 0) + List("8", newer) +
         ahead + Cached("8") + launched,
     "cam launched 7? (files in place or on the card)\ncam reported as 1\ncam new version seen, 1 "
     "-> ?\ncam fetched ahead\n"
     "cam stopped 1 for another version\ncam launched (files in place or on the card)\n"},
    {"AFileBelongsToTheProcessNamedNext",
     start + "Downloaded component: name a, version 1\nLaunched process p\nDownloaded component: "
             "name b, version 2\nLaunched process q\n",
     "p downloaded a 1\np launched 1? (files downloaded)\nq downloaded b 2\nq launched 2? (files "
     "downloaded)\n"},
    {"ACutReportSaysNothing", runsOne + R"({"processes":[{"name":"cam","version":"9)", one},
};

INSTANTIATE_TEST_SUITE_P(, DeviceTells, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

struct AlarmRow {
  const char* name;
  std::string log;
  std::string alarms;
};

void PrintTo(const AlarmRow& row, std::ostream* out) { *out << row.name; }

class DeviceAlarms : public testing::TestWithParam<AlarmRow> {};

TEST_P(DeviceAlarms, Are) { EXPECT_EQ(ReadLog(GetParam().log).alarms, GetParam().alarms); }

std::string BadFile(const std::string& computed, const std::string& expected) {
  return "Parsed component info: name cam, version 1, url u\nCheckIntegrity " + computed + " vs. " +
         expected + "\nCheckIntegrity failed for path /opt/cam, checksum " + expected + "\n" +
         notLaunched;
}
const std::string toBad = List("2", newer) + ahead + Cached("2") + launched;

const AlarmRow alarmRows[] = {
    {"NoneForASingleRestart", runsOne + lost + Cached("1") + launched, ""},
    {"AFlipBetweenTwoVersions", runsOne + Times(2, toBad + rolledBack) + toBad,
     "flips-between-versions cam\n"},
    {"AFlipIsOverWhenTheListIsMended", runsOne + Times(2, toBad + rolledBack) + List("1"),
     "[flips-between-versions cam]\n"},
    {"NoFlipAfterOneRollback", runsOne + toBad + rolledBack, ""},
    {"LaunchesThatFail", start + List("1") + Times(2, notLaunched), "launches-fail cam\n"},
    {"LaunchesThatFailedAreOver", start + List("1") + Times(2, notLaunched) + launched,
     "[launches-fail cam]\n"},
    {"AFileThatNeverVerifies", start + Times(2, BadFile("aa", "bb")),
     "never-verifies cam\nlaunches-fail cam\n"},
    {"CapitalsAtOnce", start + BadFile("ab", "AB"), "never-verifies cam\n"},
    {"AnEmptyFileIsAFullDisk", start + BadFile("d41d8cd98f00b204e9800998ecf8427e", "bb"),
     "storage-full-or-read-only cam\n"},
    {"AFileThatCannotBeWritten",
     "Failed to open file /f\nWriteToPath failed for path /f\n" + notLaunched,
     "storage-full-or-read-only cam\n"},
    {"ACloudThatIsNotReached", runsOne + Times(3, timedOut), "cloud-not-reached \n"},
    {"NoneForTwoFetchesInVain", runsOne + Times(2, timedOut), ""},
    {"ACloudThatIsBack", runsOne + Times(3, timedOut) + List("1"), "[cloud-not-reached ]\n"},
    {"NoManifest", runsOne + answered + "Failed to parse processes from <html>\n",
     "no-manifest \n"},
    {"TwoSupervisors",
     Times(2, "bind heartbeat socket failed with error: Address already in use\n"),
     "two-supervisors \n"},
    {"NoToken", Times(2, "mac address 02\nInit HttpRequest Instance failed\n"), "no-identity \n"},
    {"TheIdentityIsThereOnceTheCloudIsAsked",
     Times(2, "mac address 02\nInit HttpRequest Instance failed\n") + start + timedOut,
     "[no-identity ]\n"},
    {"TransfersThatFail",
     start + Times(2,
                   "Curl return code 6\nGet response from url u, status 2\nGetResponse failed for "
                   "component cam\n" +
                       notLaunched),
     "transfers-fail cam\nlaunches-fail cam\n"},
    {"HeartbeatsLostAgainAndAgain", runsOne + Times(3, lost + launched), "heartbeats-lost cam\n"},
    {"HeartbeatsAreBackWhenAWholeReportHadNone",
     runsOne + Times(3, lost + launched) + Report("1", "running", 0, 3) +
         Report("1", "running", 0, 0),
     "[heartbeats-lost cam]\n"},
    {"NoRollback",
     runsOne + lost + "Empty processes, rollback cam failed\nRollback process cam unsuccessfully\n",
     "no-rollback cam\n"},
    {"AStartWithTheLastKnownGood",
     start + answered + "Failed to parse processes from \n" + List("1") +
         "Get last known good version processes succeeded\n",
     "started-with-last-known-good \n[no-manifest ]\n"},
};

INSTANTIATE_TEST_SUITE_P(, DeviceAlarms, testing::ValuesIn(alarmRows),
                         [](const auto& row) { return row.param.name; });

// While a device flips, the good version's launch must not make the fault a new one each time.
TEST(DeviceAlarmsGoOn, WhenTheSameFileDoesNotVerifyAnew) {
  const std::string turn = BadFile("ab", "AB") + launched;
  EXPECT_EQ(ReadLog(start + turn + turn + BadFile("ab", "AB")).signs, 3U);
  EXPECT_EQ(ReadLog(start + turn + turn + BadFile("cd", "CD")).signs, 1U) << "another fault";
}

TEST(Device, CountsRestartsAndLaunchesSinceItWasFoundHealthy) {
  const std::string log =
      runsOne + lost + launched + Report("1", "running", 0, 1) + Report("1", "running", 0, 0);
  const ProcessState healthy = ReadLog(log).states.at("cam");
  EXPECT_EQ(healthy.launches, 0U);
  EXPECT_EQ(healthy.restarts, 1U);
  const ProcessState failing = ReadLog(log + Times(3, lost + launched)).states.at("cam");
  EXPECT_EQ(failing.launches, 3U);
  EXPECT_EQ(failing.restarts, 4U);
}

TEST(Device, TellsWhyALaunchFailed) {
  const std::string log =
      start +
      "Curl return code 60\nGet download location from domain https://c, status 2\n"
      "GetDownloadLocation failed for component cam of process cam\n" +
      notLaunched;
  EXPECT_EQ(
      ReadLog(log).states.at("cam").lastFailure,
      "the cloud could not be asked for cam (curl 60, the server's certificate is not trusted)");
}

TEST(Device, KeepsNoMoreNamesThanItMayHold) {
  std::string log;
  for (int i = 0; i < 5000; ++i) log += "Launched process p" + std::to_string(i) + "\n";
  EXPECT_EQ(ReadLog(log).states.size(), 1024U);
}

}  // namespace
}  // namespace devicelog
