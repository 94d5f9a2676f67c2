#include "component/storage.h"

#include "tests/kit/device.h"

using StorageTest = DeviceTest;
using testing::ElementsAre;

TEST_F(StorageTest, Paths) {
  const char* const slots[][2] = {{"", "edd39288"},
                                  {"/usr/bin/app", "a28685bd"},
                                  {"/usr/bin/apps", "abd6018c"},
                                  {"/opt/92074", "828e"},
                                  {"/media/\xc3\xa4\xf6\xfc", "b8cf08db"}};
  for (const auto& [path, slot] : slots) {
    EXPECT_EQ(CachedPath(path), std::string("/media/mmc/.ota/") + slot) << path;
  }
  // On the target it is the library's own hash.
  for (std::string s; sizeof(std::size_t) == 4 && s.size() < 300; s += char(s.size() * 37)) {
    EXPECT_EQ(std::stoul(CachedPath(s).substr(16), nullptr, 16), std::hash<std::string>()(s));
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
  EXPECT_EQ(WriteToPath("/under-the-root/file", {}), 1);
  EXPECT_EQ(log.Text(), "Failed to create dir /under-the-root\n");
}

TEST_F(StorageTest, DatesAndSizesBeyond32BitsAreNoObstacle) {
  EXPECT_EQ(std::system("truncate -s 3G /tmp/x; ln -s /tmp /run/l; touch -d 2040-01-01 /tmp"), 0);
  EXPECT_TRUE(DirExists("/run/l") && FileExists("/tmp/x") && !DirExists("/tmp/x"));
  const std::string text("n\0w", 3);
  EXPECT_TRUE(WriteToPath("/tmp/x", Bytes(text)) == 0 && ReadText("/tmp/x") == text);
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
