#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "supervisor/processes.h"
#include "tests/client/watched_client.h"
#include "tests/kit/device.h"

namespace {

constexpr std::time_t in2038 = 0x7fffffff;

// The errno of a call that says that it failed; else what it answered.
int ErrorOf(int result) { return result == -1 ? errno : result; }

bool IsOpen(int descriptor) { return fcntl(descriptor, F_GETFD) != -1; }

// While one lives, the process can open only descriptors below `count`.
class DescriptorLimit {
 public:
  explicit DescriptorLimit(int count) {
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
    const rlimit limit = {static_cast<rlim_t>(count), before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;
  ~DescriptorLimit() { EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before_), 0); }

 private:
  rlimit before_ = {};
};

// The number that the next descriptor gets.
int NextDescriptor() {
  const int descriptor = dup(STDOUT_FILENO);
  (void)close(descriptor);
  return descriptor;
}

std::int64_t NowMillis() {
  timespec time = {};
  (void)clock_gettime(CLOCK_REALTIME, &time);
  return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

class HeartbeatTest : public DeviceTest {
 protected:
  HeartbeatTest() {
    watchedClock = {};
    (void)alarm(20);  // a call that waits ends the test
    EXPECT_EQ(tolvar_heartbeat_open(&heartbeat), 0);
  }
  [[nodiscard]] int Send(const char* name = "a", std::int32_t status = 0) const {
    return ErrorOf(tolvar_heartbeat_send(&heartbeat, name, status));
  }
  [[nodiscard]] int ClockFd() const { return tolvar_heartbeat_clock_fd(&heartbeat); }
  [[nodiscard]] int SocketFd() const { return heartbeat.socketPlusOne - 1; }
  [[nodiscard]] int ClockStepped() { return ErrorOf(tolvar_heartbeat_clock_stepped(&heartbeat)); }

  tolvar_heartbeat heartbeat = TOLVAR_HEARTBEAT_INIT;
};

// A supervisor that has started and reads nothing by itself.
struct Supervisor : Processes {
  Supervisor() { EXPECT_EQ(InitHeartbeatSocket(), 0); }
  // The next datagram; "" when there is none.
  [[nodiscard]] std::string Receive() const {
    std::string bytes(1000, '?');
    const ssize_t size = recv(heartbeatSocket, bytes.data(), bytes.size(), MSG_DONTWAIT);
    bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return bytes;
  }
};

TEST_F(HeartbeatTest, ArrivesAsTheRecordByteForByte) {
  struct {
    const char* description;
    std::string name;
    std::int32_t status;
    std::int32_t statusReceived;
  } const rows[] = {
      {"an idle process", "a", TOLVAR_STATUS_OK, 0},
      {"a busy process", "a", TOLVAR_STATUS_BUSY, 2},
      {"a status of its own", "a", -7, -7},
      {"the longest name", std::string(131, 'n'), TOLVAR_STATUS_OK, 0},
  };
  const Supervisor supervisor;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.description);
    const std::int64_t before = NowMillis();
    EXPECT_EQ(Send(row.name.c_str(), row.status), 0);
    const std::int64_t after = NowMillis();
    const std::string bytes = supervisor.Receive();
    ASSERT_EQ(bytes.size(), 144U);
    std::int64_t timestampMs = 0;
    std::int32_t status = 0;
    std::memcpy(&timestampMs, bytes.data(), sizeof timestampMs);
    std::memcpy(&status, bytes.data() + 8, sizeof status);
    EXPECT_GE(timestampMs, before);
    EXPECT_LE(timestampMs, after);
    EXPECT_EQ(status, row.statusReceived);
    EXPECT_EQ(bytes.substr(12), row.name + std::string(132 - row.name.size(), '\0'));
  }
}

TEST_F(HeartbeatTest, ABadNameIsRefusedAndSendsNothing) {
  const std::string tooLong(132, 'n');
  struct {
    const char* description;
    const char* name;
  } const rows[] = {
      {"null", nullptr},
      {"empty", ""},
      {"132 bytes", tooLong.c_str()},
  };
  const Supervisor supervisor;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.description);
    EXPECT_EQ(Send(row.name), EINVAL);
    EXPECT_EQ(supervisor.Receive(), "");
  }
}

TEST_F(HeartbeatTest, AMissingSupervisorIsReportedAndARestartedOneIsReached) {
  for (const char* round : {"first supervisor", "restarted supervisor"}) {
    SCOPED_TRACE(round);
    EXPECT_EQ(Send(), ECONNREFUSED);
    const Supervisor supervisor;
    EXPECT_EQ(Send(), 0);
  }
}

TEST_F(HeartbeatTest, AFullBufferIsReportedWithoutWaiting) {
  const Supervisor supervisor;
  EXPECT_EQ(fcntl(SocketFd(), F_SETFL, 0), 0) << "not even when the socket itself would wait";
  int sent = 0;
  while (Send() == 0) ++sent;
  EXPECT_GT(sent, 0);
  EXPECT_EQ(Send(), EAGAIN);
  EXPECT_EQ(supervisor.Receive().size(), 144U);
  EXPECT_EQ(Send(), 0) << "there is room again";
}

TEST_F(HeartbeatTest, TheDescriptorsDoNotReachOtherPrograms) {
  EXPECT_EQ(fcntl(SocketFd(), F_GETFD), FD_CLOEXEC);
  EXPECT_EQ(fcntl(ClockFd(), F_GETFD), FD_CLOEXEC);
}

TEST_F(HeartbeatTest, ClosingReleasesBothDescriptorsOnce) {
  const int socketFd = SocketFd();
  const int clockFd = ClockFd();
  tolvar_heartbeat_close(&heartbeat);
  EXPECT_FALSE(IsOpen(socketFd));
  EXPECT_FALSE(IsOpen(clockFd));
  EXPECT_EQ(dup2(STDOUT_FILENO, socketFd), socketFd) << "somebody else has the numbers now";
  EXPECT_EQ(dup2(STDOUT_FILENO, clockFd), clockFd);
  tolvar_heartbeat_close(&heartbeat);
  EXPECT_TRUE(IsOpen(socketFd));
  EXPECT_TRUE(IsOpen(clockFd));
}

TEST_F(HeartbeatTest, AClosedOneRefusesEverythingAndTouchesNoDescriptor) {
  tolvar_heartbeat closed = heartbeat;
  tolvar_heartbeat_close(&closed);
  tolvar_heartbeat zeroed;
  std::memset(&zeroed, 0, sizeof zeroed);
  struct {
    const char* description;
    tolvar_heartbeat value;
  } const rows[] = {
      {"closed", closed},
      {"zeroed", zeroed},
      {"initialised", TOLVAR_HEARTBEAT_INIT},
  };
  ASSERT_TRUE(IsOpen(STDIN_FILENO)) << "or its closing could not be seen";
  for (const auto& row : rows) {
    SCOPED_TRACE(row.description);
    heartbeat = row.value;
    errno = 0;
    EXPECT_EQ(Send(), EBADF);
    errno = 0;
    EXPECT_EQ(ErrorOf(ClockFd()), EBADF);
    errno = 0;
    EXPECT_EQ(ClockStepped(), EBADF);
    tolvar_heartbeat_close(&heartbeat);
    EXPECT_TRUE(IsOpen(STDIN_FILENO));
  }
}

TEST_F(HeartbeatTest, WithoutADescriptorOpeningFailsAndLeavesItClosed) {
  tolvar_heartbeat other = heartbeat;
  {  // no longer than that: the sanitizers need descriptors, too
    const DescriptorLimit none(NextDescriptor());
    EXPECT_EQ(ErrorOf(tolvar_heartbeat_open(&other)), EMFILE);
  }
  heartbeat = other;
  EXPECT_EQ(Send(), EBADF);
  EXPECT_EQ(ErrorOf(ClockFd()), EBADF);
}

TEST_F(HeartbeatTest, WithoutAClockToWatchHeartbeatsAreSentAllTheSame) {
  const Supervisor supervisor;
  tolvar_heartbeat_close(&heartbeat);
  {
    const DescriptorLimit one(NextDescriptor() + 1);
    EXPECT_EQ(tolvar_heartbeat_open(&heartbeat), 0);
  }
  EXPECT_EQ(ErrorOf(ClockFd()), EBADF);
  EXPECT_EQ(ClockStepped(), EBADF);
  EXPECT_EQ(Send(), 0);
}

TEST_F(HeartbeatTest, AKernelThatCannotWatchLeavesNoDescriptorBehind) {
  tolvar_heartbeat_close(&heartbeat);
  watchedClock.refusals = 2;
  const int first = NextDescriptor();
  EXPECT_EQ(tolvar_heartbeat_open(&heartbeat), 0);
  EXPECT_EQ(SocketFd(), first);
  EXPECT_EQ(ErrorOf(ClockFd()), EBADF);
  EXPECT_FALSE(IsOpen(first + 1));
}

TEST_F(HeartbeatTest, AKernelOf32BitSecondsWatchesUntil2038) {
  tolvar_heartbeat_close(&heartbeat);
  watchedClock = {false, 1, EINVAL, {}};
  EXPECT_EQ(tolvar_heartbeat_open(&heartbeat), 0);
  EXPECT_TRUE(IsOpen(ClockFd()));
  EXPECT_EQ(watchedClock.expiries.back(), in2038);
}

TEST_F(HeartbeatTest, TheKernelWatchesTheWallClockUntil2106) {
  const std::string timer = ReadText("/proc/self/fdinfo/" + std::to_string(ClockFd()));
  EXPECT_THAT(timer, testing::HasSubstr("clockid: 0\n")) << "not CLOCK_REALTIME";
  EXPECT_THAT(timer, testing::HasSubstr("settime flags: 03\n")) << "absolute, cancelled by a step";
  EXPECT_THAT(watchedClock.expiries, testing::ElementsAre(2 * in2038));
}

TEST_F(HeartbeatTest, AnUntouchedClockIsSilent) {
  pollfd clock = {ClockFd(), POLLIN, 0};
  EXPECT_EQ(poll(&clock, 1, 0), 0);
  EXPECT_EQ(ClockStepped(), 0);
  EXPECT_EQ(ClockStepped(), 0);
}

TEST_F(HeartbeatTest, AClockStepIsToldOnceAndTheWatchGoesOn) {
  watchedClock.expiries.clear();
  for (const char* step : {"first step", "second step"}) {
    SCOPED_TRACE(step);
    watchedClock.stepped = true;
    EXPECT_EQ(ClockStepped(), 1);
    EXPECT_EQ(ClockStepped(), 0);
  }
  EXPECT_EQ(watchedClock.expiries.size(), 2U) << "armed again after each";
}

TEST_F(HeartbeatTest, AStepWhileTheWatchIsArmedLeavesItArmed) {
  watchedClock = {true, 1, ECANCELED, {}};
  EXPECT_EQ(ClockStepped(), 1);
  EXPECT_EQ(watchedClock.expiries.size(), 1U);
}

TEST_F(HeartbeatTest, AWatchThatCannotBeArmedAgainIsAFailure) {
  watchedClock = {true, 2, EINVAL, {}};
  EXPECT_EQ(ClockStepped(), EINVAL);
}

}  // namespace
