#include "process/process.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

class RollbackTest : public DeviceTest {
 protected:
  RollbackTest() {
    process.name = "app";
    process.version = "2";
    process.state = Process::State::Failed;
  }
  Process process;
};

TEST_F(RollbackTest, TheAnswersFirstRecordDecides) {
  const struct {
    std::string answer;
    std::vector<std::string> line;
    int result;
    const char* pending;
  } cases[] = {
      {"<html>", {"Parse last known good version response failed, <html>"}, 1, ""},
      {"", {"Parse last known good version response failed, "}, 1, ""},
      {Manifest({}), {"Empty processes, rollback app failed"}, 1, ""},
      {Manifest({ProcessJson("App", "1"), ProcessJson("app", "1")}),
       {"Rollback from process app to App, looks wrong!"},
       1,
       ""},
      {Manifest({ProcessJson("app", "2"), ProcessJson("app", "1")}), {}, 0, ""},
      {Manifest({ProcessJson("app", "1"), ProcessJson("b", "1")}),
       {"Process app rollback to version 1"},
       0,
       "1"},
      {Manifest({ProcessJson("app", "0")}), {"Process app rollback to version 0"}, 0, "0"},
      {Manifest({ProcessJson("app", "2")}), {}, 0, "0"},
  };
  StartCloud();
  for (const auto& [answer, line, result, pending] : cases) {
    cloud->SetManifest("lastknowngood", answer, "app");
    EXPECT_EQ(process.Rollback(), result) << answer;
    std::vector<std::string> lines = log.Lines();
    lines.erase(lines.begin());  // the request's own
    EXPECT_THAT(lines, ElementsAreArray(line)) << answer;
    EXPECT_EQ(process.pending ? process.pending->version : "", pending) << answer;
  }
  EXPECT_EQ(process.state, Process::State::Failed);
  EXPECT_EQ(process.pending->StateInString(), "stopped");
}

TEST_F(RollbackTest, AnUnansweredRequestFails) {
  EXPECT_EQ(process.Rollback(), 1);
  EXPECT_EQ(log.Lines().back(), "Get last known good version processes failed");
}

// From the failure to the last known good version running, as the state machine does it.
TEST_F(RollbackTest, AProcessThatUsedUpItsRetriesIsRolledBack) {
  StartCloud().SetManifest("lastknowngood", Manifest({ProcessJson("app", "1")}), "app");
  process.retries = process.maxretries;
  process.StepState();
  EXPECT_EQ(process.StateInString() + process.version, "failed2");
  process.StepState();
  EXPECT_EQ(process.StateInString() + process.version, "running1");
  EXPECT_EQ(process.retries, 1U);
  EXPECT_THAT(fakeShell.commands, ElementsAre("pkill -9 app", "pkill -9 app", "start app 1"));
}

}  // namespace
