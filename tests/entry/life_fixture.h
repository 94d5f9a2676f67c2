// A supervisor as a host has it: made, not launched yet.
#pragma once

#include <string>

#include "entry/tolvar.h"
#include "supervisor/processes.h"
#include "tests/kit/device.h"
#include "tests/kit/heartbeat.h"

class LifeTest : public DeviceTest {
 protected:
  static Processes* Create() { return static_cast<Processes*>(create_tolvar()); }

  // False as long as an object that has run is there.
  static bool SocketIsFree() { return Processes().InitHeartbeatSocket() == 0; }

  // Ends a run and gives the object up.
  void Destroy() {
    destroy_tolvar(supervisor);
    Beat("the receiver");  // which waits for a heartbeat
  }

  FakeCloud cloud;
  Processes* supervisor = Create();
};
