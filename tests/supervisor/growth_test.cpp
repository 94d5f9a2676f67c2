// Whether memory grows with passes.
#include <dlfcn.h>
#include <malloc.h>

#include "supervisor/processes.h"
#include "tests/kit/device.h"
#include "tests/kit/heartbeat.h"

namespace {

constexpr int passes = 20'000, processCount = 6;
constexpr int roundLength = 10;  // passes, in each of which the set is fetched and a report is due

// The even processes change their version with each fetch. The odd ones are silent: they are found
// hung, restarted and, as often, to be rolled back.
struct GrowthTest : DeviceTest {
  GrowthTest() {
    EXPECT_EQ(supervisor.InitHeartbeatSocket(), 0);
    fakeClock.onSleep = [this] { OnSleep(++pass); };
    Publish("1");
  }
  static std::string NameOf(int index) { return "process-" + std::to_string(index); }

  void Publish(const std::string& evenVersion) {
    std::vector<Listed> listed(processCount);
    for (int i = 0; i < processCount; ++i) {
      listed[static_cast<std::size_t>(i)] = {NameOf(i), i % 2 == 0 ? evenVersion : "1"};
    }
    cloud.Answer(ForManifest("latest"), Manifest(listed));
  }
  void QueueHeartbeats() {
    const std::lock_guard<std::mutex> lock(supervisor.heartbeatMutex);
    for (int i = 0; i < processCount; i += 2) {
      Heartbeat heartbeat = {fakeClock.nowMicros / 1000, 0, {}};
      (void)NameOf(i).copy(heartbeat.name, sizeof heartbeat.name);
      supervisor.heartbeatQueue.push(heartbeat);
    }
  }
  // What the fakes keep is not the product's.
  void ForgetRecords() {
    curlRecorder.calls.clear();
    curlRecorder.requests.clear();
    cloud.requests.clear();
    fakeShell.commands.clear();
    fakeMetrics.reports.clear();
  }
  void OnSleep(int passed) {
    ForgetRecords();
    QueueHeartbeats();
    if (passed % roundLength == 0) Publish(passed / roundLength % 2 == 0 ? "1" : "2");
    if (passed == passes / 2) halfTime = mallinfo2().uordblks;
    if (passed != passes) return;
    end = mallinfo2().uordblks;
    supervisor.stopRequested = true;
    Beat("the receiver");  // which waits for a heartbeat
  }

  FakeCloud cloud;
  Processes supervisor;
  int pass = 0;
  std::size_t halfTime = 0, end = 0;  // the heap in use, in bytes
};

TEST_F(GrowthTest, PassesLeaveNoMemoryBehind) {
  if (dlsym(RTLD_DEFAULT, "__sanitizer_get_heap_size") != nullptr) {
    GTEST_SKIP() << "the heap is a sanitizer's";
  }
  Processes::bootstrapIntervalSec_ = 2 * roundLength - 2;  // halved by the draw of 0
  Processes::metricsReportIntervalSec_ = roundLength - 1;
  fakeRandom.draw = 0;
  supervisor.LaunchAll();
  EXPECT_GT(halfTime, 10'000U) << "nothing was measured";
  // The allocator's own store of small blocks still fills up. The least block, lost once a round,
  // would be six times that.
  EXPECT_LT(end, halfTime + passes / 4);
}

}  // namespace
