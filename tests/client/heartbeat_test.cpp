#include <fcntl.h>
#include <poll.h>

#include <chrono>

#include "client/tolvar_heartbeat.h"
#include "supervisor/processes.h"
#include "tests/kit/device.h"

extern "C" int SendFromC99(const char* name, std::int32_t status);

namespace {

class HeartbeatTest : public DeviceTest {
 protected:
  HeartbeatTest() { EXPECT_EQ(tolvar_heartbeat_open(&heartbeat), 0); }
  ~HeartbeatTest() override { tolvar_heartbeat_close(&heartbeat); }

  // The next record at the supervisor's end; its size is 0 when there is none.
  static std::string Received(const Processes& supervisor) {
    std::string bytes(200, '\0');
    const ssize_t size = recv(supervisor.heartbeatSocket, bytes.data(), bytes.size(), MSG_DONTWAIT);
    bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return bytes;
  }

  tolvar_heartbeat heartbeat;
};

TEST_F(HeartbeatTest, TheSupervisorReceivesExactlyTheRecord) {
  Processes supervisor;
  ASSERT_EQ(supervisor.InitHeartbeatSocket(), 0);
  const std::string longest(131, 'n');
  const auto before = std::chrono::system_clock::now().time_since_epoch();
  EXPECT_EQ(tolvar_heartbeat_send(&heartbeat, longest.c_str(), -7), TOLVAR_HEARTBEAT_SENT);
  EXPECT_EQ(SendFromC99("streamer", TOLVAR_STATUS_BUSY), TOLVAR_HEARTBEAT_SENT);
  for (const auto& [name, status] :
       {std::pair(longest, -7), std::pair(std::string("streamer"), 2)}) {
    const std::string bytes = Received(supervisor);
    ASSERT_EQ(bytes.size(), sizeof(Heartbeat));
    Heartbeat record;
    memcpy(&record, bytes.data(), sizeof record);
    EXPECT_EQ(record.status, status);
    EXPECT_EQ(std::string(record.name, sizeof record.name),
              name + std::string(132 - name.size(), '\0'));
    const auto age = std::chrono::milliseconds(record.timestampMs) - before;
    EXPECT_GT(age, std::chrono::milliseconds(-2));
    EXPECT_LT(age, std::chrono::seconds(30));
  }
}

TEST_F(HeartbeatTest, ANameThatDoesNotFitIsRefused) {
  Processes supervisor;
  ASSERT_EQ(supervisor.InitHeartbeatSocket(), 0);
  const std::string tooLong(132, 'n');
  for (const char* name : {static_cast<const char*>(nullptr), "", tooLong.c_str()}) {
    EXPECT_EQ(tolvar_heartbeat_send(&heartbeat, name, 0), TOLVAR_HEARTBEAT_BAD_NAME);
  }
  EXPECT_EQ(Received(supervisor), "");
}

TEST_F(HeartbeatTest, AnAbsentOrBusySupervisorIsReportedAndNeverWaitedFor) {
  EXPECT_EQ(tolvar_heartbeat_send(&heartbeat, "a", 0), TOLVAR_HEARTBEAT_NO_SUPERVISOR);
  for (int life = 0; life < 2; ++life) {  // a restarted supervisor is reached by the same socket
    Processes supervisor;
    ASSERT_EQ(supervisor.InitHeartbeatSocket(), 0);
    EXPECT_EQ(fcntl(heartbeat.socketFd, F_SETFL, 0), 0) << "not even when somebody made it block";
    int sent = 0;
    while (tolvar_heartbeat_send(&heartbeat, "a", 0) == TOLVAR_HEARTBEAT_SENT) ++sent;
    EXPECT_GT(sent, 0);
    EXPECT_EQ(tolvar_heartbeat_send(&heartbeat, "a", 0), TOLVAR_HEARTBEAT_BUFFER_FULL);
    EXPECT_NE(Received(supervisor), "");
    EXPECT_EQ(tolvar_heartbeat_send(&heartbeat, "a", 0), TOLVAR_HEARTBEAT_SENT);
  }
  EXPECT_EQ(tolvar_heartbeat_send(&heartbeat, "a", 0), TOLVAR_HEARTBEAT_NO_SUPERVISOR);
}

TEST_F(HeartbeatTest, AnUntouchedClockIsNotReported) {
  pollfd clock = {tolvar_heartbeat_clock_fd(&heartbeat), POLLIN, 0};
  ASSERT_GE(clock.fd, 0);
  EXPECT_EQ(poll(&clock, 1, 0), 0);
  EXPECT_EQ(tolvar_heartbeat_clock_stepped(&heartbeat), 0);
}

TEST_F(HeartbeatTest, DescriptorsAreNotInheritedAndClosingTwiceIsHarmless) {
  for (const int descriptor : {heartbeat.socketFd, heartbeat.clockFd}) {
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
  }
  tolvar_heartbeat_close(&heartbeat);
  tolvar_heartbeat_close(&heartbeat);
  EXPECT_EQ(tolvar_heartbeat_send(&heartbeat, "a", 0), TOLVAR_HEARTBEAT_ERROR);
  EXPECT_EQ(errno, EBADF);
}

}  // namespace
