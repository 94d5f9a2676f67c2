// What is done to launch and to stop a process.
#include "tests/process/process_fixture.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;

using LaunchTest = ProcessTest;
using State = Process::State;

TEST_F(LaunchTest, AShellThatRanTheEntryPointIsASuccess) {
  EXPECT_EQ(process.Launch(), 0);
  EXPECT_EQ(log.Text(), kill + start1 + "Launched process app\n");
  EXPECT_EQ(process.state, State::Running);
  EXPECT_EQ(process.launchTime, fakeClock.Seconds());
}

TEST_F(LaunchTest, AShellThatCannotRunTheEntryPointIsAFailure) {
  fakeShell.onCommand = [](const std::string& command) { return command != "start app 1"; };
  process.state = State::Running;
  EXPECT_EQ(process.Launch(), 1);
  EXPECT_EQ(log.Text(), kill + start1);
  EXPECT_EQ(process.state, State::Stopped);
  EXPECT_EQ(process.launchTime, 0);
}

TEST_F(LaunchTest, AKillThatCannotRunIsPassedOver) {
  fakeShell.onCommand = [](const std::string& command) { return command == "start app 1"; };
  process.state = State::Running;
  EXPECT_EQ(process.Stop(), 0);
  EXPECT_EQ(process.state, State::Stopped);
  EXPECT_EQ(process.Launch(), 0);
  EXPECT_EQ(process.state, State::Running);
}

struct ComponentsTest : LaunchTest {
  ComponentsTest() {
    for (const std::string file : {"one", "two", "three"}) {
      process.components.push_back({"app", file, "/run/app/" + file, "1", Md5(file)});
      cloud.Offer(file, "1", file);
    }
  }
  // From here on the second of three cannot be fetched.
  void LoseTheSecond() {
    cloud.Disconnect();
    cloud.Offer("one", "1", "one");
    cloud.Offer("three", "1", "three");
  }
};

TEST_F(ComponentsTest, AllAreThereBeforeTheEntryPointRuns) {
  Files atStart;
  fakeShell.onCommand = [&](const std::string& command) {
    if (command == "start app 1") atStart = FilesUnder("/run/app");
    return true;
  };
  EXPECT_EQ(process.Launch(), 0);
  EXPECT_EQ(atStart,
            (Files{{"/run/app/one", "one"}, {"/run/app/two", "two"}, {"/run/app/three", "three"}}));
  EXPECT_THAT(cloud.requests,
              ElementsAre(ForLocation("one", "1"), ForFile("one", "1"), ForLocation("two", "1"),
                          ForFile("two", "1"), ForLocation("three", "1"), ForFile("three", "1")));
}

TEST_F(ComponentsTest, TheFirstThatFailsEndsALaunch) {
  LoseTheSecond();
  EXPECT_EQ(process.Launch(), 1);
  EXPECT_THAT(log.Text(), EndsWith("Failed to get components for process app\n"));
  EXPECT_THAT(cloud.requests,
              ElementsAre(ForLocation("one", "1"), ForFile("one", "1"), ForLocation("two", "1")));
  EXPECT_EQ(process.state, State::Stopped);
  EXPECT_EQ(process.launchTime, 0);
}

TEST_F(ComponentsTest, TheFirstThatFailsEndsAFetchAheadWhichTouchesNoField) {
  LoseTheSecond();
  process.state = State::Running;
  EXPECT_EQ(process.PreDownload(), 1);
  EXPECT_THAT(log.Text(), EndsWith(notFetchedAhead));
  EXPECT_EQ(cloud.requests.size(), 3U);
  EXPECT_EQ(process.state, State::Running);
  EXPECT_FALSE(process.preDownloaded);
}

}  // namespace
