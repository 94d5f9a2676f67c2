#include "health/heartbeat_channel.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>

#include <chrono>
#include <cstring>
#include <numeric>
#include <thread>

#include "tests/kit/device.h"

namespace {
bool receiveTimeIsRefused = false;
}

// In place of the C library's: asks the kernel, but for what a test refuses.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int setsockopt(int socket, int level, int option, const void* value,
                          socklen_t size) noexcept {
  if (receiveTimeIsRefused && option == SO_RCVTIMEO) return -1;
  // On 32 bits the C library translates the option for kernels that do not know the 64-bit one.
  static const auto translating =
      reinterpret_cast<decltype(&setsockopt)>(dlsym(RTLD_NEXT, "__setsockopt64"));
  if (sizeof(void*) == 4) return translating(socket, level, option, value, size);
  return static_cast<int>(syscall(SYS_setsockopt, socket, level, option, value, size));
}

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;

std::ptrdiff_t OpenDescriptors() {
  using Iterator = std::filesystem::directory_iterator;
  return std::distance(Iterator("/proc/self/fd"), Iterator());
}

class HeartbeatChannelTest : public DeviceTest {
 protected:
  HeartbeatChannelTest() {
    EXPECT_EQ(OpenHeartbeatSocket(descriptor), 0);
    const sockaddr_un address = {AF_UNIX, "\0AppHeartbeat"};
    EXPECT_EQ(connect(sender, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  ~HeartbeatChannelTest() override {
    if (descriptor >= 0) (void)close(descriptor);
    (void)close(sender);
  }
  std::size_t Queued() {
    const std::lock_guard<std::mutex> lock(mutex);
    return queue.size();
  }
  std::thread StartReceiver() {
    return std::thread([this] { ReceiveHeartbeats(descriptor, queue, mutex, stopRequested); });
  }

  int descriptor = -1;
  const int sender = socket(AF_UNIX, SOCK_DGRAM, 0);
  HeartbeatQueue queue;
  std::mutex mutex;
  std::atomic<bool> stopRequested{false};
};

TEST_F(HeartbeatChannelTest, ADatagramCountsFromARecordsLengthOnAndIsCutToIt) {
  std::string bytes(145, '\0');
  std::iota(bytes.begin(), bytes.end(), '\1');
  EXPECT_EQ(send(sender, bytes.data(), 0, 0), 0);
  EXPECT_EQ(send(sender, bytes.data(), 143, 0), 143);
  EXPECT_EQ(send(sender, bytes.data(), 145, 0), 145);
  EXPECT_EQ(send(sender, bytes.data() + 1, 144, 0), 144);
  std::thread receiver = StartReceiver();
  while (Queued() < 2) std::this_thread::yield();
  stopRequested = true;
  receiver.join();
  ASSERT_EQ(queue.size(), 2U);
  EXPECT_EQ(std::memcmp(&queue.front(), bytes.data(), 144), 0) << "the older one comes first";
  EXPECT_EQ(std::memcmp(&queue.back(), bytes.data() + 1, 144), 0);
}

TEST_F(HeartbeatChannelTest, AStopEndsTheWaitForADatagramWithinASecond) {
  const auto start = steady_clock::now();
  std::thread receiver = StartReceiver();
  std::this_thread::sleep_for(milliseconds(400));  // it waits by then
  stopRequested = true;
  receiver.join();
  const auto took = steady_clock::now() - start;
  EXPECT_GT(took, milliseconds(900)) << "it was not waiting";
  EXPECT_LT(took, milliseconds(1800)) << "it has waited again";
}

TEST_F(HeartbeatChannelTest, StartedProcessesDoNotInheritTheSocket) {
  EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
}

TEST_F(HeartbeatChannelTest, AHostThatHasClosedItsStandardInputIsServedToo) {
  (void)close(std::exchange(descriptor, -1));
  EXPECT_EQ(close(STDIN_FILENO), 0);
  EXPECT_EQ(OpenHeartbeatSocket(descriptor), 0);
  EXPECT_EQ(descriptor, STDIN_FILENO);
}

TEST_F(HeartbeatChannelTest, AFailureIsLoggedAndLeavesNoDescriptor) {
  const std::ptrdiff_t before = OpenDescriptors();
  int second = 99;
  EXPECT_EQ(OpenHeartbeatSocket(second), 1) << "the name is taken";
  EXPECT_EQ(second, -1);
  EXPECT_THAT(log.Lines(),
              ElementsAre("bind heartbeat socket failed with error: Address already in use"));

  (void)close(std::exchange(descriptor, -1));
  receiveTimeIsRefused = true;
  EXPECT_EQ(OpenHeartbeatSocket(second = 99), 1) << "it would wait for good";
  receiveTimeIsRefused = false;
  EXPECT_EQ(second, -1);
  EXPECT_THAT(log.Lines(), ElementsAre("Failed to setsockopt SO_RCVTIMEO"));
  EXPECT_EQ(OpenDescriptors(), before - 1) << "but for the one that was closed here";

  rlimit limit = {};
  EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none = {0, limit.rlim_max};
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_EQ(OpenHeartbeatSocket(second = 99), 1) << "no descriptor is to be had";
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_EQ(second, -1);
  EXPECT_THAT(log.Lines(), ElementsAre("Failed to create heartbeat socket"));
}

}  // namespace
