#include "process/process.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LaunchStopTest : public DeviceTest {
 protected:
  LaunchStopTest() {
    process.name = "streamer";
    process.entrypoint = "run it &";
    process.state = Process::State::Running;
  }
  Process process;
};

TEST_F(LaunchStopTest, StopKillsByNameAndCannotFail) {
  fakeShell.onCommand = [](const std::string&) { return false; };
  EXPECT_EQ(process.Stop(), 0);
  EXPECT_EQ(process.state, Process::State::Stopped);
  EXPECT_THAT(fakeShell.commands, ElementsAre("pkill -9 streamer"));
}

TEST_F(LaunchStopTest, LaunchKillsThenRunsTheEntryPoint) {
  process.retries = 4;
  process.lastHeartbeatMs = 7;
  EXPECT_EQ(process.Launch(), 0);
  EXPECT_EQ(process.state, Process::State::Running);
  EXPECT_EQ(process.launchTime, 1'731'711'234);
  EXPECT_EQ(process.retries, 4U);
  EXPECT_EQ(process.lastHeartbeatMs, 7);
  EXPECT_THAT(fakeShell.commands, ElementsAre("pkill -9 streamer", "run it &"));
  EXPECT_THAT(log.Lines(), ElementsAre("Launched process streamer"));
}

TEST_F(LaunchStopTest, OnlyAShellThatCannotRunFailsALaunch) {
  process.entrypoint = "exit 1";
  fakeShell.passThrough = true;
  EXPECT_EQ(process.Launch(), 0);
  fakeShell.onCommand = [](const std::string& command) { return command != "exit 1"; };
  (void)log.Lines();
  EXPECT_EQ(process.Launch(), 1);
  EXPECT_EQ(process.state, Process::State::Stopped);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(LaunchStopTest, TheFirstComponentThatFailsEndsALaunch) {
  TestCloud& server = StartCloud();
  for (const char* file : {"one", "two", "three"}) {
    process.components.push_back(
        {"streamer", file, std::string("/run/app/") + file, "1", Md5(file)});
    if (file != std::string("two")) server.SetFile(file, "1", {file});
  }
  EXPECT_EQ(process.Launch(), 1);
  EXPECT_EQ(process.launchTime, 0);
  EXPECT_TRUE(Exists("/run/app/one"));
  EXPECT_THAT(server.Asked(), ElementsAre("one@1", "/files/one/1", "two@1"));
  EXPECT_EQ(log.Lines().back(), "Failed to get components for process streamer");
  EXPECT_EQ(fakeShell.commands.front(), "pkill -9 streamer");
  for (const std::string& command : fakeShell.commands) EXPECT_NE(command, "run it &");

  EXPECT_EQ(process.PreDownload(), 1);
  EXPECT_EQ(log.Lines().back(), "Failed to pre-download components for process streamer");
  EXPECT_THAT(server.Asked(), ElementsAre("two@1"));
  server.SetFile("two", "1", {"two"});
  EXPECT_EQ(process.PreDownload(), 0);
  EXPECT_EQ(log.Lines().back(), "Pre-download all components for process streamer");
  EXPECT_FALSE(process.preDownloaded);
}

}  // namespace
