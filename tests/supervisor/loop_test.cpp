// The supervisor's life on its thread: what comes in which order, when, and what holds it up.
#include <ctime>
#include <mutex>
#include <stdexcept>

#include "supervisor/processes.h"
#include "tests/fakes/scarcity.h"
#include "tests/kit/device.h"
#include "tests/kit/heartbeat.h"
#include "tests/kit/process.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

struct LoopTest : DeviceTest {
  LoopTest() {
    EXPECT_EQ(supervisor.InitHeartbeatSocket(), 0);
    cloud.Answer(ForManifest("latest"), Manifest({}));
    fakeClock.onSleep = [this] { OnSleep(++sleeps); };
  }
  void OnSleep(int sleep) {
    if (onSleep) onSleep(sleep);
    if (sleep >= passes) Stop();
  }
  void Stop() {
    supervisor.stopRequested = true;
    Beat("the receiver");  // which waits for a heartbeat
  }
  void Run(int passesToGo) {
    passes = passesToGo;
    supervisor.LaunchAll();
  }

  FakeCloud cloud;
  Processes supervisor;
  std::function<void(int)> onSleep;  // runs in each sleep, which it is told by number
  int sleeps = 0, passes = 0;
};

// That the one comes before the other is held where a life is seen line by line.
TEST_F(LoopTest, TheGeneratorIsSeededWithTheTimeForItsOneDraw) {
  fakeRandom.draw = 5;
  Run(1);
  ASSERT_EQ(fakeRandom.seeds.size(), 1U);
  EXPECT_NEAR(fakeRandom.seeds[0], static_cast<double>(std::time(nullptr)), 10);
  EXPECT_EQ(Processes::bootstrapIntervalSec_, 11339U);
}

TEST_F(LoopTest, TheFetchIntervalIsRescaledInSinglePrecision) {
  const struct {
    const char* what;
    std::uint32_t interval;
    int draw;
    std::uint32_t rescaled;
  } rows[] = {
      {"the least factor", 21600, 0, 10800},
      {"11340 in double precision", 21600, 5, 11339},
      {"between", 21600, 13, 12204},
      {"the greatest factor", 21600, 99, 21492},
      {"only the remainder counts", 21600, 100, 10800},
      {"the greatest draw", 21600, 2147483647, 15876},
      {"less than a second", 1, 99, 0},
      {"the widest interval", 4294967295, 0, 2147483648},
      {"rounded in single precision", 4294967295, 99, 4273492480},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(RescaledInterval(row.interval, row.draw), row.rescaled) << row.what;
  }
}

TEST_F(LoopTest, TheSetIsFetchedWhenItsIntervalIsExceeded) {
  const struct {
    const char* what;
    std::uint32_t interval;
    std::int64_t elapsedSec;  // since the last fetch, when a pass begins
    std::size_t fetches;
  } rows[] = {
      {"just the interval", 10800, 10800, 0},
      {"beyond it", 10800, 10801, 1},
      {"no interval, the next second", 0, 1, 1},
      {"the clock set back", 10800, -3600, 0},
      {"the clock set back without an interval", 0, -1, 0},
      {"the widest interval is not negative", 4294967295, 1'000'000'000, 0},
      {"and has its end", 4294967295, 4294967296, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    onSleep = [this, &row](int pass) {
      if (pass != 1) return;
      Processes::bootstrapIntervalSec_ = row.interval;
      fakeClock.nowMicros = (supervisor.lastBootstrapTime + row.elapsedSec) * 1'000'000 + 999'999;
      cloud.requests.clear();
    };
    sleeps = 0;
    supervisor.stopRequested = false;
    Run(2);
    EXPECT_EQ(cloud.requests.size(), row.fetches);
  }
}

TEST_F(LoopTest, AFetchIntervalBeginsAtTheEndOfAFetchWhateverCameOfIt) {
  cloud.onRequest = [](const CloudRequest&) { fakeClock.Advance(7); };
  const std::int64_t start = fakeClock.Seconds();
  std::vector<std::int64_t> begins;  // of the interval, as each pass left it
  onSleep = [&](int pass) {
    begins.push_back(supervisor.lastBootstrapTime - start);
    Processes::bootstrapIntervalSec_ = 100;
    fakeClock.nowMicros = (start + std::int64_t{1000} * pass) * 1'000'000;
    if (pass == 2) cloud.Disconnect();
  };
  Run(3);
  EXPECT_THAT(begins, ElementsAre(7, 1007, 2007))
      << "the first set's, a good one's, a failed one's";
  EXPECT_THAT(log.Lines(), Contains("Get latest processes failed").Times(1));
}

// All of a pass in one: the fetch brings b and a new version of a, whose heartbeat says that it is
// busy; c was not heard in time.
TEST_F(LoopTest, APassFetchesThenHearsThenStepsThenReports) {
  Processes::bootstrapIntervalSec_ = 100;
  cloud.Answer(ForManifest("latest"), Manifest({{"a", "1"}, {"c", "1"}}));
  onSleep = [this](int pass) {
    if (pass != 1) return;
    traceCalls = true;
    cloud.Answer(ForManifest("latest"), Manifest({{"a", "2"}, {"b", "1"}, {"c", "1"}}));
    fakeClock.Advance(4000);
    const std::lock_guard<std::mutex> lock(supervisor.heartbeatMutex);
    for (const char* name : {"a", "b"}) {
      Heartbeat beat = {fakeClock.nowMicros / 1000, 2, {}};
      beat.name[0] = name[0];
      supervisor.heartbeatQueue.push(beat);
    }
    log.Skip();
  };
  Run(2);
  EXPECT_THAT(log.Lines(),
              ElementsAre(StartsWith("Get processes "), "Wait to stop process a for upgrading",
                          "Got 3 processes from cloud",
                          "Process c failed to report heartbeat, heartbeatMissing 1",
                          "Pre-download all components for process a",  // and no more: it is busy
                          "$ pkill -9 b", "$ start b 1", "Launched process b",
                          "Launch process b successfully", "$ pkill -9 c", "$ pkill -9 c",
                          "$ start c 1", "Launched process c", "Launch process c successfully",
                          StartsWith("put_metrics_JSON "), StartsWith("{"), "sleep 1",
                          "deinit_metrics_client"));
  EXPECT_EQ(supervisor.processes[1].reportedStatus, 2) << "b was there for its heartbeat";
}

TEST_F(LoopTest, AStopDuringTheBootstrapSkipsThePassesAlone) {
  traceCalls = true;
  Processes::bootstrapIntervalSec_ = 200;
  cloud.Answer(ForManifest("latest"), Manifest({{"a", "1"}}));
  cloud.onRequest = [this](const CloudRequest&) { supervisor.stopRequested = true; };
  Run(0);
  EXPECT_THAT(log.Lines(),
              ElementsAre("init_metrics_client", StartsWith("mac "), StartsWith("Get enr "),
                          StartsWith("Get processes "), StartsWith("Got 1 "),
                          StartsWith("Get latest "), "srand", "rand", "deinit_metrics_client"));
  EXPECT_EQ(scarcity.threadsAskedFor, 1) << "the receiver's";
  EXPECT_EQ(Processes::bootstrapIntervalSec_, 199U) << "rescaled";
}

TEST_F(LoopTest, AThreadThatIsRefusedIsAskedForEachSecond) {
  traceCalls = true;
  scarcity.threadsToRefuse = 2;
  onSleep = [](int sleep) {
    EXPECT_EQ(fakeRandom.seeds.size(), sleep <= 2 ? 0U : 1U) << "no further without it";
  };
  Run(3);
  EXPECT_EQ(scarcity.threadsAskedFor, 3);
  EXPECT_THAT(log.Lines(), Contains("sleep 1").Times(3));
  EXPECT_EQ(fakeMetrics.reports.size(), 1U) << "of the one pass, before the third sleep";
}

TEST_F(LoopTest, AStopEndsTheWaitForAThread) {
  scarcity.threadsToRefuse = 1000;
  Run(1);
  EXPECT_EQ(sleeps, 1);
  EXPECT_LE(scarcity.threadsAskedFor, 2);
  EXPECT_EQ(fakeMetrics.reports.size(), 0U) << "no pass without a receiver";
}

TEST_F(LoopTest, WhateverTheMetricsClientThrowsSupervisionGoesOn) {
  const struct {
    const char* call;
    bool isException;  // else it is a number
  } rows[] = {
      {"init_metrics_client", true},   {"init_metrics_client", false},
      {"put_metrics_JSON", true},      {"put_metrics_JSON", false},
      {"deinit_metrics_client", true}, {"deinit_metrics_client", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.call) + (row.isException ? " an exception" : " a number"));
    int thrown = 0;
    fakeMetrics.onCall = [&](std::string_view call) {
      if (call != row.call) return;
      ++thrown;
      if (row.isException) throw std::runtime_error("no service");
      throw 7;
    };
    sleeps = 0;
    supervisor.lastReportTime = 0;
    supervisor.stopRequested = false;
    Run(1);
    EXPECT_EQ(thrown, 1);
  }
}

TEST_F(LoopTest, AReportThatWasThrownBackCountsAsSent) {
  const std::int64_t start = fakeClock.Seconds();
  std::int64_t reported = 0;
  cloud.Answer(ForManifest("latest"), Manifest({{"a", "1"}}));
  fakeShell.onCommand = [](const std::string& command) { return command != "start a 1"; };
  fakeMetrics.onCall = [](std::string_view call) {
    if (call == "put_metrics_JSON") throw std::runtime_error("no service");
  };
  onSleep = [&](int pass) {
    if (pass == 1) reported = supervisor.lastReportTime;
    if (pass == 2) fakeClock.Advance(600);
  };
  Run(3);
  EXPECT_EQ(reported, start + 1) << "the end of the second that it took";
  ASSERT_EQ(fakeMetrics.reports.size(), 2U) << "none in the second pass";
  EXPECT_THAT(fakeMetrics.reports[0], testing::HasSubstr(R"("launchFailures":"1")"));
  EXPECT_THAT(fakeMetrics.reports[1], testing::HasSubstr(R"("launchFailures":"1")"));
}

}  // namespace
