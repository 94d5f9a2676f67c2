// The one fixture: a device with its identity, files and log.
#pragma once

#include <gmock/gmock.h>
#include <linux/capability.h>
#include <linux/securebits.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tests/fakes/fakes.h"
#include "tests/kit/cloud.h"
#include "tests/kit/files.h"
#include "tests/kit/log_capture.h"

// Makes root one like any other, here and in the commands that it runs.
inline void DropCapabilities() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
  EXPECT_EQ(prctl(PR_SET_SECUREBITS, SECBIT_NOROOT), 0);
  EXPECT_EQ(syscall(SYS_capset, &header, none), 0);
}

// Refuses to run outside the bench device, where the device's paths would be this machine's.
class DeviceTest : public testing::Test {
 protected:
  DeviceTest() {
    if (std::getenv("TOLVAR_BENCH") != nullptr) return;
    (void)std::fputs("run me through device/bench\n", stderr);
    std::exit(1);
  }

  LogCapture log;
};
