#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ReconcileTest : public DeviceTest {
 protected:
  ReconcileTest() { StartCloud(); }

  // Has the cloud list `elements` and fetches them; the log then starts after the request's line.
  int Fetch(const std::vector<std::string>& elements) {
    cloud->SetManifest("latest", Manifest(elements));
    return supervisor.GetProcesses("latest");
  }
  // "<name> <version>" of each record, with "-> <version>" for a pending one.
  [[nodiscard]] std::vector<std::string> Set() const {
    std::vector<std::string> set;
    for (const Process& process : supervisor.processes) {
      set.push_back(process.name + " " + process.version +
                    (process.pending ? " -> " + process.pending->version : ""));
    }
    return set;
  }
  void Run(std::size_t index) {
    supervisor.processes[index].state = Process::State::Running;
    supervisor.processes[index].retries = 3;
    supervisor.processes[index].reportedStatus = 2;
    supervisor.processes[index].lastHeartbeatMs = 77;
  }

  const std::string requestLine = "Get processes from domain https://cloud.test:8443, status 0";
  Processes supervisor;
};

TEST_F(ReconcileTest, AListedProcessKeepsItsRecordInTheManifestsOrder) {
  EXPECT_EQ(Fetch({ProcessJson("a", "1"), ProcessJson("b", "1")}), 0);
  EXPECT_THAT(log.Lines(), ElementsAre(requestLine, "Got 2 processes from cloud"));
  Run(0);
  std::string changed = ProcessJson("a", "1");
  changed.replace(changed.find("start"), 5, "other");
  EXPECT_EQ(Fetch({ProcessJson("c", "1"), ProcessJson("b", "1"), changed}), 0);
  EXPECT_THAT(Set(), ElementsAre("c 1", "b 1", "a 1"));
  const Process& kept = supervisor.processes[2];
  EXPECT_EQ(kept.entrypoint, "start a 1") << "what runs was started so";
  EXPECT_EQ(kept.StateInString(), "running");
  EXPECT_EQ(kept.retries, 3U);
  EXPECT_EQ(kept.reportedStatus, 2);
  EXPECT_EQ(kept.lastHeartbeatMs, 77);
  EXPECT_THAT(fakeShell.commands, IsEmpty());
}

TEST_F(ReconcileTest, ANewVersionWaitsAsParsed) {
  (void)Fetch({ProcessJson("a", "1")});
  Run(0);
  (void)log.Lines();
  EXPECT_EQ(Fetch({ProcessJson("a", "2")}), 0);
  EXPECT_THAT(log.Lines(), ElementsAre(requestLine, "Wait to stop process a for upgrading",
                                       "Got 1 processes from cloud"));
  const std::shared_ptr<Process> pending = supervisor.processes[0].pending;
  EXPECT_EQ(pending->entrypoint, "start a 2");
  EXPECT_EQ(pending->StateInString(), "stopped");
  EXPECT_EQ(pending->retries, 0U);
  EXPECT_EQ(pending->pending, nullptr);

  EXPECT_EQ(Fetch({ProcessJson("a", "1")}), 0);
  EXPECT_EQ(supervisor.processes[0].pending, pending) << "left alone by the running version";
  pending->preDownloaded = true;
  EXPECT_EQ(Fetch({ProcessJson("a", "2")}), 0);
  EXPECT_FALSE(supervisor.processes[0].pending->preDownloaded) << "a fresh record";
  EXPECT_EQ(Fetch({ProcessJson("a", "3")}), 0);
  EXPECT_THAT(Set(), ElementsAre("a 1 -> 3"));
  EXPECT_THAT(fakeShell.commands, IsEmpty());
}

TEST_F(ReconcileTest, AnUnlistedProcessIsKilledAndDropped) {
  (void)Fetch({ProcessJson("a", "1"), ProcessJson("b", "1"), ProcessJson("B", "1")});
  (void)log.Lines();
  fakeShell.onCommand = [](const std::string&) { return false; };
  EXPECT_EQ(Fetch({}), 0);
  EXPECT_THAT(fakeShell.commands, ElementsAre("pkill -9 a", "pkill -9 b", "pkill -9 B"));
  EXPECT_THAT(log.Lines(),
              ElementsAre(requestLine, "Stop unused process a", "Stop unused process b",
                          "Stop unused process B", "Got 0 processes from cloud"));
  EXPECT_THAT(Set(), IsEmpty());
}

TEST_F(ReconcileTest, OfTwoWithOneNameTheFirstInherits) {
  (void)Fetch({ProcessJson("a", "1")});
  Run(0);
  (void)Fetch({ProcessJson("a", "1"), ProcessJson("a", "1")});
  ASSERT_EQ(supervisor.processes.size(), 2U);
  EXPECT_EQ(supervisor.processes[0].StateInString(), "running");
  EXPECT_EQ(supervisor.processes[1].StateInString(), "stopped");
}

TEST_F(ReconcileTest, AFailureLeavesTheSetAlone) {
  (void)Fetch({ProcessJson("a", "1")});
  (void)log.Lines();
  cloud->SetManifest("latest", Manifest({ProcessJson("b", "1"), "{}"}));
  EXPECT_EQ(supervisor.GetProcesses("latest"), 1);
  EXPECT_EQ(log.Lines().back(),
            "Failed to parse processes from " + Manifest({ProcessJson("b", "1"), "{}"}));
  cloud->Set("latest ", {""});
  EXPECT_EQ(supervisor.GetProcesses("latest"), 1);
  EXPECT_EQ(log.Lines().back(), "Failed to parse processes from ");
  cloud.reset();
  EXPECT_EQ(supervisor.GetProcesses("latest"), 2);
  EXPECT_EQ(log.Lines().back(), "Failed to get processes for version latest");
  Remove("/etc/config/.user_config");
  EXPECT_EQ(supervisor.GetProcesses("latest"), 1);
  EXPECT_THAT(log.Lines(), ElementsAre("Failed to get processes for version latest"));
  EXPECT_THAT(Set(), ElementsAre("a 1"));
  EXPECT_THAT(fakeShell.commands, IsEmpty());
}

TEST_F(ReconcileTest, BootstrapInsistsAndFallsBackOnlyOnABadAnswer) {
  cloud.reset();
  std::vector<std::vector<std::string>> asked;  // in each round
  fakeClock.onSleep = [&] {
    asked.push_back(cloud ? cloud->Asked() : std::vector<std::string>{});
    if (asked.size() == 1) StartCloud();
    if (asked.size() == 2) cloud->SetManifest("lastknowngood", Manifest({ProcessJson("a", "0")}));
  };
  supervisor.Bootstrap();
  EXPECT_THAT(asked, ElementsAre(IsEmpty(), ElementsAre("latest ", "lastknowngood ")));
  EXPECT_THAT(fakeClock.sleeps, ElementsAre(5, 5));
  EXPECT_THAT(Set(), ElementsAre("a 0"));
  const std::vector<std::string> lines = log.Lines();
  EXPECT_THAT(lines, testing::Contains("Get last known good version processes failed").Times(1));
  EXPECT_EQ(lines.back(), "Get last known good version processes succeeded");

  cloud->SetManifest("latest", Manifest({ProcessJson("a", "1")}));
  supervisor.Bootstrap();
  EXPECT_EQ(log.Lines().back(), "Get latest version processes succeeded");
}

TEST_F(ReconcileTest, BootstrapEndsWhenAskedTo) {
  cloud.reset();
  fakeClock.onSleep = [this] { supervisor.stopRequested = fakeClock.sleeps.size() == 3; };
  supervisor.Bootstrap();
  EXPECT_EQ(fakeClock.sleeps.size(), 3U);
  (void)log.Lines();
  supervisor.Bootstrap();
  EXPECT_THAT(log.Lines(), IsEmpty());
}

}  // namespace
