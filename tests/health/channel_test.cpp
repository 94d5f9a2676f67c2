#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

class ChannelTest : public DeviceTest {
 protected:
  ChannelTest() {
    EXPECT_EQ(supervisor.InitHeartbeatSocket(), 0);
    address.sun_family = AF_UNIX;
    std::string("AppHeartbeat").copy(address.sun_path + 1, 12);
  }
  // Sends `bytes` to the first `length` bytes of the address: 0 or the error.
  int Send(const std::string& bytes, socklen_t length = sizeof(sockaddr_un)) {
    const auto* to = reinterpret_cast<const sockaddr*>(&address);
    return sendto(sender, bytes.data(), bytes.size(), 0, to, length) < 0 ? errno : 0;
  }

  Processes supervisor;
  sockaddr_un address = {};
  int sender = socket(AF_UNIX, SOCK_DGRAM, 0);
};

TEST_F(ChannelTest, QueuesTheFirst144BytesOfDatagramsToItsWholeAddressUntilAStop) {
  std::string first(144, '\0');
  for (std::size_t i = 0; i < first.size(); ++i) first[i] = static_cast<char>(i * 7);
  const std::string second(144, '2');
  EXPECT_EQ(Send(first.substr(0, 143)), 0);
  EXPECT_EQ(Send(first), 0);
  EXPECT_EQ(Send(first, 15), ECONNREFUSED);
  EXPECT_EQ(Send(second + "beyond"), 0);
  std::thread receiver(&Processes::ReceiveHeartbeat, &supervisor);
  std::this_thread::sleep_for(milliseconds(400));  // it waits for more by then, for a second
  const auto start = std::chrono::steady_clock::now();
  supervisor.stopRequested = true;
  receiver.join();
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_GT(took, milliseconds(100)) << "it was not waiting";
  EXPECT_LT(took, milliseconds(1400)) << "it has waited again";
  std::string queued;
  for (auto& queue = supervisor.heartbeatQueue; !queue.empty(); queue.pop()) {
    queued.append(reinterpret_cast<const char*>(&queue.front()), sizeof(Heartbeat));
  }
  EXPECT_EQ(queued, first + second);
}

TEST_F(ChannelTest, AFailureIsLoggedAndLeavesNothingOpen) {
  Processes second;
  EXPECT_EQ(second.InitHeartbeatSocket(), 1) << "the name is taken";
  const int descriptor = std::exchange(supervisor.heartbeatSocket, -1);
  (void)close(descriptor);
  rlimit limit;
  (void)getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none = {0, limit.rlim_max};
  (void)setrlimit(RLIMIT_NOFILE, &none);
  EXPECT_EQ(second.InitHeartbeatSocket(), 1);
  EXPECT_EQ(second.heartbeatSocket, -1);
  (void)setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_THAT(log.Lines(),
              ElementsAre("bind heartbeat socket failed with error: Address already in use",
                          "Failed to create heartbeat socket"));
  EXPECT_EQ(second.InitHeartbeatSocket(), 0);
  EXPECT_EQ(second.heartbeatSocket, descriptor) << "the lowest free one is where it was";
  EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0) << "not for the processes";
}

// A heartbeat of each process at full speed, while the main loop takes them in and the set shrinks.
TEST_F(ChannelTest, NothingIsLostBetweenTheThreads) {
  constexpr int total = 10'000;
  std::vector<Process>& silent = supervisor.processes;
  for (int i = 0; i < total; ++i) silent.emplace_back().name = std::to_string(i);
  std::thread receiver(&Processes::ReceiveHeartbeat, &supervisor);
  std::thread application([this] {
    for (int i = 0; i < total; ++i) {
      Heartbeat heartbeat = {1, 0, {}};
      (void)std::to_string(i).copy(heartbeat.name, sizeof heartbeat.name);
      EXPECT_EQ(Send({reinterpret_cast<const char*>(&heartbeat), sizeof heartbeat}), 0);
    }
  });
  for (bool ended = false; !ended;) {
    std::this_thread::sleep_for(milliseconds(1));  // the rest of a pass
    supervisor.ProcessHeartbeat();
    ended = silent.back().lastHeartbeatMs != 0;
    const auto heard = [](const Process& process) { return process.lastHeartbeatMs != 0; };
    silent.erase(std::remove_if(silent.begin(), silent.end(), heard), silent.end());
  }
  EXPECT_THAT(silent, testing::IsEmpty());
  supervisor.stopRequested = true;
  application.join();
  receiver.join();
}

}  // namespace
