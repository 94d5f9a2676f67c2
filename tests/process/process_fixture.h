// A process "app" in version 1, and the log of what is done with it.
#pragma once

#include <string>

#include "tests/kit/device.h"
#include "tests/kit/process.h"

class ProcessTest : public DeviceTest {
 protected:
  using State = Process::State;

  static inline const std::string kill = "$ pkill -9 app\n";
  static inline const std::string start1 = "$ start app 1\n", start2 = "$ start app 2\n";
  static inline const std::string started =
      "Launched process app\nLaunch process app successfully\n";
  static inline const std::string launch1 = kill + start1 + started,
                                  launch2 = kill + start2 + started;
  static inline const std::string fetchedAhead = "Pre-download all components for process app\n";
  static inline const std::string notFetchedAhead =
      "Failed to pre-download components for process app\n";
  static inline const std::string asked =
      "Get processes from domain https://cloud.test:8443, status ";  // and the result
  static inline const std::string unreached =
      "Curl return code 7\n" + asked + "2\nGet last known good version processes failed\n";
  static inline const std::string noRollback = "Rollback process app unsuccessfully\n";

  ProcessTest() { traceCalls = true; }

  // One step, and what it did.
  std::string Step() {
    process.StepState();
    return log.Text();
  }
  void LetVersion2Wait() { process.pending = std::make_shared<Process>(MakeProcess("app", "2")); }

  FakeCloud cloud;
  Process process = MakeProcess("app", "1");
};
