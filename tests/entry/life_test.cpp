#include <unistd.h>

#include <new>
#include <thread>

#include "client/tolvar_heartbeat.h"
#include "entry/tolvar.h"
#include "platform/json.h"
#include "supervisor/processes.h"
#include "tests/fakes/scarcity.h"
#include "tests/kit/device.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

const std::string tokenPath = "/etc/config/.user_config";
const std::string live = "/run/app/engine", slot = "/run/app/engine.predownload";

std::ptrdiff_t Entries(const char* directory) {
  using Iterator = std::filesystem::directory_iterator;
  return std::distance(Iterator(directory), Iterator());
}

// A heartbeat as an application sends it: its time stamp is the real time, far in the fake clock's
// future. Ends the receiver's wait.
void Beat(const char* name) {
  tolvar_heartbeat heartbeat = TOLVAR_HEARTBEAT_INIT;
  EXPECT_EQ(tolvar_heartbeat_open(&heartbeat), 0);
  (void)tolvar_heartbeat_send(&heartbeat, name, 0);
  tolvar_heartbeat_close(&heartbeat);
}

struct LifeTest : DeviceTest {
  void Release(const std::string& version) {
    cloud.Set("latest ", Manifest("a " + version + " " + live));
    cloud.SetFile("f", version, version);
  }
  // Twice, like what is none, and launched again: only the first destruction counts.
  void Destroy() {
    for (void* given : std::initializer_list<void*>{supervisor, supervisor, nullptr, this}) {
      destroy_tolvar(given);
      launch_tolvar(given);
    }
  }
  void ExpectNothingLeft() {
    EXPECT_EQ(Processes().InitHeartbeatSocket(), 0) << "the object and its socket are gone";
    Destroy();  // harmless
  }

  FakeCloud cloud;
  Processes* supervisor = static_cast<Processes*>(create_tolvar());
};

// The socket's name is taken and the identity missing at first; memory runs out as the first of two
// processes is launched; later that one hangs.
TEST_F(LifeTest, ALifeLineByLine) {
  traceCalls = true;
  Processes holder;
  ASSERT_EQ(holder.InitHeartbeatSocket(), 0);
  Remove(tokenPath);
  cloud.Set("latest ", Manifest("a 1,b 1"));
  fakeShell.onCommand = [missing = true](const std::string& command) mutable {
    if (command == "start a 1" && std::exchange(missing, false)) throw std::bad_alloc();
    return true;
  };
  const auto queued = [this] {
    const std::lock_guard<std::mutex> lock(supervisor->heartbeatMutex);
    return !supervisor->heartbeatQueue.empty();
  };
  const std::function<void()> sleeps[] = {
      [] {},
      [&] { (void)close(std::exchange(holder.heartbeatSocket, -1)); },
      [&] { WriteText(tokenPath, "r_encr=token"); },
      [] {},
      [&] {
        for (Beat("b"), fakeClock.Advance(21490); !queued();) std::this_thread::yield();
      },
      [&] { Destroy(); }};
  fakeClock.onSleep = [next = sleeps]() mutable { (*next++)(); };
  launch_tolvar(supervisor);
  const std::string taken = "bind heartbeat socket failed with error: Address already in use";
  const std::string mac = "mac address 02005e102030";
  const std::string request = "Get processes from domain https://cloud.test:8443, status 0";
  const std::string got2 = "Got 2 processes from cloud";
  const auto put = StartsWith("put_metrics_JSON ");
  EXPECT_THAT(
      log.Lines(),
      testing::ElementsAre(
          taken, "sleep 1", taken, "sleep 1", StartsWith("don't have config file"),
          "init_metrics_client", mac, "Init HttpRequest Instance failed", "sleep 5", mac,
          "Get enr successfully", request, got2, "Get latest version processes succeeded",
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
  EXPECT_EQ(Processes::bootstrapIntervalSec_, 21492U) << "rescaled";
  ExpectNothingLeft();
}

// Something else is in its way each round, until it has been given up. TOLVAR_STOP_ROUNDS: more.
TEST_F(LifeTest, StopsAtAnyMomentWithoutALeftover) {
  const char* asked = std::getenv("TOLVAR_STOP_ROUNDS");
  const unsigned rounds = asked == nullptr ? 60 : static_cast<unsigned>(std::atoi(asked));
  const char* const obstacles[] = {"none", "get_processes", "https://files.", "socket", "wlan0"};
  std::atomic<const char*> obstacle{nullptr};
  Release("1");
  curlRecorder.answer = [&, answer = curlRecorder.answer](const CurlRequest& request) {
    while (request.url.find(obstacle) < request.url.size()) std::this_thread::yield();
    return answer(request);
  };
  fakeClock.real = true;
  std::ptrdiff_t descriptors = 0, threads = 0;
  for (unsigned round = 0; round < rounds; ++round) {
    if (round == 30) {  // by then a sanitizer or an emulator has started its own threads
      descriptors = Entries("/proc/self/fd");
      threads = Entries("/proc/self/task");
    }
    Remove("/run/app");
    obstacle = obstacles[round % std::size(obstacles)];
    auto holder = std::make_unique<Processes>();
    const bool taken = obstacle == obstacles[3], offline = obstacle == obstacles[4];
    EXPECT_EQ(taken ? holder->InitHeartbeatSocket() : 0, 0);
    EXPECT_EQ(offline ? std::system("ip link set wlan0 down") : 0, 0);
    std::atomic<bool> ended{false};
    std::thread runner([&] { launch_tolvar(supervisor), ended = true; });
    std::this_thread::sleep_for(std::chrono::microseconds(round * 7919 % 6000));
    std::thread destroyer(destroy_tolvar, supervisor);
    destroy_tolvar(supervisor);
    holder.reset();
    EXPECT_EQ(offline ? std::system("ip link set wlan0 up") : 0, 0);
    obstacle = obstacles[0];
    for (; !ended; std::this_thread::sleep_for(std::chrono::milliseconds(1))) Beat("a");
    destroyer.join();
    runner.join();
    supervisor = static_cast<Processes*>(create_tolvar());
  }
  EXPECT_EQ(Entries("/proc/self/fd"), descriptors);
  // A joined thread may take a moment to leave the kernel's list; a leaked one never does.
  while (Entries("/proc/self/task") > threads) std::this_thread::yield();
}

// Lives from one version to the next, in which allocations fail or no thread is to be had.
struct ScarcityTest : LifeTest {
  ScarcityTest() {
    destroy_tolvar(supervisor);
    Spared::now = true;
    cJSON_Hooks hooks = {Allocate, std::free};
    cJSON_InitHooks(&hooks);
    WriteText("/etc/config/.tolvar_config", "bootstrap_interval=0\n");
    Remove("/media/mmc");
    fakeShell.onCommand = [](const std::string& command) {
      if (command.substr(0, 2) == "cp") WriteText(live, ReadText(slot));
      return true;
    };
    fakeClock.onSleep = [this] { Step(); };
  }
  // Brings the second version once the first runs, and the end once that does or seems not to.
  void Step() {
    const std::vector<Process>& all = supervisor->processes;
    const bool runs = all.size() == 1 && all[0].state == Process::State::Running;
    if (runs && all[0].version == "1") Release("2");
    if (++sleeps > 100 || (runs && all[0].version == "2")) destroy_tolvar(supervisor);
    Beat("a");
  }
  void Live() {
    Remove("/run/app");
    Release("1");
    Processes::bootstrapIntervalSec_ = 21600;  // the configuration says 0
    sleeps = 0;
    Spared::now = false;
    do supervisor = static_cast<Processes*>(create_tolvar());
    while (supervisor == nullptr);
    launch_tolvar(supervisor);
    Spared::now = true;
    EXPECT_EQ(ReadText(live), "2");
    ExpectNothingLeft();
  }
  int sleeps = 0;
};

TEST_F(ScarcityTest, AnyAllocationsMayFail) {
  Live();
  scarcity.toComeFirst = 0;
  Live();
  const long all = -scarcity.toComeFirst;
  EXPECT_GT(all, 200);
  for (const int inARow : {1, 2, 50}) {
    for (long before = 0; before < all && !HasFailure(); ++before) {
      SCOPED_TRACE(before);
      scarcity.toComeFirst = before;
      scarcity.toFail = inARow;
      Live();
      EXPECT_LT(scarcity.toFail, inARow);
    }
  }
}

TEST_F(ScarcityTest, AThreadIsWaitedFor) {
  scarcity.threadsToRefuse = 3;
  Live();
  EXPECT_EQ(scarcity.threadsToRefuse, -1) << "refused three, then gave the receiver's";
}

}  // namespace
