// A heartbeat as an application sends it.
#pragma once

#include <gtest/gtest.h>

#include "client/tolvar_heartbeat.h"

// Its time stamp is the real time, far in the fake clock's future. Ends the receiver's wait.
inline void Beat(const char* name, int status = TOLVAR_STATUS_OK) {
  tolvar_heartbeat heartbeat = TOLVAR_HEARTBEAT_INIT;
  EXPECT_EQ(tolvar_heartbeat_open(&heartbeat), 0);
  (void)tolvar_heartbeat_send(&heartbeat, name, status);  // nobody may be there to receive it
  tolvar_heartbeat_close(&heartbeat);
}
