#include <new>
#include <thread>

#include "tests/entry/life_fixture.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

const std::string tokenPath = "/etc/config/.user_config";

// The socket's name is taken and the identity missing at first; memory runs out as the first of two
// processes is launched; later that one hangs.
struct WholeLifeTest : LifeTest {
  WholeLifeTest() {
    traceCalls = true;
    EXPECT_EQ(holder.InitHeartbeatSocket(), 0);
    Remove(tokenPath);
    cloud.Answer(ForManifest("latest"), Manifest({{"a", "1"}, {"b", "1"}}));
    fakeShell.onCommand = [this](const std::string& command) { return Run(command); };
    fakeClock.onSleep = [this] { OnSleep(++sleeps); };
  }
  // The first launch of the first process meets no memory.
  bool Run(const std::string& command) {
    if (command == "start a 1" && ++launchesOfA == 1) throw std::bad_alloc();
    return true;
  }
  void OnSleep(int sleep) {
    if (sleep == 2) (void)close(std::exchange(holder.heartbeatSocket, -1));
    if (sleep == 3) WriteText(tokenPath, "r_encr=token");
    if (sleep == 5) HearOnlyBUntilTheNextFetch();
    if (sleep == 6) Destroy();
  }
  void HearOnlyBUntilTheNextFetch() {
    Beat("b");
    fakeClock.Advance(21490);
    for (bool queued = false; !queued; std::this_thread::yield()) {
      const std::lock_guard<std::mutex> lock(supervisor->heartbeatMutex);
      queued = !supervisor->heartbeatQueue.empty();
    }
  }

  Processes holder;  // of the socket's name
  int sleeps = 0, launchesOfA = 0;
};

TEST_F(WholeLifeTest, LineByLine) {
  launch_tolvar(supervisor);
  const std::string taken = "bind heartbeat socket failed with error: Address already in use";
  const std::string mac = "mac address 02005e102030";
  const std::string request = "Get processes from domain https://cloud.test:8443, status 0";
  const std::string got2 = "Got 2 processes from cloud";
  const auto put = StartsWith("put_metrics_JSON 1 255 tolvarProcessList ");
  EXPECT_THAT(
      log.Lines(),
      testing::ElementsAre(
          taken, "sleep 1", taken, "sleep 1", StartsWith("don't have config file"),
          "init_metrics_client", mac, "Init HttpRequest Instance failed", "sleep 5", mac,
          "Get enr successfully", request, got2, "Get latest version processes succeeded", "srand",
          "rand",
          // Without memory for one process the next has its turn, and the report.
          "$ pkill -9 a", "$ start a 1", "$ pkill -9 b", "$ start b 1", "Launched process b",
          "Launch process b successfully", put,
          HasSubstr(R"("name":"a","version":"1","state":"stopped")"), "sleep 1",
          // In the second pass there is memory.
          "$ pkill -9 a", "$ start a 1", "Launched process a", "Launch process a successfully",
          "sleep 1",
          // In the third a fetch and a report are due, and only one process was heard.
          request, got2, "Process a failed to report heartbeat, heartbeatMissing 1", "$ pkill -9 a",
          "$ pkill -9 a", "$ start a 1", "Launched process a", "Launch process a successfully", put,
          HasSubstr(R"("heartbeatMissing":"1")"), "sleep 1", "deinit_metrics_client"));
  EXPECT_TRUE(SocketIsFree()) << "the object and its socket are gone";
}

}  // namespace
