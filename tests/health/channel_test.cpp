#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;

class ChannelTest : public DeviceTest {
 protected:
  ChannelTest() {
    EXPECT_EQ(supervisor.InitHeartbeatSocket(), 0);
    address.sun_family = AF_UNIX;
    std::string("AppHeartbeat").copy(address.sun_path + 1, 12);
  }
  ~ChannelTest() override { (void)close(sender); }

  // Sends `bytes` to the first `length` bytes of the address: 0 or the error.
  int Send(const std::string& bytes, socklen_t length = sizeof(sockaddr_un)) {
    const auto* to = reinterpret_cast<const sockaddr*>(&address);
    return sendto(sender, bytes.data(), bytes.size(), 0, to, length) < 0 ? errno : 0;
  }
  // Runs the receiver until `count` records are queued.
  void ReceiveUntil(std::size_t count) {
    std::thread receiver(&Processes::ReceiveHeartbeat, &supervisor);
    const auto queued = [this] {
      const std::lock_guard<std::mutex> lock(supervisor.heartbeatMutex);
      return supervisor.heartbeatQueue.size();
    };
    while (queued() < count) std::this_thread::yield();
    supervisor.stopRequested = true;
    receiver.join();
    EXPECT_EQ(queued(), count);
  }

  Processes supervisor;
  sockaddr_un address = {};
  int sender = socket(AF_UNIX, SOCK_DGRAM, 0);
};

TEST_F(ChannelTest, QueuesTheFirst144BytesOfEveryDatagramThatHasThem) {
  std::string record(144, '\0');
  for (std::size_t i = 0; i < record.size(); ++i) record[i] = static_cast<char>(i * 7);
  EXPECT_EQ(Send(record.substr(0, 143)), 0);
  EXPECT_EQ(Send(""), 0);
  EXPECT_EQ(Send(record), 0);
  EXPECT_EQ(Send(record + std::string(56, 'x')), 0);
  ReceiveUntil(2);
  for (int i = 0; i < 2; ++i) {
    const Heartbeat& queued = supervisor.heartbeatQueue.front();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&queued), sizeof queued), record);
    supervisor.heartbeatQueue.pop();
  }
}

TEST_F(ChannelTest, OnlyTheWholeAddressReachesIt) {
  EXPECT_EQ(Send(std::string(144, 'x'), 15), ECONNREFUSED);
  EXPECT_EQ(Send(std::string(144, 'x')), 0);
}

TEST_F(ChannelTest, AHeldNameFailsWithAMessageAndLeavesNothingOpen) {
  Processes second;
  const int next = dup(0);
  EXPECT_EQ(second.InitHeartbeatSocket(), 1);
  EXPECT_EQ(second.heartbeatSocket, -1);
  EXPECT_EQ(dup(0), next + 1);
  EXPECT_THAT(log.Lines(),
              ElementsAre("bind heartbeat socket failed with error: Address already in use"));
}

TEST_F(ChannelTest, TheSocketIsNotForSupervisedProcesses) {
  fakeShell.passThrough = true;
  const std::string link = "/proc/self/fd/" + std::to_string(supervisor.heartbeatSocket);
  EXPECT_NE(std::system(("test -e " + link).c_str()), 0);
}

TEST_F(ChannelTest, WithoutTrafficAStopIsNoticedWithinASecond) {
  const auto start = std::chrono::steady_clock::now();
  std::thread receiver(&Processes::ReceiveHeartbeat, &supervisor);
  supervisor.stopRequested = true;
  receiver.join();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
}

// Heartbeats flow while the main loop drains and the set changes.
TEST_F(ChannelTest, NothingIsLostBetweenTheThreads) {
  constexpr int total = 10'000;
  std::thread receiver(&Processes::ReceiveHeartbeat, &supervisor);
  std::thread application([this] {
    Heartbeat heartbeat = {};
    heartbeat.name[0] = 'a';
    for (heartbeat.timestampMs = 1; heartbeat.timestampMs <= total; ++heartbeat.timestampMs) {
      EXPECT_EQ(Send(std::string(reinterpret_cast<const char*>(&heartbeat), sizeof heartbeat)), 0);
    }
  });
  std::int64_t newest = 0;
  while (newest < total) {
    supervisor.processes.assign(1 + static_cast<std::size_t>(newest % 3), Process());
    supervisor.processes.back().name = "a";
    supervisor.ProcessHeartbeat();
    const std::int64_t drained = supervisor.processes.back().lastHeartbeatMs;
    if (drained != 0) {
      ASSERT_GE(drained, newest);
      newest = drained;
    }
  }
  application.join();
  supervisor.stopRequested = true;
  receiver.join();
}

}  // namespace
