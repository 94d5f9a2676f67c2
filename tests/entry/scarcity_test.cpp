// Lives from one version to the next, in which allocations fail.
#include "tests/fakes/scarcity.h"

#include "platform/json.h"
#include "tests/entry/life_fixture.h"

namespace {

using State = Process::State;

const std::string live = "/run/app/engine", slot = "/run/app/engine.predownload";

struct ScarcityTest : LifeTest {
  ScarcityTest() {
    destroy_tolvar(supervisor);
    Spared::now = true;  // but in Live
    cJSON_Hooks hooks = {Allocate, std::free};
    cJSON_InitHooks(&hooks);
    WriteText("/etc/config/.tolvar_config", "bootstrap_interval=0\n");
    Remove("/media/mmc");
    fakeShell.onCommand = [](const std::string& command) {
      if (command.substr(0, 2) == "cp") WriteText(live, ReadText(slot));
      return true;
    };
    fakeClock.onSleep = [this] { OnSleep(); };
  }
  void Release(const std::string& version) {
    const ListedFile engine = {"engine", live, version, version};
    cloud.Answer(ForManifest("latest"), Manifest({{"a", version, "start", {engine}}}));
    cloud.Offer("engine", version, version);
  }
  [[nodiscard]] bool Runs(const std::string& version) const {
    const std::vector<Process>& all = supervisor->processes;
    return all.size() == 1 && all[0].state == State::Running && all[0].version == version;
  }
  // Brings the second version once the first runs, and the end once that does or seems not to.
  void OnSleep() {
    if (Runs("1")) Release("2");
    if (++sleeps > 100 || Runs("2")) destroy_tolvar(supervisor);
    Beat("a");
  }
  // A whole life, of which every allocation counts.
  void Live() {
    Remove("/run/app");
    Release("1");
    Processes::bootstrapIntervalSec_ = 21600;  // the configuration says 0
    sleeps = 0;
    Spared::now = false;
    do supervisor = Create();
    while (supervisor == nullptr);
    launch_tolvar(supervisor);
    Spared::now = true;
    EXPECT_EQ(ReadText(live), "2") << "the update did not come";
    EXPECT_TRUE(SocketIsFree()) << "the object is still there";
  }
  // How many allocations a life takes.
  long Count() {
    Live();  // the first one makes what stays
    scarcity.toComeFirst = 0;
    Live();
    return -scarcity.toComeFirst;
  }
  int sleeps = 0;
};

TEST_F(ScarcityTest, AnyAllocationsMayFail) {
  const long all = Count();
  EXPECT_GT(all, 200);
  for (const int inARow : {1, 2, 50}) {
    for (long before = 0; before < all && !HasFailure(); ++before) {
      SCOPED_TRACE(std::to_string(inARow) + " refused after " + std::to_string(before));
      scarcity.toComeFirst = before;
      scarcity.toFail = inARow;
      Live();
      EXPECT_LT(scarcity.toFail, inARow) << "none was refused";
    }
  }
}

}  // namespace
