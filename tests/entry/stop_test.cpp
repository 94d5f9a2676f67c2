// Ends of runs at arbitrary moments, from several threads at once.
#include <chrono>
#include <iterator>
#include <thread>

#include "tests/entry/life_fixture.h"

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

// What is in a run's way until it has been given up.
struct Obstacle {
  const char* what;
  const char* stalledUrl = nullptr;  // requests for which nobody answers
  bool socketIsTaken = false;
  bool isOffline = false;
};
const Obstacle obstacles[] = {
    {"nothing"},
    {"a request that stalls", "get_processes"},
    {"a download that stalls", "https://files."},
    {"the socket's name", nullptr, true},
    {"a device without network", nullptr, false, true},
};

std::size_t EntriesOf(const char* directory) {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(directory), {}));
}

void SetNetwork(const char* upOrDown) {
  EXPECT_EQ(std::system((std::string("ip link set wlan0 ") + upOrDown).c_str()), 0);
}

struct StopTest : LifeTest {
  StopTest() {
    cloud.Answer(ForManifest("latest"),
                 Manifest({{"a", "1", "start", {{"f", "/run/app/f", "1", "f"}}}}));
    cloud.Offer("f", "1", "f");
    curlRecorder.answer = [this, answer = curlRecorder.answer](const CurlRequest& request) {
      while (IsStalled(request)) std::this_thread::yield();
      return answer(request);
    };
    fakeClock.real = true;
    fakeMetrics.onCall = [this](std::string_view call) { runs += call == "init_metrics_client"; };
  }
  bool IsStalled(const CurlRequest& request) const {
    const char* url = stalledUrl;
    return url != nullptr && request.url.find(url) != std::string::npos;
  }
  // Two threads launch, two destroy, the latter after `wait`.
  void LiveAndStop(const Obstacle& obstacle, microseconds wait) {
    Processes holder;
    const bool holds = obstacle.socketIsTaken && holder.InitHeartbeatSocket() == 0;
    EXPECT_EQ(holds, obstacle.socketIsTaken);
    if (obstacle.isOffline) SetNetwork("down");
    stalledUrl = obstacle.stalledUrl;
    std::atomic<int> returned{0};
    const auto launch = [&] {
      launch_tolvar(supervisor);
      ++returned;
    };
    std::thread launcher(launch), secondLauncher(launch);
    std::this_thread::sleep_for(wait);
    std::thread destroyer(destroy_tolvar, supervisor);
    destroy_tolvar(supervisor);
    if (holds) (void)close(std::exchange(holder.heartbeatSocket, -1));
    if (obstacle.isOffline) SetNetwork("up");
    stalledUrl = nullptr;
    // The receiver waits for a heartbeat.
    for (; returned < 2; std::this_thread::sleep_for(milliseconds(1))) Beat("a");
    destroyer.join();
    secondLauncher.join();
    launcher.join();
  }

  std::atomic<const char*> stalledUrl{nullptr};
  int runs = 0;
};

// TOLVAR_STOP_ROUNDS: more of them.
TEST_F(StopTest, StopsAtAnyMomentWithoutALeftover) {
  const char* asked = std::getenv("TOLVAR_STOP_ROUNDS");
  const int rounds = asked == nullptr ? 60 : std::atoi(asked);
  std::size_t descriptors = 0, threads = 0;
  for (int round = 0; round < rounds; ++round) {
    if (round == 30) {  // by then a sanitizer or an emulator has started its own threads
      descriptors = EntriesOf("/proc/self/fd");
      threads = EntriesOf("/proc/self/task");
    }
    const Obstacle& obstacle = obstacles[static_cast<std::size_t>(round) % std::size(obstacles)];
    SCOPED_TRACE(obstacle.what);
    Remove("/run/app");
    runs = 0;
    LiveAndStop(obstacle, microseconds(round * 7919 % 6000));
    EXPECT_LE(runs, 1) << "launched twice";
    EXPECT_TRUE(SocketIsFree()) << "the object is still there";
    supervisor = Create();
  }
  EXPECT_EQ(EntriesOf("/proc/self/fd"), descriptors);
  // A joined thread may take a moment to leave the kernel's list; a leaked one never does.
  while (EntriesOf("/proc/self/task") > threads) std::this_thread::yield();
}

}  // namespace
