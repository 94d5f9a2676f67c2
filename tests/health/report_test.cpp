#include <cstdlib>
#include <iostream>
#include <locale>

#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using State = Process::State;

constexpr char reports[] = "/run/reports";

class ReportTest : public DeviceTest {
 protected:
  ReportTest() {
    EXPECT_EQ(setenv("TOLVAR_METRICS_FILE", reports, 1), 0);
    supervisor.processes.resize(1);
    supervisor.processes[0].name = "str\"eamer";
    supervisor.processes[0].version = "1.2.0";
  }
  Processes supervisor;
};

// What a host may have left on its streams must not show in a report.
struct Grouping : std::numpunct<char> {
  [[nodiscard]] char do_thousands_sep() const override { return '.'; }
  [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

TEST_F(ReportTest, TheFirstPassReportsAndResetsTheCounters) {
  std::locale::global(std::locale(std::locale::classic(), new Grouping));
  std::cout << std::hex << std::showbase;
  Process& process = supervisor.processes[0];
  process.state = State::Running;
  process.launchFailures = 4294967295;
  process.heartbeatMissing = 1234567;
  supervisor.processes.push_back(process);
  supervisor.processes[1].state = static_cast<State>(3);
  EXPECT_EQ(supervisor.ReportMetrics(), 0);
  const std::string counters = R"("launchFailures":"4294967295","heartbeatMissing":"1234567"})";
  const std::string text =
      R"({"processes":[{"name":"str\"eamer","version":"1.2.0","state":"running",)" + counters +
      R"(,{"name":"str\"eamer","version":"1.2.0","state":"",)" + counters + "]}";
  EXPECT_THAT(log.Lines(), ElementsAre(text));
  EXPECT_EQ(ReadText(reports), text + "\n");
  for (const Process& reported : supervisor.processes) {
    EXPECT_EQ(reported.launchFailures + reported.heartbeatMissing, 0U);
  }
  EXPECT_EQ(supervisor.lastReportTime, 1'731'711'234);
  EXPECT_EQ(supervisor.ReportMetrics(), 0);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ReportTest, AReportIsDueWhenItsIntervalIsExceeded) {
  const struct {
    State state;
    std::uint32_t normal;
    std::uint32_t failure;
    std::int64_t elapsed;
    bool due;
  } cases[] = {
      {State::Running, 3600, 600, 3600, false},  {State::Running, 3600, 600, 3601, true},
      {State::Failed, 3600, 600, 600, false},    {State::Failed, 3600, 600, 601, true},
      {State::Running, 3600, 600, 601, false},   {State::Failed, 10, 600, 11, true},
      {State::Failed, 3600, 600, -86400, false}, {State::Running, 4294967295, 600, 4000000, false},
      {State::Running, 0, 600, 0, false},
  };
  for (const auto& row : cases) {
    Processes::metricsReportIntervalSec_ = row.normal;
    Processes::failureReportIntervalSec_ = row.failure;
    supervisor.processes[0].state = row.state;
    supervisor.lastReportTime = fakeClock.nowMicros / 1'000'000 - row.elapsed;
    EXPECT_EQ(supervisor.ReportMetrics(), 0);
    EXPECT_EQ(log.Lines().size(), row.due ? 1U : 0U) << row.elapsed << " " << row.normal;
  }
}

}  // namespace
