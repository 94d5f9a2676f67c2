#include <ctime>

#include "supervisor/processes.h"
#include "tests/kit/device.h"

// In place of the C library's, for the one draw of a launch.
static unsigned seed = 0;
extern "C" int rand() noexcept { return 99; }
extern "C" void srand(unsigned value) noexcept { seed = value; }

namespace {

using testing::ElementsAre;

const std::string request = "Get processes from domain https://cloud.test:8443, status ";
const std::string asked0 = request + "0", down = request + "2";
const std::string unanswered = "Failed to get processes for version latest";

struct FetchTest : DeviceTest {
  FetchTest() { traceCalls = true; }
  [[nodiscard]] std::string Set() const {
    std::string text;
    for (const Process& process : supervisor.processes) {
      for (const Process* shown = &process; shown != nullptr; shown = shown->pending.get()) {
        text += shown->StateInString() + " " + shown->entrypoint +
                (shown->preDownloaded ? " fetched" : "") + (shown->pending ? " -> " : ", ");
      }
    }
    return text;
  }

  FakeCloud cloud;
  Processes supervisor;
};

// Between two fetches all processes come to run, and what waits is fetched ahead. An entry point
// begins with the number of the manifest that brought it.
TEST_F(FetchTest, TheSetFollowsTheManifests) {
  const std::string got1 = "Got 1 processes from cloud\n", got2 = "Got 2 processes from cloud\n";
  const std::string waits = "Wait to stop process a for upgrading\n";
  const std::string dropA = "$ pkill -9 a\nStop unused process a\n";
  const std::string dropB = "$ pkill -9 b\nStop unused process b\n";
  const struct {
    std::string manifest, log, set;
  } rows[] = {
      {"a 1,b 1", got2, "stopped 0 a 1, stopped 0 b 1, "},
      {"b 1,a 1", got2, "running 0 b 1, running 0 a 1, "},
      {"b 1,a 2", waits + got2, "running 0 b 1, running 0 a 1 -> stopped 2 a 2, "},
      {"b 1,a 1", got2, "running 0 b 1, running 0 a 1 -> stopped 2 a 2 fetched, "},
      {"b 1,a 2", waits + got2, "running 0 b 1, running 0 a 1 -> stopped 4 a 2, "},
      {"a 3", dropB + waits + got1, "running 0 a 1 -> stopped 5 a 3, "},
      {"a 1,a 1", got2, "running 0 a 1 -> stopped 5 a 3 fetched, stopped 6 a 1, "},
      {"A 1", dropA + dropA + got1, "stopped 7 A 1, "},
  };
  fakeShell.onCommand = [](const std::string&) { return false; };  // which nobody is to look at
  int number = 0;
  for (const auto& [manifest, lines, set] : rows) {
    cloud.Set("latest ", Manifest(manifest, std::to_string(number++)));
    EXPECT_EQ(supervisor.GetProcesses("latest"), 0);
    EXPECT_EQ(log.Text(), asked0 + "\n" + lines) << manifest;
    EXPECT_EQ(Set(), set) << manifest;
    for (Process& process : supervisor.processes) {
      process.state = Process::State::Running;
      if (process.pending) process.pending->preDownloaded = true;
    }
  }
}

TEST_F(FetchTest, AFailureLeavesTheSetAlone) {
  const std::string broken = Json("{'data':{'processes':[{}]}}");
  cloud.Set("latest ", Manifest("a 1"));
  EXPECT_EQ(supervisor.GetProcesses("latest"), 0);
  cloud.Set("latest ", broken);
  EXPECT_EQ(supervisor.GetProcesses("latest"), 1);
  Remove("/etc/config/.user_config");
  EXPECT_EQ(supervisor.GetProcesses("latest"), 1);
  EXPECT_THAT(log.Lines(), ElementsAre(asked0, "Got 1 processes from cloud", asked0,
                                       "Failed to parse processes from " + broken, unanswered));
  EXPECT_EQ(Set(), "stopped start a 1, ");
}

TEST_F(FetchTest, BootstrapInsistsAndFallsBackOnlyOnABadAnswer) {
  const std::function<void()> sleeps[] = {
      [this] { cloud.Set("latest ", "<html>"), cloud.Set("lastknowngood ", "<html>"); },
      [this] { cloud.Set("lastknowngood ", Manifest("")); },
      [this] { supervisor.stopRequested = true; }};
  fakeClock.onSleep = [next = sleeps]() mutable { (*next++)(); };
  supervisor.Bootstrap();
  const std::string unread = "Failed to parse processes from <html>";
  EXPECT_THAT(log.Lines(),
              ElementsAre("Curl return code 7", down, unanswered, "sleep 5",  //
                          asked0, unread, asked0, unread,
                          "Get last known good version processes failed", "sleep 5",  //
                          asked0, unread, asked0, "Got 0 processes from cloud",
                          "Get last known good version processes succeeded"));
  EXPECT_THAT(cloud.asked,
              ElementsAre("latest ", "latest ", "lastknowngood ", "latest ", "lastknowngood "));
  cloud.answers.clear();
  supervisor.Bootstrap();
  EXPECT_THAT(log.Lines(), ElementsAre("Curl return code 7", down, unanswered, "sleep 5"));
}

TEST_F(FetchTest, FetchesWhenMoreThanTheIntervalHasPassedSinceTheEndOfTheLastFetch) {
  const struct {
    const char* what;
    std::uint32_t interval;
    std::int64_t second;  // since the start, in which the pass begins
    std::size_t fetches;
  } rows[] = {
      {"the bootstrap's, which ended in second 5", 10800, 5, 1},
      {"just the interval", 10800, 10805, 0},
      {"beyond it; the fetch takes 7 s", 10800, 10806, 1},
      {"just the interval since its end", 10800, 21613, 0},
      {"beyond it; the fetch fails", 10800, 21614, 1},
      {"just the interval since it failed", 10800, 32414, 0},
      {"beyond it", 10800, 32415, 1},
      {"the clock set back by an hour", 10800, 28815, 0},
      {"no interval", 0, 32416, 1},
      {"the widest interval is not negative", 4294967295, 1'000'000'000, 0},
  };
  EXPECT_EQ(supervisor.InitHeartbeatSocket(), 0);
  const std::int64_t start = fakeClock.nowMicros;
  fakeShell.onCommand = [](const std::string&) { return fakeClock.Advance(7), true; };
  fakeClock.onSleep = [&, row = rows]() mutable {
    const std::size_t asked = std::exchange(cloud.asked, {}).size();
    if (supervisor.lastBootstrapTime == 0) return cloud.Set("latest ", Manifest("a 1"));
    EXPECT_EQ(asked, row->fetches) << row->what;
    supervisor.stopRequested = ++row == std::end(rows);
    if (supervisor.stopRequested) return;
    cloud.Set("latest ", row->second == 21614 ? "broken" : Manifest(""));
    fakeClock.nowMicros = start + row->second * 1'000'000;
    Processes::bootstrapIntervalSec_ = row->interval;
  };
  supervisor.LaunchAll();
  EXPECT_THAT(log.Lines(), testing::Contains("Get latest processes failed").Times(1));
  EXPECT_NEAR(seed, static_cast<double>(std::time(nullptr)), 10);
}

}  // namespace
