#include <fcntl.h>
#include <poll.h>

#include <ctime>

#include "client/tolvar_heartbeat.h"
#include "supervisor/processes.h"
#include "tests/kit/device.h"

struct HeartbeatTest : DeviceTest {
  HeartbeatTest() { EXPECT_EQ(tolvar_heartbeat_open(&heartbeat), 0); }
  tolvar_heartbeat_result Send(const char* name = "a", std::int32_t status = 0) {
    return tolvar_heartbeat_send(&heartbeat, name, status);
  }
  tolvar_heartbeat heartbeat;
};

TEST_F(HeartbeatTest, ArrivesAsTheRecordOrIsReportedAndNeverWaits) {
  EXPECT_EQ(Send(nullptr), TOLVAR_HEARTBEAT_BAD_NAME);
  EXPECT_EQ(Send(""), TOLVAR_HEARTBEAT_BAD_NAME);
  EXPECT_EQ(Send(std::string(132, 'n').c_str()), TOLVAR_HEARTBEAT_BAD_NAME);
  EXPECT_EQ(fcntl(heartbeat.socketFd, F_SETFL, 0), 0) << "not even when somebody made it block";
  // The second time round the supervisor is a restarted one.
  for (const std::string& name : {std::string(131, 'n'), std::string("n")}) {
    EXPECT_EQ(Send(), TOLVAR_HEARTBEAT_NO_SUPERVISOR);
    Processes supervisor;
    ASSERT_EQ(supervisor.InitHeartbeatSocket(), 0);
    while (Send(name.c_str(), -7) == TOLVAR_HEARTBEAT_SENT) continue;
    EXPECT_EQ(Send(), TOLVAR_HEARTBEAT_BUFFER_FULL);
    Heartbeat record;
    EXPECT_EQ(recv(supervisor.heartbeatSocket, &record, sizeof record, MSG_TRUNC), 144);
    EXPECT_LT(std::abs(record.timestampMs / 1000 - std::time(nullptr)), 15);
    EXPECT_EQ(record.status, -7);
    EXPECT_EQ(std::string(record.name, 132), name + std::string(132 - name.size(), '\0'));
    EXPECT_EQ(Send(), TOLVAR_HEARTBEAT_SENT);
  }
}

TEST_F(HeartbeatTest, AnUntouchedClockIsSilentAndClosingTwiceIsHarmless) {
  pollfd clock = {tolvar_heartbeat_clock_fd(&heartbeat), POLLIN, 0};
  EXPECT_EQ(poll(&clock, 1, 0) + tolvar_heartbeat_clock_stepped(&heartbeat), 0);
  EXPECT_EQ(fcntl(heartbeat.socketFd, F_GETFD) & fcntl(clock.fd, F_GETFD), FD_CLOEXEC);
  tolvar_heartbeat_close(&heartbeat);
  tolvar_heartbeat_close(&heartbeat);
  EXPECT_EQ(Send(), TOLVAR_HEARTBEAT_ERROR);
  EXPECT_EQ(errno, EBADF);
}
