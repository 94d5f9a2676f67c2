#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

int nextRandom = 0;

}  // namespace

// In place of the C library's, for the one draw of a launch.
extern "C" int rand() noexcept { return nextRandom; }

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class LoopTest : public DeviceTest {
 protected:
  LoopTest() {
    StartCloud().SetManifest("latest", Manifest({}));
    EXPECT_EQ(supervisor.InitHeartbeatSocket(), 0);
  }

  // Runs the loop for one pass per number and sets the clock to that many seconds after the last
  // fetch (and a fraction) before the pass. Returns the manifest requests made in each pass.
  std::vector<std::size_t> RequestsWithElapsed(const std::vector<std::int64_t>& seconds) {
    std::vector<std::size_t> requests;
    const auto prepare = [&] {
      fakeClock.nowMicros = (supervisor.lastBootstrapTime + seconds[requests.size()]) * 1'000'000;
    };
    fakeClock.onSleep = [&] {
      const std::size_t asked = cloud->Asked().size();
      if (fakeClock.sleeps.size() > 1) requests.push_back(asked);  // the first is the bootstrap's
      supervisor.stopRequested = requests.size() == seconds.size();
      if (!supervisor.stopRequested) prepare();
    };
    supervisor.LaunchAll();
    return requests;
  }

  Processes supervisor;
};

TEST_F(LoopTest, TheIntervalIsRescaledInSinglePrecision) {
  const struct {
    std::uint32_t interval;
    int random;
    std::uint32_t expected;
  } cases[] = {{21600, 0, 10800},
               {21600, 99, 21492},
               {21600, 5, 11339},
               {21600, 13, 12204},
               {21600, 32, 14255},
               {21600, 1200, 10800},
               {0, 50, 0},
               {1, 99, 0},
               {4294967295, 0, 2147483648},
               {4294967295, 99, 4273492480},
               {4294967295, 50, 3221225472}};
  for (const auto& [interval, random, expected] : cases) {
    EXPECT_EQ(RescaledInterval(interval, random), expected) << interval << " " << random;
  }
}

TEST_F(LoopTest, StartsInOrderAndWaitsForTheIdentity) {
  const std::string token = ReadText("/etc/config/.user_config");
  Remove("/etc/config/.user_config");
  nextRandom = 99;
  fakeClock.onSleep = [&] {
    if (fakeClock.sleeps.size() == 2) WriteText("/etc/config/.user_config", token);
    supervisor.stopRequested = fakeClock.sleeps.size() == 4;
  };
  supervisor.LaunchAll();
  EXPECT_THAT(log.Lines(),
              ElementsAre("mac address 02005e102030", "Init HttpRequest Instance failed",
                          "mac address 02005e102030", "Init HttpRequest Instance failed",
                          "mac address 02005e102030", "Get enr successfully",
                          "Get processes from domain https://cloud.test:8443, status 0",
                          "Got 0 processes from cloud", "Get latest version processes succeeded",
                          R"({"processes":[]})"));
  EXPECT_THAT(fakeClock.sleeps, ElementsAre(5, 5, 1, 1));
  EXPECT_EQ(Processes::bootstrapIntervalSec_, 21492U);
}

TEST_F(LoopTest, FetchesOnlyWhenMoreThanTheIntervalHasPassed) {
  EXPECT_THAT(RequestsWithElapsed({10800, 10801, 10800, -3600, 10801}), ElementsAre(0, 1, 0, 0, 1));
}

TEST_F(LoopTest, TheWidestIntervalIsNotNegative) {
  Processes::bootstrapIntervalSec_ = 4294967295U;
  EXPECT_THAT(RequestsWithElapsed({0, 1'000'000'000}), Each(0U));
}

TEST_F(LoopTest, AFailedFetchWaitsAWholeIntervalToo) {
  fakeClock.onSleep = [&] {
    const std::size_t pass = fakeClock.sleeps.size();
    cloud->SetManifest("latest", "broken");
    if (pass == 1) fakeClock.Advance(10800);
    supervisor.stopRequested = pass == 4;
  };
  supervisor.LaunchAll();
  EXPECT_EQ(cloud->Asked().size(), 2U);
  EXPECT_THAT(log.Lines(), Contains("Get latest processes failed").Times(1));
}

TEST_F(LoopTest, AStopBeforeTheLoopSkipsIt) {
  supervisor.stopRequested = true;
  supervisor.LaunchAll();
  EXPECT_THAT(fakeClock.sleeps, IsEmpty());
  EXPECT_THAT(cloud->Asked(), IsEmpty());
  EXPECT_NE(supervisor.lastBootstrapTime, 0);
  EXPECT_EQ(Processes::bootstrapIntervalSec_, 10800U);
}

// A whole life: a hung process is found, killed and relaunched within one pass.
TEST_F(LoopTest, APassFindsAHungProcessAndRestartsIt) {
  cloud->SetManifest("latest", Manifest({ProcessJson("a", "1")}));
  fakeClock.onSleep = [&] {
    if (fakeClock.sleeps.size() == 1) fakeClock.Advance(60);
    supervisor.stopRequested = fakeClock.sleeps.size() == 3;
  };
  supervisor.LaunchAll();
  EXPECT_THAT(fakeShell.commands,
              ElementsAre("pkill -9 a", "start a 1", "pkill -9 a", "pkill -9 a", "start a 1"));
  EXPECT_THAT(log.Lines(),
              Contains("Process a failed to report heartbeat, heartbeatMissing 1").Times(1));
}

}  // namespace
