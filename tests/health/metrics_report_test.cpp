#include "health/metrics_report.h"

#include <locale>

#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using State = Process::State;
using MetricsReportTest = DeviceTest;
using testing::ElementsAre;
using testing::IsEmpty;

Process Counting(const std::string& name, std::uint32_t launchFailures,
                 std::uint32_t heartbeatMissing) {
  Process process;
  process.name = name;
  process.version = "1.2.0";
  process.launchFailures = launchFailures;
  process.heartbeatMissing = heartbeatMissing;
  return process;
}

TEST_F(MetricsReportTest, AReportIsDueWhenMoreThanItsIntervalHasPassed) {
  constexpr std::uint32_t widestSec = 4294967295;
  const struct {
    const char* what;
    State state;
    std::uint32_t normalSec, failureSec;
    std::int64_t elapsedSec;  // and 0.57 more
    bool due;
  } rows[] = {
      {"just the interval", State::Running, 3600, 600, 3600, false},
      {"a second more", State::Running, 3600, 600, 3601, true},
      {"failed, just the interval", State::Failed, 3600, 600, 600, false},
      {"failed, a second more", State::Failed, 3600, 600, 601, true},
      {"stopped is not failed", State::Stopped, 3600, 600, 601, false},
      {"running is not failed", State::Running, 3600, 600, 601, false},
      {"the normal one is the shorter", State::Failed, 10, 600, 11, true},
      {"clock set back", State::Failed, 3600, 600, -86400, false},
      {"widest interval", State::Running, widestSec, 600, 4000000, false},
      {"widest intervals, failed", State::Failed, widestSec, widestSec, 4000000, false},
  };
  for (const auto& row : rows) {
    std::vector<Process> processes = {Process(), Process(), Process()};
    processes[1].state = row.state;
    const std::int64_t lastReportSec = fakeClock.nowMicros / 1'000'000 - row.elapsedSec;
    fakeClock.reads = 0;
    EXPECT_EQ(IsReportDue(processes, lastReportSec, {row.normalSec, row.failureSec}), row.due)
        << row.what;
    EXPECT_EQ(fakeClock.reads, 1U) << row.what;
  }
}

// What a host may have left behind must not show in a report.
struct Grouping : std::numpunct<char> {
  [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

TEST_F(MetricsReportTest, CountersAreTextsWhateverTheHostsLocale) {
  std::locale::global(std::locale(std::locale::classic(), new Grouping));
  std::vector<Process> processes = {Counting("str\"eamer", 4294967295, 1234567),
                                    Counting("b", 0, 1)};
  processes[1].state = State::Failed;
  const CJsonText text = BuildReport(processes);
  EXPECT_STREQ(text.get(),
               R"({"processes":[{"name":"str\"eamer","version":"1.2.0","state":"stopped",)"
               R"("launchFailures":"4294967295","heartbeatMissing":"1234567"},)"
               R"({"name":"b","version":"1.2.0","state":"failed",)"
               R"("launchFailures":"0","heartbeatMissing":"1"}]})");
  for (const Process& process : processes) {
    EXPECT_EQ(process.launchFailures, 0U) << process.name;
    EXPECT_EQ(process.heartbeatMissing, 0U) << process.name;
  }
}

// How many of cJSON's allocations succeed before one fails; negative when none is to fail.
int allocationsBeforeFailure = -1;

void* AllocateOrFail(std::size_t size) {
  return allocationsBeforeFailure-- == 0 ? nullptr : std::malloc(size);
}

TEST_F(MetricsReportTest, AProcessThatIsSkippedKeepsItsCounters) {
  cJSON_Hooks hooks = {AllocateOrFail, std::free};
  cJSON_InitHooks(&hooks);
  unsigned skipped = 0;
  for (int successes = 0; allocationsBeforeFailure < 0; ++successes) {
    std::vector<Process> processes = {Counting("first", 1, 2), Counting("second", 3, 4)};
    allocationsBeforeFailure = successes;
    const CJsonText report = BuildReport(processes);
    if (!report) continue;
    const std::string text = report.get();
    EXPECT_EQ(text.rfind(R"({"processes":[)", 0), 0U) << text;
    for (const Process& process : processes) {
      const bool isIn = text.find("\"" + process.name + "\"") != std::string::npos;
      EXPECT_EQ(process.launchFailures == 0, isIn) << process.name << " in " << text;
      EXPECT_EQ(process.heartbeatMissing == 0, isIn) << process.name << " in " << text;
      if (!isIn) ++skipped;
    }
  }
  cJSON_InitHooks(nullptr);
  EXPECT_GE(skipped, 20U) << "the first or the second, for each member's allocations";
}

TEST_F(MetricsReportTest, AReportIsHandedOverThenLogged) {
  traceCalls = true;
  SubmitReport(R"({"processes":[]})");
  EXPECT_THAT(log.Lines(),
              ElementsAre(R"(put_metrics_JSON 1 255 tolvarProcessList {"processes":[]})",
                          R"({"processes":[]})"));
}

TEST_F(MetricsReportTest, TheSupervisorReportsByItsIntervalsAndKeepsTheEndAsTheTime) {
  Processes supervisor;
  supervisor.processes = {Counting("a", 1, 2)};
  supervisor.lastReportTime = 1'731'711'234 - 3600;
  EXPECT_EQ(supervisor.ReportMetrics(), 0);
  EXPECT_THAT(log.Lines(), IsEmpty()) << "not due yet";
  supervisor.processes[0].state = State::Failed;
  EXPECT_EQ(supervisor.ReportMetrics(), 0);
  EXPECT_EQ(log.Lines().size(), 1U);
  EXPECT_EQ(supervisor.lastReportTime, 1'731'711'235) << "the second that it took included";
  EXPECT_EQ(supervisor.processes[0].launchFailures, 0U);
}

TEST_F(MetricsReportTest, WithoutMemoryForItNothingIsReportedAndItStaysDue) {
  Processes supervisor;
  supervisor.processes = {Counting("a", 1, 2)};
  cJSON_Hooks hooks = {[](std::size_t) -> void* { return nullptr; }, std::free};
  cJSON_InitHooks(&hooks);
  EXPECT_EQ(supervisor.ReportMetrics(), 1);
  cJSON_InitHooks(nullptr);
  EXPECT_THAT(log.Lines(), IsEmpty());
  EXPECT_EQ(supervisor.lastReportTime, 0);
}

}  // namespace
