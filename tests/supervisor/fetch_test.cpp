// What a fetch makes of the managed set, and how a first set is obtained.
#include "supervisor/processes.h"
#include "tests/kit/device.h"
#include "tests/kit/process.h"

namespace {

using testing::ElementsAre;
using State = Process::State;

const std::string asked = "Get processes from domain https://cloud.test:8443, status ";
const std::string answered = asked + "0", unreached = asked + "2", refused = "Curl return code 7";
const std::string noLatest = "Failed to get processes for version latest";
const std::string got1 = "Got 1 processes from cloud", got2 = "Got 2 processes from cloud";
const std::string aWaits = "Wait to stop process a for upgrading";

struct FetchTest : DeviceTest {
  FetchTest() { traceCalls = true; }

  // Fetches a set of `processes`.
  void Fetch(const std::vector<Listed>& processes) {
    cloud.Answer(ForManifest("latest"), Manifest(processes));
    EXPECT_EQ(supervisor.GetProcesses("latest"), 0);
  }
  // Fetches such a set and lets all of it run.
  void Run(const std::vector<Listed>& processes) {
    Fetch(processes);
    for (Process& process : supervisor.processes) process.state = State::Running;
    log.Skip();
  }
  [[nodiscard]] Process& At(std::size_t place) { return supervisor.processes.at(place); }

  FakeCloud cloud;
  Processes supervisor;
};

TEST_F(FetchTest, ANewProcessEntersStopped) {
  Fetch({{"a", "1"}, {"b", "2"}});
  EXPECT_THAT(log.Lines(), ElementsAre(answered, got2));
  ASSERT_EQ(supervisor.processes.size(), 2U);
  EXPECT_EQ(At(0).name, "a");
  EXPECT_EQ(At(1).name, "b");
  EXPECT_EQ(At(1).state, State::Stopped);
  EXPECT_EQ(At(1).entrypoint, "start b 2");
}

TEST_F(FetchTest, AListedProcessKeepsItsRunningRecordAtItsNewPlace) {
  Run({{"a", "1", "old"}, {"b", "1"}});
  At(0).retries = 3;
  At(0).lastHeartbeatMs = 7;
  Fetch({{"b", "1"}, {"a", "1", "new"}});
  EXPECT_THAT(log.Lines(), ElementsAre(answered, got2));
  EXPECT_EQ(At(0).name, "b");
  EXPECT_EQ(At(1).name, "a");
  EXPECT_EQ(At(1).state, State::Running);
  EXPECT_EQ(At(1).retries, 3U);
  EXPECT_EQ(At(1).lastHeartbeatMs, 7);
  EXPECT_EQ(At(1).entrypoint, "old") << "what runs was started so";
  EXPECT_EQ(At(1).pending, nullptr);
}

TEST_F(FetchTest, AnyOtherVersionWaitsInTheRunningRecord) {
  for (const char* version : {"0", "2", "10", "1.0", "", "1 ", "a"}) {
    SCOPED_TRACE(version);
    supervisor.processes.clear();
    Run({{"a", "1"}});
    Fetch({{"a", version, "new"}});
    EXPECT_THAT(log.Lines(), ElementsAre(answered, aWaits, got1));
    EXPECT_EQ(At(0).version, "1");
    EXPECT_EQ(At(0).state, State::Running);
    ASSERT_NE(At(0).pending, nullptr);
    EXPECT_EQ(At(0).pending->version, version);
    EXPECT_EQ(At(0).pending->entrypoint, "new");
    EXPECT_EQ(At(0).pending->state, State::Stopped);
    EXPECT_EQ(At(0).pending->pending, nullptr);
  }
}

TEST_F(FetchTest, TheRunningVersionAgainLeavesWhatWaitsAloneAndTheNewOneAgainRenewsIt) {
  Run({{"a", "1"}});
  Fetch({{"a", "2", "old"}});
  ASSERT_NE(At(0).pending, nullptr);
  At(0).pending->preDownloaded = true;
  log.Skip();
  Fetch({{"a", "1"}});
  EXPECT_THAT(log.Lines(), ElementsAre(answered, got1));
  ASSERT_NE(At(0).pending, nullptr);
  EXPECT_EQ(At(0).pending->version, "2");
  EXPECT_TRUE(At(0).pending->preDownloaded);
  Fetch({{"a", "2", "new"}});
  ASSERT_NE(At(0).pending, nullptr);
  EXPECT_EQ(At(0).pending->entrypoint, "new");
  EXPECT_FALSE(At(0).pending->preDownloaded);
}

TEST_F(FetchTest, AnUnlistedProcessIsKilledAndDroppedAlsoWithoutAShell) {
  Run({{"a", "1"}, {"b", "1"}});
  fakeShell.onCommand = [](const std::string&) { return false; };
  Fetch({{"A", "1"}, {"b", "1"}});
  EXPECT_THAT(log.Lines(), ElementsAre(answered, "$ pkill -9 a", "Stop unused process a", got2));
  EXPECT_EQ(At(0).name, "A");
  EXPECT_EQ(At(0).state, State::Stopped);
  EXPECT_EQ(At(1).state, State::Running);
}

TEST_F(FetchTest, OfANameListedTwiceTheFirstGetsTheRunningRecord) {
  Run({{"a", "1"}});
  Fetch({{"a", "1"}, {"a", "3"}});
  EXPECT_EQ(At(0).state, State::Running);
  EXPECT_EQ(At(1).state, State::Stopped);
  EXPECT_EQ(At(1).version, "3");
  log.Skip();
  Fetch({});
  EXPECT_THAT(log.Lines(),
              ElementsAre(answered, "$ pkill -9 a", "Stop unused process a", "$ pkill -9 a",
                          "Stop unused process a", "Got 0 processes from cloud"));
}

TEST_F(FetchTest, AFailureLeavesTheSetAlone) {
  const std::string broken = Json("{'data':{'processes':[{}]}}");
  const std::string unread = "Failed to parse processes from ";
  Run({{"a", "1"}});
  cloud.Answer(ForManifest("latest"), broken);
  EXPECT_EQ(supervisor.GetProcesses("latest"), 1);
  EXPECT_THAT(log.Lines(), ElementsAre(answered, unread + broken));
  cloud.Disconnect();
  EXPECT_EQ(supervisor.GetProcesses("latest"), 2);
  EXPECT_THAT(log.Lines(), ElementsAre(refused, unreached, noLatest));
  Remove("/etc/config/.user_config");
  EXPECT_EQ(supervisor.GetProcesses("latest"), 1);
  EXPECT_THAT(log.Lines(), ElementsAre(noLatest));
  ASSERT_EQ(supervisor.processes.size(), 1U);
  EXPECT_EQ(At(0).state, State::Running);
}

TEST_F(FetchTest, ANulEndsTheAnswerForParserAndLogAlike) {
  cloud.Answer(ForManifest("latest"), std::string("{\"data\"\0:{}}", 12));
  EXPECT_EQ(supervisor.GetProcesses("latest"), 1);
  EXPECT_THAT(log.Lines(), ElementsAre(answered, "Failed to parse processes from {\"data\""));
  cloud.Answer(ForManifest("latest"), Manifest({{"a", "1"}}) + std::string("\0<html>", 7));
  EXPECT_EQ(supervisor.GetProcesses("latest"), 0);
}

struct BootstrapTest : FetchTest {
  BootstrapTest() {
    fakeClock.onSleep = [this] { OnSleep(++sleeps); };
  }
  // At first nothing answers, then both labels unreadably, then one of them well.
  void OnSleep(int sleep) {
    if (sleep == 1) cloud.Answer(ForManifest("latest"), "<html>");
    if (sleep == 1) cloud.Answer(ForManifest("lastknowngood"), "<html>");
    if (sleep == 2) cloud.Answer(ForManifest("lastknowngood"), Manifest({}));
    if (sleep == 3) supervisor.stopRequested = true;
  }
  int sleeps = 0;
};

TEST_F(BootstrapTest, InsistsAndFallsBackOnlyOnABadAnswer) {
  supervisor.Bootstrap();
  const std::string unread = "Failed to parse processes from <html>";
  const std::string noGood = "Get last known good version processes failed";
  EXPECT_THAT(log.Lines(), ElementsAre(refused, unreached, noLatest, "sleep 5",                   //
                                       answered, unread, answered, unread, noGood, "sleep 5",     //
                                       answered, unread, answered, "Got 0 processes from cloud",  //
                                       "Get last known good version processes succeeded"));
  EXPECT_THAT(cloud.requests,
              ElementsAre(ForManifest("latest"),                                //
                          ForManifest("latest"), ForManifest("lastknowngood"),  //
                          ForManifest("latest"), ForManifest("lastknowngood")));
}

TEST_F(BootstrapTest, EndsWithAStop) {
  sleeps = 2;
  supervisor.Bootstrap();
  EXPECT_THAT(log.Lines(), ElementsAre(refused, unreached, noLatest, "sleep 5"));
  supervisor.Bootstrap();
  EXPECT_EQ(log.Text(), "") << "stopped before it began";
}

}  // namespace
