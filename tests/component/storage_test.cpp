#include "component/storage.h"

#include <linux/capability.h>
#include <sys/syscall.h>

#include "tests/kit/device.h"

using StorageTest = DeviceTest;
using testing::ElementsAre;

TEST_F(StorageTest, Paths) {
  const char* const slots[][2] = {{"", "edd39288"},
                                  {"/usr/bin/app", "a28685bd"},
                                  {"/usr/bin/apps", "abd6018c"},
                                  {"/usr/bin/app12", "11756a3"},
                                  {"/opt/92074", "828e"},
                                  {"/media/\xc3\xa4\xf6\xfc", "b8cf08db"}};
  for (const auto& [path, slot] : slots) {
    EXPECT_EQ(CachedPath(path), std::string("/media/mmc/.ota/") + slot) << path;
  }
  EXPECT_EQ(PreDownloadPath("/a/b"), "/a/b.predownload");
  const char* const parents[][2] = {
      {"/b/.c/1", "/b/.c"}, {"a", "."}, {"/a", ""}, {"/a/b/", "/a/b"}};
  for (const auto& [path, parent] : parents) EXPECT_EQ(ParentPath(path), parent) << path;
}

TEST_F(StorageTest, DirectoriesAreMadePrivateAndOnlyWhenMissing) {
  EXPECT_EQ(CreateDir("/tmp/a/b"), 0);
  for (const char* path : {"/tmp/a", "/tmp/a/b"}) {
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0700)) << path;
  }
  WriteText("/tmp/file", "");
  for (const char* path : {"/tmp/a/b", "/under-the-root", "/tmp/file/a"}) {
    EXPECT_EQ(CreateDir(path), 1) << path;
  }
}

TEST_F(StorageTest, DirectoriesAndReadableFilesAreTold) {
  // The date lies beyond 32 bits.
  EXPECT_EQ(std::system("install -m 0 /dev/null /tmp/file && ln -s /tmp /run/link && "
                        "touch -d 2040-01-01 /tmp"),
            0);
  EXPECT_TRUE(DirExists("/run/link"));
  EXPECT_FALSE(DirExists("/tmp/file"));
  EXPECT_TRUE(SDCardMounted());
  Remove("/media/mmc");
  EXPECT_FALSE(SDCardMounted());
  EXPECT_TRUE(FileExists("/tmp/file"));
  EXPECT_FALSE(FileExists("/tmp/none"));
  // Without its capabilities root is one like any other.
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
  EXPECT_EQ(syscall(SYS_capset, &header, none), 0);
  EXPECT_FALSE(FileExists("/tmp/file"));
}

TEST_F(StorageTest, WritesReplaceAndMakeTheParent) {
  for (const std::string& text : {std::string("long old content"), std::string("n\0w", 3)}) {
    EXPECT_EQ(WriteToPath("/media/mmc/.ota/x", Bytes(text)), 0);
    EXPECT_EQ(ReadText("/media/mmc/.ota/x"), text);
  }
  EXPECT_EQ(WriteToPath("/bin2/file", {}) + WriteToPath("/media/mmc", {}), 2);
  EXPECT_EQ(log.Text(), "Failed to create dir /bin2\nFailed to open file /media/mmc\n");
}

TEST_F(StorageTest, PlainPathsMakePlainCommandLines) {
  EXPECT_EQ(CopyToPath("/tmp/a_1./@%+=:,-Z", "/tmp/b") + RemovePath("/tmp/b"), 0);
  EXPECT_EQ(CopyToPath("/none/a", "/tmp/b"), 1) << "no parent, no copy";
  EXPECT_THAT(fakeShell.commands, ElementsAre("cp -a /tmp/b /tmp/a_1./@%+=:,-Z", "rm -f /tmp/b"));
  fakeShell.onCommand = [](const std::string&) { return false; };
  EXPECT_EQ(CopyToPath("/tmp/a", "/tmp/b") + RemovePath("/tmp/b"), 2);
}

TEST_F(StorageTest, NoPathBreaksOutOfItsWord) {
  fakeShell.passThrough = true;
  WriteText("/tmp/source", "x");
  for (const char* name : {"a b", "a;id", "$(id)", "`id`", "it's", "''", "a\nb", "*", "~",
                           "back\\slash", "\"", "-n &", "\xc3\xa4"}) {
    const std::string path = std::string("/tmp/odd/") + name;
    EXPECT_EQ(CopyToPath(path, "/tmp/source"), 0);
    EXPECT_EQ(ReadText(path), "x") << name;
    EXPECT_EQ(RemovePath(path), 0);
    EXPECT_FALSE(Exists(path)) << name;
  }
}

TEST_F(StorageTest, AProgramThatIsStillDyingIsWaitedFor) {
  fakeShell.passThrough = true;
  WriteText("/run/x", "x");
  const auto start = [] {
    return std::system(
        "cp /bin/sleep /tmp/new && rm -f /tmp/app && cp /tmp/new /tmp/app && "
        "{ /tmp/app 60 & echo $! >/tmp/pid; } && until test \"$(readlink "
        "/proc/$(cat /tmp/pid)/exe)\" = /tmp/app; do :; done");
  };
  int waits = 0;
  fakeClock.onSleep = [&waits] {
    EXPECT_EQ(std::system(++waits == 3 ? "kill -9 $(cat /tmp/pid)" : ":"), 0);
  };
  ASSERT_EQ(start(), 0);
  EXPECT_EQ(WriteToPath("/tmp/app", Bytes("new")), 0);
  EXPECT_EQ(ReadText("/tmp/app"), "new");
  waits = 0;
  ASSERT_EQ(start(), 0);
  EXPECT_EQ(CopyToPath("/tmp/app", "/run/x"), 0);
  EXPECT_EQ(ReadText("/tmp/app"), "x");
  ASSERT_EQ(start(), 0);
  EXPECT_EQ(WriteToPath("/tmp/app", {}), 1) << "one that holds out is given up";
  EXPECT_GE(waits, 203);
}
