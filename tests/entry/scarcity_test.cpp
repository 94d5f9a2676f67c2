// A life in which any one allocation fails, and one in which no thread can be had at first.
#include "tests/fakes/scarcity.h"

#include "client/tolvar_heartbeat.h"
#include "entry/tolvar.h"
#include "supervisor/processes.h"
#include "tests/cloud/curl_recorder.h"
#include "tests/kit/device.h"

namespace {

const std::string live = "/run/app/engine", slot = "/run/app/engine.predownload";

struct ScarcityTest : DeviceTest {
  ScarcityTest() {
    Spared::now = true;
    cJSON_Hooks hooks = {Allocate, std::free};
    cJSON_InitHooks(&hooks);
    WriteText("/etc/config/.tolvar_config", "bootstrap_interval=0\n");
    Remove("/media/mmc");
    fakeShell.onCommand = [](const std::string& command) {
      if (command.substr(0, 2) != "cp") return true;
      WriteText(live, ReadText(slot));
      return true;
    };
    curlRecorder.answer = [this](const std::string& calls) {
      return ScriptedAnswer(calls, version, live);
    };
    fakeClock.onSleep = [this] { Step(); };
  }
  // Brings the second version once the first runs, and the end once that does.
  void Step() {
    if (++sleeps > 100) return Destroy();  // in vain
    const std::vector<Process>& all = supervisor->processes;
    if (all.size() == 1 && all[0].state == Process::State::Running) {
      if (all[0].version == "2") return Destroy();
      if (all[0].version == version) version = "2";
    }
  }
  // The heartbeat ends the receiver's wait.
  void Destroy() const {
    destroy_tolvar(supervisor);
    tolvar_heartbeat heartbeat;
    (void)tolvar_heartbeat_open(&heartbeat);
    (void)tolvar_heartbeat_send(&heartbeat, "a", 0);
    tolvar_heartbeat_close(&heartbeat);
  }
  // Whether it came to its end with the second version running from the second version's file.
  void Live() {
    Remove("/run/app");
    version = "1";
    sleeps = 0;
    Spared::now = false;
    do supervisor = static_cast<Processes*>(create_tolvar());
    while (supervisor == nullptr);
    launch_tolvar(supervisor);
    Spared::now = true;
    EXPECT_EQ(version, "2");
    EXPECT_EQ(ReadText(live), "2");
    EXPECT_EQ(Processes().InitHeartbeatSocket(), 0) << "the object and its socket are gone";
  }
  Processes* supervisor = nullptr;
  std::string version;
  int sleeps = 0;
};

TEST_F(ScarcityTest, AnyAllocationsMayFail) {
  Live();
  scarcity.toComeFirst = 0;
  Live();
  const long all = -scarcity.toComeFirst;
  EXPECT_GT(all, 200);
  for (const int inARow : {1, 2, 50}) {
    for (long before = 0; before < all && !HasFailure(); ++before) {
      SCOPED_TRACE(before);
      scarcity.toComeFirst = before;
      scarcity.toFail = inARow;
      Live();
      EXPECT_LT(scarcity.toFail, inARow);
    }
  }
}

TEST_F(ScarcityTest, AThreadIsWaitedFor) {
  scarcity.threadsToRefuse = 3;
  Live();
  EXPECT_EQ(scarcity.threadsToRefuse, -1) << "refused three, then gave the receiver's";
}

}  // namespace
