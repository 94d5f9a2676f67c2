#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <thread>
#include <utility>

#include "entry/tolvar.h"
#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using testing::Contains;
using testing::ElementsAre;

std::size_t Entries(const char* directory) {
  const std::filesystem::directory_iterator entries(directory);
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

class LifeTest : public DeviceTest {
 protected:
  LifeTest() { fakeClock.real = true; }
};

TEST_F(LifeTest, ANewSupervisorHoldsNothing) {
  auto* supervisor = static_cast<Processes*>(create_tolvar());
  ASSERT_NE(supervisor, nullptr);
  EXPECT_EQ(supervisor->heartbeatSocket, -1);
  EXPECT_TRUE(supervisor->processes.empty());
  EXPECT_TRUE(supervisor->heartbeatQueue.empty());
  EXPECT_FALSE(supervisor->stopRequested);
  destroy_tolvar(supervisor);
}

TEST_F(LifeTest, WhatIsNoLivingSupervisorIsIgnored) {
  int other = 0;
  void* supervisor = create_tolvar();
  void* second = create_tolvar();
  destroy_tolvar(supervisor);
  for (void* pointer : {static_cast<void*>(nullptr), static_cast<void*>(&other), supervisor}) {
    launch_tolvar(pointer);
    destroy_tolvar(pointer);
  }
  destroy_tolvar(second);
  EXPECT_THAT(log.Lines(), ElementsAre());
}

TEST_F(LifeTest, WaitsForTheSocketsNameThenReadsTheConfiguration) {
  Processes holder;
  ASSERT_EQ(holder.InitHeartbeatSocket(), 0);
  fakeClock.real = false;
  fakeClock.onSleep = [&holder] {
    if (fakeClock.sleeps.size() == 3) (void)close(std::exchange(holder.heartbeatSocket, -1));
  };
  void* supervisor = create_tolvar();
  static_cast<Processes*>(supervisor)->stopRequested = true;
  launch_tolvar(supervisor);
  launch_tolvar(supervisor);  // only once
  destroy_tolvar(supervisor);
  const std::string taken = "bind heartbeat socket failed with error: Address already in use";
  EXPECT_THAT(log.Lines(),
              ElementsAre(taken, taken, taken,
                          "don't have config file /etc/config/.tolvar_config, taking default "
                          "configuration",
                          "mac address 02005e102030", "Get enr successfully"));
  EXPECT_THAT(fakeClock.sleeps, ElementsAre(1, 1, 1));
}

// While the supervisor insists on a first set, runs its loop, waits for its identity.
TEST_F(LifeTest, DestroyingStopsARunningSupervisor) {
  for (const bool cloudUp : {false, true}) {
    if (cloudUp) StartCloud().SetManifest("latest", Manifest({ProcessJson("a", "1")}));
    void* supervisor = create_tolvar();
    std::thread runner(launch_tolvar, supervisor);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    destroy_tolvar(supervisor);
    destroy_tolvar(supervisor);
    runner.join();
    EXPECT_THAT(log.Lines(), Contains(cloudUp ? "Launch process a successfully"
                                              : "Failed to get processes for version latest"));
  }
}

TEST_F(LifeTest, StopsAtAnyMomentWithoutALeftover) {
  std::size_t descriptors = 0;
  std::size_t threads = 0;
  for (unsigned round = 0; round < 60; ++round) {
    if (round == 1) {  // the first thread may have brought a sanitizer's own
      descriptors = Entries("/proc/self/fd");
      threads = Entries("/proc/self/task");
    }
    void* supervisor = create_tolvar();
    std::thread runner(launch_tolvar, supervisor);
    std::this_thread::sleep_for(std::chrono::microseconds(round * round));
    std::thread destroyer(destroy_tolvar, supervisor);
    destroy_tolvar(supervisor);
    destroyer.join();
    runner.join();
  }
  EXPECT_EQ(Entries("/proc/self/fd"), descriptors);
  EXPECT_EQ(Entries("/proc/self/task"), threads);
}

}  // namespace
