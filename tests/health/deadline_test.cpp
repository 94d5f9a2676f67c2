#include <iostream>
#include <locale>

#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using State = Process::State;

class DeadlineTest : public DeviceTest {
 protected:
  DeadlineTest() {
    traceCalls = true;
    for (const std::string& name : std::vector<std::string>{"a", "b", "a", longest}) {
      supervisor.processes.emplace_back().name = name;
      supervisor.processes.back().state = State::Running;
    }
  }
  const std::string longest = std::string(132, 'x');  // fills its field, without a terminator
  Processes supervisor;
};

TEST_F(DeadlineTest, TheLastQueuedHeartbeatOfTheFirstNamesakeCounts) {
  const struct {
    std::int64_t timestampMs;
    std::int32_t status;
    std::string name;
  } queue[] = {{2000, 2, "a"}, {9, 9, "unknown"}, {9, 9, "A"},    {9, 9, ""},
               {9, 9, "ab"},   {5, -1, "b"},      {1000, 3, "a"}, {7, 1, longest}};
  for (const auto& [timestampMs, status, name] : queue) {
    Heartbeat heartbeat = {timestampMs, status, {}};
    (void)name.copy(heartbeat.name, sizeof heartbeat.name);
    supervisor.heartbeatQueue.push(heartbeat);
  }
  supervisor.ProcessHeartbeat();
  EXPECT_TRUE(supervisor.heartbeatQueue.empty());
  std::vector<std::int64_t> heard;
  for (const Process& process : supervisor.processes) {
    heard.insert(heard.end(), {process.lastHeartbeatMs, process.reportedStatus});
  }
  EXPECT_THAT(heard, ElementsAre(1000, 3, 5, -1, 0, 0, 7, 1));
}

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
      {"from the future", State::Running, 60, 5, 100, now + 50'000, false},
      {"clock set back", State::Running, 60, 5, -100, now - 9000, false},
      {"widest start-up time", State::Running, widest, 5, 100, now - 9000, false},
      {"widest interval", State::Running, 60, widest, 100, now - 9000, false},
      {"stopped", State::Stopped, 60, 5, 100, now - 9000, false},
      {"failed already", State::Failed, 60, 5, 100, now - 9000, false},
      {"latest time stamp", State::Running, 60, 5, 100, INT64_MAX, true},
      {"earliest time stamp", State::Running, 60, 5, 100, INT64_MIN, true},
  };
  for (const auto& row : rows) {
    Processes::maxHeartbeatIntervalSec_ = row.interval;
    Process& process = supervisor.processes[0];
    process.state = row.state;
    process.maxstartuptime = row.startup;
    process.launchTime = now / 1000 - row.launchedSecAgo;
    process.lastHeartbeatMs = row.heartbeatMs;
    process.heartbeatMissing = 41;
    supervisor.processes[1] = process;
    supervisor.processes.resize(2);
    fakeClock.reads = 0;
    supervisor.ProcessHeartbeat();
    EXPECT_EQ(fakeClock.reads, 1U) << "one for all processes";
    EXPECT_EQ(process.state, row.fails ? State::Failed : row.state) << row.what;
    const std::string line = "Process a failed to report heartbeat, heartbeatMissing 42";
    EXPECT_EQ(log.Lines(), std::vector<std::string>(row.fails ? 2 : 0, line)) << row.what;
  }
}

// What a host may have left on its streams must not show in a report.
struct Grouping : std::numpunct<char> {
  [[nodiscard]] char do_thousands_sep() const override { return '.'; }
  [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

TEST_F(DeadlineTest, AReportIsPutThenLoggedAndResetsTheCounters) {
  std::locale::global(std::locale(std::locale::classic(), new Grouping));
  std::cout << std::hex << std::showbase;
  supervisor.processes.resize(2);
  Process& process = supervisor.processes[0];
  process.name = "str\"eamer";
  process.version = "1.2.0";
  process.launchFailures = 4294967295;
  process.heartbeatMissing = 1234567;
  supervisor.processes[1] = process;
  supervisor.processes[1].state = static_cast<State>(3);
  EXPECT_EQ(supervisor.ReportMetrics(), 0);
  const std::string head = R"({"name":"str\"eamer","version":"1.2.0","state":")";
  const std::string counters = R"(","launchFailures":"4294967295","heartbeatMissing":"1234567"})";
  const std::string text =
      R"({"processes":[)" + head + "running" + counters + "," + head + counters + "]}";
  EXPECT_THAT(log.Lines(), ElementsAre("put_metrics_JSON 1 255 tolvarProcessList " + text, text));
  for (const Process& reported : supervisor.processes) {
    EXPECT_EQ(reported.launchFailures + reported.heartbeatMissing, 0U);
  }
  EXPECT_EQ(supervisor.lastReportTime, 1'731'711'235) << "the end of the second that it took";
}

TEST_F(DeadlineTest, AReportIsDueWhenItsIntervalIsExceeded) {
  const struct {
    State state;
    std::uint32_t normal, failure;
    std::int64_t elapsed;
    bool due;
  } rows[] = {
      {State::Running, 3600, 600, 3600, false},  {State::Running, 3600, 600, 3601, true},
      {State::Failed, 3600, 600, 600, false},    {State::Failed, 3600, 600, 601, true},
      {State::Running, 3600, 600, 601, false},   {State::Failed, 10, 600, 11, true},
      {State::Failed, 3600, 600, -86400, false}, {State::Running, 4294967295, 600, 4000000, false}};
  for (const auto& row : rows) {
    Processes::metricsReportIntervalSec_ = row.normal;
    Processes::failureReportIntervalSec_ = row.failure;
    supervisor.processes[3].state = row.state;
    supervisor.lastReportTime = fakeClock.nowMicros / 1'000'000 - row.elapsed;
    EXPECT_EQ(supervisor.ReportMetrics(), 0);
    EXPECT_EQ(!log.Lines().empty(), row.due)
        << supervisor.processes[3].StateInString() << " " << row.normal << " " << row.elapsed;
  }
}

}  // namespace
