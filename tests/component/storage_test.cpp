#include "component/slots.h"
#include "platform/files.h"
#include "tests/kit/device.h"

using StorageTest = DeviceTest;

TEST_F(StorageTest, Paths) {
  EXPECT_EQ(CachedPath("/usr/bin/app"), "/media/mmc/.ota/a28685bd");
  EXPECT_EQ(CachedPath("/opt/92074"), "/media/mmc/.ota/828e");
  EXPECT_EQ(CachedPath("/media/\xc3\xa4\xf6\xfc"), "/media/mmc/.ota/b8cf08db");
  // On the target it is the library's own hash.
  for (std::string s; sizeof(std::size_t) == 4 && s.size() < 300; s += char(s.size() * 37)) {
    EXPECT_EQ(std::stoul(CachedPath(s).substr(16), nullptr, 16), std::hash<std::string>()(s));
  }
  EXPECT_EQ(ParentPath("/a/.b/1") + ParentPath("/c") + ParentPath("d") + ParentPath("/e/f/"),
            "/a/.b./e/f");
}

TEST_F(StorageTest, DirectoriesAreMadePrivateAndOnlyWhenMissing) {
  WriteText("/tmp/file", "");
  EXPECT_EQ(CreateDir("/tmp/a/b"), 0);
  EXPECT_EQ(std::system("test \"$(stat -c %a /tmp/a /tmp/a/b | xargs)\" = '700 700'"), 0);
  for (const char* path : {"/tmp/a/b", "/a", "/tmp/file/a"}) EXPECT_EQ(CreateDir(path), 1) << path;
  EXPECT_EQ(CopyToPath("/tmp/file/a/b", "/tmp/file"), 1);
  EXPECT_EQ(WriteToPath("/under-the-root/file", {}), 1);
  EXPECT_EQ(log.Text(), "Failed to create dir /under-the-root\n");
}

TEST_F(StorageTest, DatesAndSizesBeyond32BitsAreNoObstacle) {
  EXPECT_EQ(std::system("truncate -s 3G /tmp/x; ln -s /tmp /run/l; touch -d 2040-01-01 /tmp"), 0);
  EXPECT_TRUE(DirExists("/run/l") && FileExists("/tmp/x") && !DirExists("/tmp/x"));
  const std::string text("n\0w", 3);
  EXPECT_TRUE(WriteToPath("/tmp/x", Bytes(text)) == 0 && ReadText("/tmp/x") == text);
}

TEST_F(StorageTest, NoPathBreaksOutOfItsWordAndAPlainOneStays) {
  fakeShell.passThrough = true;
  WriteText("/tmp/odd/'x", "x");
  for (const char* name : {"a b", "a;id", "$(id)", "`id`", "it's", "''", "a\nb", "*", "~",
                           "back\\slash", "\"", "-n&", "\xc3\xa4", "a_1.@%+=:,-Z"}) {
    const std::string path = std::string("/tmp/odd/") + name;
    EXPECT_EQ(CopyToPath(path, "/tmp/odd/'x"), 0);
    EXPECT_EQ(ReadText(path), "x") << name;
    EXPECT_EQ(RemovePath(path), 0);
    EXPECT_FALSE(Exists(path)) << name;
  }
  EXPECT_EQ(fakeShell.commands.back(), "rm -f /tmp/odd/a_1.@%+=:,-Z");
  fakeShell.onCommand = [](const std::string&) { return false; };
  EXPECT_EQ(RemovePath("/tmp/x"), 1);
}

TEST_F(StorageTest, AProgramThatIsStillDyingIsWaitedForTwoSeconds) {
  fakeShell.passThrough = true;
  WriteText("/tmp/new", "new");
  EXPECT_EQ(std::system("cp /bin/sleep /tmp/app; /tmp/app 60 & until pgrep -x app; do :; done"), 0);
  fakeClock.onSleep = [waits = 0]() mutable {
    EXPECT_EQ(std::system(++waits == 203 ? "pkill -9 -x app" : ":"), 0);
  };
  EXPECT_EQ(WriteToPath("/tmp/app", {}), 1) << "given up after 200 waits";
  EXPECT_EQ(CopyToPath("/tmp/app", "/tmp/new"), 0);
  EXPECT_EQ(ReadText("/tmp/app"), "new");
}
