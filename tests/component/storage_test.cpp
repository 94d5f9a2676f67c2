#include "component/storage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/kit/device.h"

using StorageTest = DeviceTest;
using testing::ElementsAre;

TEST_F(StorageTest, NamesOfSlotsStayWhatDevicesAlreadyHave) {
  const struct {
    const char* path;
    const char* slot;
  } cases[] = {
      {"", "edd39288"},              // no block, no rest
      {"/usr/bin/app", "a28685bd"},  // whole blocks
  };
  for (const auto& [path, slot] : cases) {
    EXPECT_EQ(CachedPath(path), std::string("/media/mmc/.ota/") + slot) << path;
  }
  EXPECT_EQ(PreDownloadPath("/a/b"), "/a/b.predownload");
}

TEST_F(StorageTest, ParentPath) {
  const char* const cases[][2] = {{"/media/mmc/.ota/1a2b", "/media/mmc/.ota"},
                                  {"a", "."},
                                  {"/a", ""},
                                  {"/a/b/", "/a/b"},
                                  {"", "."}};
  for (const auto& [path, parent] : cases) EXPECT_EQ(ParentPath(path), parent) << path;
}

TEST_F(StorageTest, DirectoriesAreMadePrivateAndOnlyWhenMissing) {
  EXPECT_EQ(CreateDir("/tmp/a/b"), 0);
  for (const char* path : {"/tmp/a", "/tmp/a/b"}) {
    struct stat status = {};
    ASSERT_EQ(stat(path, &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U) << path;
  }
  EXPECT_EQ(CreateDir("/tmp/a/b"), 1) << "exists";
  EXPECT_EQ(CreateDir("/here"), 1) << "the parent's name is empty";
  WriteText("/tmp/file", "");
  EXPECT_EQ(CreateDir("/tmp/file/a"), 1);
}

TEST_F(StorageTest, DirectoriesAndFilesAreToldApart) {
  WriteText("/tmp/file", "x");
  ASSERT_EQ(symlink("/tmp", "/run/link"), 0);
  EXPECT_TRUE(DirExists("/run/link"));
  EXPECT_FALSE(DirExists("/tmp/file"));
  EXPECT_TRUE(FileExists("/tmp/file"));
  EXPECT_FALSE(FileExists("/tmp/none"));
  EXPECT_TRUE(SDCardMounted());
  Remove("/media/mmc");
  EXPECT_FALSE(SDCardMounted());
}

TEST_F(StorageTest, ADirectoryDatedBeyond32BitsIsStillOne) {
  ASSERT_EQ(mkdir("/tmp/late", 0700), 0);
  const timespec late[2] = {{2208988800, 0}, {2208988800, 0}};  // 2040
  ASSERT_EQ(utimensat(AT_FDCWD, "/tmp/late", late, 0), 0);
  EXPECT_TRUE(DirExists("/tmp/late"));
}

TEST_F(StorageTest, WritesReplaceAndMakeTheParent) {
  EXPECT_EQ(WriteToPath("/media/mmc/.ota/x", Bytes("long old content")), 0);
  EXPECT_EQ(WriteToPath("/media/mmc/.ota/x", Bytes(std::string("n\0w", 3))), 0);
  EXPECT_EQ(ReadText("/media/mmc/.ota/x"), std::string("n\0w", 3));
  EXPECT_THAT(log.Lines(), ElementsAre());
  EXPECT_EQ(WriteToPath("/bin2/file", {}), 1);
  EXPECT_EQ(WriteToPath("/media/mmc", {}), 1) << "a directory";
  EXPECT_THAT(log.Lines(),
              ElementsAre("Failed to create dir /bin2", "Failed to open file /media/mmc"));
}

TEST_F(StorageTest, PlainPathsMakePlainCommandLines) {
  EXPECT_EQ(CopyToPath("/tmp/a_1./@%+=:,-Z", "/tmp/b"), 0);
  EXPECT_EQ(RemovePath("/tmp/b"), 0);
  EXPECT_THAT(fakeShell.commands, ElementsAre("cp -a /tmp/b /tmp/a_1./@%+=:,-Z", "rm -f /tmp/b"));
  fakeShell.onCommand = [](const std::string&) { return false; };
  EXPECT_EQ(CopyToPath("/tmp/a", "/tmp/b"), 1);
  EXPECT_EQ(RemovePath("/tmp/b"), 1);
  fakeShell.commands.clear();
  EXPECT_EQ(CopyToPath("/none/a", "/tmp/b"), 1) << "no parent, no copy";
  EXPECT_THAT(fakeShell.commands, ElementsAre());
}

TEST_F(StorageTest, NoPathBreaksOutOfItsWord) {
  fakeShell.passThrough = true;
  for (const char* name :
       {"two words", "a;touch escaped", "$(touch escaped)", "`touch escaped`", "it's", "''", "a\nb",
        "*", "~", "back\\slash", "\"", "-n &", "\xc3\xa4"}) {
    const std::string path = std::string("/tmp/odd/") + name;
    WriteText("/tmp/source", name);
    EXPECT_EQ(CopyToPath(path, "/tmp/source"), 0);
    EXPECT_EQ(ReadText(path), name);
    EXPECT_EQ(RemovePath(path), 0);
    EXPECT_FALSE(Exists(path)) << name;
  }
  EXPECT_FALSE(Exists("escaped"));
  EXPECT_TRUE(Exists("/tmp/source"));
}
