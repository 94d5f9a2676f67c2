// Who receives this device's heartbeats.
#pragma once

#include <string>

namespace doctor {

struct HeartbeatHolder {
  bool known = false;       // the kernel could be asked
  bool taken = false;       // the name is somebody's
  int pid = 0;              // of the one who has it; 0: taken, but not visible by whom, or free
  bool supervises = false;  // it has the plug-in loaded
};

// Without binding or sending: a supervisor that starts meanwhile must find the name free.
[[nodiscard]] HeartbeatHolder FindHeartbeatHolder();

}  // namespace doctor
