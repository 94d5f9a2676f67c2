#include "platform/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <array>

#include "tests/kit/device.h"

namespace {

using FilesTest = DeviceTest;
using testing::ElementsAre;
using testing::IsEmpty;

// Runs a command of this machine, which a test needs to set its scene.
void Arrange(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }

unsigned ModeOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777U;
}

TEST_F(FilesTest, TheParentIsWhatStandsBeforeTheLastSlash) {
  EXPECT_EQ(ParentPath("/a/.b/1"), "/a/.b");
  EXPECT_EQ(ParentPath("/a/b/"), "/a/b");
  EXPECT_EQ(ParentPath("/a"), "");
  EXPECT_EQ(ParentPath("a"), ".");
}

TEST_F(FilesTest, DirectoriesAreMadePrivateWithTheirParents) {
  (void)umask(0);
  EXPECT_EQ(CreateDir("/tmp/a/b"), 0);
  EXPECT_EQ(ModeOf("/tmp/a"), 0700U);
  EXPECT_EQ(ModeOf("/tmp/a/b"), 0700U);
  EXPECT_EQ(CreateDir("/tmp/a/b"), 1) << "there already";
  EXPECT_EQ(CreateDir("/under-the-root"), 1);
  WriteText("/tmp/file", "");
  EXPECT_EQ(CreateDir("/tmp/file/a"), 1) << "under a file";
}

TEST_F(FilesTest, DatesAndSizesBeyond32BitsAreNoObstacle) {
  Arrange("truncate -s 3G /tmp/large");
  Arrange("ln -s /tmp /run/link; touch -d 2040-01-01 /tmp /tmp/large");
  EXPECT_TRUE(DirExists("/run/link"));
  EXPECT_FALSE(DirExists("/tmp/large"));
  EXPECT_TRUE(FileExists("/tmp/large"));
  EXPECT_TRUE(OpenForReading("/tmp/large").IsOpen());
  EXPECT_EQ(WriteToPath("/tmp/large", Bytes("new")), 0);
  EXPECT_EQ(ReadText("/tmp/large"), "new");
}

TEST_F(FilesTest, OnlyFilesAndFoldersAreOpenedForReading) {
  const struct {
    const char* what;
    const char* made;
    bool opens;
  } rows[] = {
      {"a file", "echo >/tmp/x", true},
      {"a link to a file", "echo >/tmp/y; ln -s y /tmp/x", true},
      {"a folder", "mkdir /tmp/x", true},
      {"nothing", "true", false},
      {"a link to nothing", "ln -s none /tmp/x", false},
      {"a pipe", "mkfifo /tmp/x", false},
      {"a link to a pipe", "mkfifo /tmp/y; ln -s y /tmp/x", false},
      {"a link to a device without end", "ln -s /dev/zero /tmp/x", false},
  };
  for (const auto& row : rows) {
    Arrange("rm -rf /tmp/x /tmp/y");
    Arrange(row.made);
    EXPECT_EQ(OpenForReading("/tmp/x").IsOpen(), row.opens) << row.what;
  }
  const sockaddr_un address = {AF_UNIX, "/tmp/socket"};
  const Descriptor listener(socket(AF_UNIX, SOCK_STREAM, 0));
  EXPECT_EQ(bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_FALSE(OpenForReading("/tmp/socket").IsOpen());
}

TEST_F(FilesTest, CommandsDoNotInheritWhatIsOpen) {
  WriteText("/tmp/file", "");
  EXPECT_EQ(fcntl(OpenForReading("/tmp/file").Get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(FilesTest, AHostThatHasClosedItsStandardInputIsServedToo) {
  WriteText("/tmp/file", "");
  EXPECT_EQ(close(STDIN_FILENO), 0);
  const Descriptor file = OpenForReading("/tmp/file");
  EXPECT_EQ(file.Get(), STDIN_FILENO);
  EXPECT_TRUE(file.IsOpen());
}

TEST_F(FilesTest, WritingMakesTheParentAndReplacesEveryByte) {
  (void)umask(022);
  WriteText("/tmp/a/file", "longer than what comes");
  const std::string text("n\0w", 3);
  EXPECT_EQ(WriteToPath("/tmp/a/file", Bytes(text)), 0);
  EXPECT_EQ(ReadText("/tmp/a/file"), text);
  EXPECT_EQ(WriteToPath("/tmp/b/c/file", Bytes(text)), 0);
  EXPECT_EQ(ReadText("/tmp/b/c/file"), text);
  EXPECT_EQ(ModeOf("/tmp/b/c/file"), 0644U);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(FilesTest, AFailureToWriteSaysWhatCouldNotBeMadeOrOpened) {
  Arrange("mkdir /tmp/folder; mkfifo /tmp/pipe");
  const struct {
    const char* what;
    std::string path, line;
  } rows[] = {
      {"directly under the root", "/no-root/file", "Failed to create dir /no-root"},
      {"a parent that is no folder", "/tmp/pipe/a/file", "Failed to create dir /tmp/pipe/a"},
      {"a folder", "/tmp/folder", "Failed to open file /tmp/folder"},
      {"a pipe that nobody reads", "/tmp/pipe", "Failed to open file /tmp/pipe"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(WriteToPath(row.path, Bytes("x")), 1) << row.what;
    EXPECT_THAT(log.Lines(), ElementsAre(row.line)) << row.what;
  }
}

TEST_F(FilesTest, CopyingAndRemovingAreCommandsWhoseOwnStatusIsNotLookedAt) {
  EXPECT_EQ(CopyToPath("/tmp/a/new", "/tmp/old"), 0);
  EXPECT_EQ(CopyToPath("/tmp/a/a new", "/tmp/an old"), 0);
  EXPECT_EQ(RemovePath("/tmp/a/a new"), 0);
  EXPECT_THAT(fakeShell.commands,
              ElementsAre("cp -a /tmp/old /tmp/a/new", "cp -a '/tmp/an old' '/tmp/a/a new'",
                          "rm -f '/tmp/a/a new'"));
  EXPECT_TRUE(DirExists("/tmp/a"));
  fakeShell.onCommand = [](const std::string&) { return false; };
  EXPECT_EQ(CopyToPath("/tmp/a/new", "/tmp/old"), 1);
  EXPECT_EQ(RemovePath("/tmp/a/new"), 1);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(FilesTest, WithoutItsParentNothingIsCopied) {
  WriteText("/tmp/file", "");
  EXPECT_EQ(CopyToPath("/tmp/file/a/b", "/tmp/file"), 1);
  EXPECT_THAT(fakeShell.commands, IsEmpty());
}

TEST_F(FilesTest, NobodyWaitsForThePipeAtACopysPlace) {
  Arrange("mkfifo /tmp/pipe");
  const Descriptor reader(open("/tmp/pipe", O_RDONLY | O_NONBLOCK));
  EXPECT_EQ(CopyToPath("/tmp/pipe", "/tmp/old"), 1);
  EXPECT_THAT(fakeShell.commands, IsEmpty());
  pollfd end = {reader.Get(), POLLIN, 0};
  EXPECT_EQ(poll(&end, 1, 0), 0) << "its reader has seen somebody come and go";
}

TEST_F(FilesTest, AFileInMemoryIsNotWrittenWhereMemoryDoesNotHoldIt) {
  constexpr std::size_t threeMb = 3145728;
  const std::vector<char> data(threeMb, 'x');
  WriteText("/tmp/meminfo", "MemTotal: 65536 kB\nMemAvailable: 11264 kB\n");
  Arrange("mount --bind /tmp/meminfo /proc/meminfo");
  EXPECT_EQ(WriteFile("/tmp/held", data), 0);
  EXPECT_EQ(ReadText("/tmp/held").size(), threeMb);

  WriteText("/tmp/meminfo", "MemTotal: 65536 kB\nMemAvailable: 11263 kB\n");
  EXPECT_EQ(WriteFile("/tmp/refused", data), 0) << "as on a full disk";
  EXPECT_EQ(ReadText("/tmp/refused"), "");
  EXPECT_EQ(CopyToPath("/tmp/new/copy", "/tmp/held"), 1);
  EXPECT_THAT(fakeShell.commands, IsEmpty());

  WriteText("/tmp/new/copy", std::string(threeMb, 'o'));
  EXPECT_EQ(CopyToPath("/tmp/new/copy", "/tmp/held"), 0) << "it takes the place of the old one";
  EXPECT_THAT(fakeShell.commands, ElementsAre("cp -a /tmp/held /tmp/new/copy"));
}

TEST_F(FilesTest, APipeIsNotOpenedToSeeWhetherItIsBusy) {
  Arrange("mkfifo /tmp/pipe");
  const Descriptor reader(open("/tmp/pipe", O_RDONLY | O_NONBLOCK));
  const Descriptor watch(inotify_init1(IN_NONBLOCK));
  EXPECT_GE(inotify_add_watch(watch.Get(), "/tmp/pipe", IN_OPEN | IN_CLOSE_WRITE), 0);
  EXPECT_EQ(WriteFile("/tmp/pipe", Bytes("x")), 0);
  std::array<inotify_event, 9> events = {};
  EXPECT_EQ(read(watch.Get(), events.data(), sizeof events), 2 * sizeof(inotify_event))
      << "opened and closed once";
}

// A program that runs, so that its file is busy.
struct BusyFileTest : DeviceTest {
  BusyFileTest() {
    Arrange("cp /bin/sleep /tmp/app; /tmp/app 60 & until pgrep -x app >/dev/null; do :; done");
  }
  static void EndProgram() {
    Arrange("pkill -9 -x app; while pgrep -x app >/dev/null; do :; done");
  }
};

TEST_F(BusyFileTest, AProgramThatIsStillDyingIsWaitedFor) {
  unsigned sleeps = 0;
  fakeClock.onSleep = [&sleeps] {
    if (++sleeps == 3) EndProgram();
  };
  EXPECT_EQ(WriteToPath("/tmp/app", Bytes("new")), 0);
  EXPECT_EQ(ReadText("/tmp/app"), "new");
  EXPECT_EQ(sleeps, 3U);
}

TEST_F(BusyFileTest, ACopyWaitsBeforeItsCommand) {
  traceCalls = true;
  fakeClock.onSleep = EndProgram;
  EXPECT_EQ(CopyToPath("/tmp/app", "/tmp/new"), 0);
  EXPECT_THAT(log.Lines(), ElementsAre("sleep 10 ms", "$ cp -a /tmp/new /tmp/app"));
}

TEST_F(BusyFileTest, TheWaitEndsAfterTwoSecondsOfTheClock) {
  const struct {
    const char* what;
    std::int64_t moreOfEachSleepMicros;
    unsigned sleeps;
  } rows[] = {
      {"sleeps that last as long as asked", 0, 200},
      {"sleeps that last four times as long", 30000, 50},
  };
  for (const auto& row : rows) {
    unsigned sleeps = 0;
    fakeClock.onSleep = [&] {
      ++sleeps;
      fakeClock.nowMicros += row.moreOfEachSleepMicros;
    };
    EXPECT_EQ(WriteToPath("/tmp/app", Bytes("new")), 1) << row.what;
    EXPECT_EQ(sleeps, row.sleeps) << row.what;
    EXPECT_THAT(log.Lines(), ElementsAre("Failed to open file /tmp/app")) << row.what;
  }
}

TEST_F(FilesTest, WhatIsNotBusyIsNotWaitedFor) {
  traceCalls = true;
  WriteText("/tmp/file", "old");
  EXPECT_EQ(WriteToPath("/tmp/file", Bytes("new")), 0);
  EXPECT_EQ(WriteToPath("/tmp/none", Bytes("new")), 0);
  EXPECT_EQ(CopyToPath("/tmp/file", "/tmp/none"), 0);
  EXPECT_THAT(log.Lines(), ElementsAre("$ cp -a /tmp/none /tmp/file"));
  EXPECT_EQ(fakeClock.uptimeReads, 0U);
}

}  // namespace
