#include <locale>

#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using State = Process::State;

struct DeadlineTest : DeviceTest {
  Processes supervisor;
};

TEST_F(DeadlineTest, LimitsAreExceededInWholeSeconds) {
  constexpr std::int64_t now = 1'731'711'234'567;  // ms; launches are another 0.57 s ago
  constexpr std::uint32_t widest = 4294967295;
  const struct {
    const char* what;
    State state;
    std::uint32_t startup, interval;
    std::int64_t launchedSecAgo, heartbeatMs;
    bool fails;
  } rows[] = {
      {"never heard, starting", State::Running, 60, 5, 60, 0, false},
      {"never heard, started", State::Running, 60, 5, 61, 0, true},
      {"5.99 s old", State::Running, 60, 5, 100, now - 5999, false},
      {"6 s old", State::Running, 60, 5, 100, now - 6000, true},
      {"clock set back", State::Running, 60, 5, -100, now - 9000, false},
      {"widest start-up time", State::Running, widest, 5, 100, now - 9000, false},
      {"widest interval", State::Running, 60, widest, 100, now - 9000, false},
      {"stopped", State::Stopped, 60, 5, 100, now - 9000, false},
  };
  Process process;
  process.name = "a";
  process.heartbeatMissing = 41;
  for (const auto& row : rows) {
    Processes::maxHeartbeatIntervalSec_ = row.interval;
    process.state = row.state;
    process.maxstartuptime = row.startup;
    process.launchTime = now / 1000 - row.launchedSecAgo;
    process.lastHeartbeatMs = row.heartbeatMs;
    supervisor.processes = {process, process};
    supervisor.ProcessHeartbeat();
    EXPECT_EQ(supervisor.processes[1].state, row.fails ? State::Failed : row.state) << row.what;
    const std::string line = "Process a failed to report heartbeat, heartbeatMissing 42";
    EXPECT_EQ(log.Lines(), std::vector<std::string>(row.fails ? 2 : 0, line)) << row.what;
  }
  EXPECT_EQ(fakeClock.reads, std::size(rows)) << "one for all processes";
}

// What a host may have left behind must not show in a report.
struct Grouping : std::numpunct<char> {
  [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

TEST_F(DeadlineTest, AReportIsPutThenLoggedAndResetsTheCounters) {
  std::locale::global(std::locale(std::locale::classic(), new Grouping));
  traceCalls = true;
  Process process;
  process.name = "str\"eamer";
  process.version = "1.2.0";
  process.launchFailures = 4294967295;
  process.heartbeatMissing = 1234567;
  supervisor.processes = {process, process};
  EXPECT_EQ(supervisor.ReportMetrics(), 0);
  const std::string element = R"({"name":"str\"eamer","version":"1.2.0","state":"stopped",)"
                              R"("launchFailures":"4294967295","heartbeatMissing":"1234567"})";
  const std::string text = R"({"processes":[)" + element + "," + element + "]}\n";
  EXPECT_EQ(log.Text(), "put_metrics_JSON 1 255 tolvarProcessList " + text + text);
  const Process& last = supervisor.processes[1];
  EXPECT_EQ(last.launchFailures + last.heartbeatMissing, 0U);
  EXPECT_EQ(supervisor.lastReportTime, 1'731'711'235) << "the end of the second that it took";
}

TEST_F(DeadlineTest, AReportIsDueWhenItsIntervalIsExceeded) {
  const std::tuple<State, std::uint32_t, std::int64_t, bool> rows[] = {
      {State::Running, 3600, 3600, false},  {State::Running, 3600, 3601, true},
      {State::Failed, 3600, 600, false},    {State::Failed, 3600, 601, true},
      {State::Running, 3600, 601, false},   {State::Failed, 10, 11, true},
      {State::Failed, 3600, -86400, false}, {State::Running, 4294967295, 4000000, false}};
  supervisor.processes.resize(2);
  for (const auto& [state, interval, elapsed, due] : rows) {
    Processes::metricsReportIntervalSec_ = interval;
    supervisor.processes[1].state = state;
    supervisor.lastReportTime = fakeClock.nowMicros / 1'000'000 - elapsed;
    EXPECT_EQ(supervisor.ReportMetrics(), 0);
    EXPECT_EQ(!log.Text().empty(), due) << interval << " " << elapsed;
  }
}

}  // namespace
