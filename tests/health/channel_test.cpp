#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

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
    const sockaddr_un address = {AF_UNIX, "\0AppHeartbeat"};
    EXPECT_EQ(connect(sender, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  Processes supervisor;
  const int sender = socket(AF_UNIX, SOCK_DGRAM, 0);
};

TEST_F(ChannelTest, QueuesTheFirst144BytesOfDatagramsUntilAStop) {
  std::string bytes(145, '\0');
  std::iota(bytes.begin(), bytes.end(), '\1');
  EXPECT_EQ(send(sender, bytes.data(), 143, 0), 143);
  EXPECT_EQ(send(sender, bytes.data(), 145, 0), 145);
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

TEST_F(ChannelTest, AFailureIsLoggedAndLeavesNoDescriptor) {
  EXPECT_EQ(fcntl(supervisor.heartbeatSocket, F_GETFD), FD_CLOEXEC) << "not for the processes";
  EXPECT_EQ(supervisor.InitHeartbeatSocket(), 1) << "the name is taken";
  EXPECT_EQ(supervisor.heartbeatSocket, -1);
  rlimit limit;
  (void)getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none = {0, limit.rlim_max};
  (void)setrlimit(RLIMIT_NOFILE, &none);
  EXPECT_EQ(supervisor.InitHeartbeatSocket(), 1);
  (void)setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_THAT(log.Text(), testing::EndsWith("\nFailed to create heartbeat socket\n"));
}

}  // namespace
