#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <numeric>
#include <thread>

#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using std::chrono::milliseconds;

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
  std::string bytes(145, '\0');
  std::iota(bytes.begin(), bytes.end(), '\1');
  EXPECT_EQ(Send(bytes.substr(0, 143)), 0);
  EXPECT_EQ(Send(bytes, 15), ECONNREFUSED);
  EXPECT_EQ(Send(bytes), 0);
  const auto start = std::chrono::steady_clock::now();
  std::thread receiver(&Processes::ReceiveHeartbeat, &supervisor);
  std::this_thread::sleep_for(milliseconds(400));  // it waits for more by then, for a second
  supervisor.stopRequested = true;
  receiver.join();
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_GT(took, milliseconds(900)) << "it was not waiting";
  EXPECT_LT(took, milliseconds(1800)) << "it has waited again";
  ASSERT_EQ(supervisor.heartbeatQueue.size(), 1U);
  EXPECT_EQ(std::memcmp(&supervisor.heartbeatQueue.front(), bytes.data(), 144), 0);
}

TEST_F(ChannelTest, AFailureIsLoggedAndLeavesNothingOpen) {
  const int descriptor = supervisor.heartbeatSocket;
  EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0) << "not for the processes";
  EXPECT_EQ(supervisor.InitHeartbeatSocket(), 1) << "the name is taken";
  EXPECT_EQ(supervisor.heartbeatSocket, -1);
  EXPECT_EQ(fcntl(descriptor + 1, F_GETFD), -1);
  rlimit limit;
  (void)getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none = {0, limit.rlim_max};
  (void)setrlimit(RLIMIT_NOFILE, &none);
  EXPECT_EQ(supervisor.InitHeartbeatSocket(), 1);
  (void)setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(log.Text(),
            "bind heartbeat socket failed with error: Address already in use\n"
            "Failed to create heartbeat socket\n");
}

// A heartbeat of each process at full speed, while the main loop takes them in.
TEST_F(ChannelTest, NothingIsLostBetweenTheThreads) {
  std::vector<Process>& all = supervisor.processes;
  for (int i = 0; i < 4'000; ++i) all.emplace_back().name = std::to_string(i);
  std::thread receiver(&Processes::ReceiveHeartbeat, &supervisor);
  std::thread application([&] {
    for (const Process& process : all) {
      Heartbeat heartbeat = {1, 0, {}};
      (void)process.name.copy(heartbeat.name, sizeof heartbeat.name);
      EXPECT_EQ(Send({reinterpret_cast<const char*>(&heartbeat), sizeof heartbeat}), 0);
    }
  });
  while (all.back().lastHeartbeatMs == 0) supervisor.ProcessHeartbeat();
  supervisor.stopRequested = true;
  application.join();
  receiver.join();
  for (const Process& process : all) EXPECT_EQ(process.lastHeartbeatMs, 1) << process.name;
}

}  // namespace
