#include "component/component.h"
#include "component/storage.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What a copy of the component can be before the operation.
enum Copy { absent, wrong, right };
constexpr Copy allCopies[] = {absent, wrong, right};

class AcquireTest : public DeviceTest {
 protected:
  AcquireTest() { fakeShell.passThrough = true; }

  void Put(const std::string& path, Copy copy) {
    Remove(path);
    if (copy != absent) WriteText(path, copy == right ? "bytes" : "other");
  }
  [[nodiscard]] bool Logged(const std::string& line) {
    for (const std::string& logged : log.Lines()) {
      if (logged == line) return true;
    }
    return false;
  }

  const Component component = {"streamer", "engine", "/run/app/engine", "1.0", Md5("bytes")};
  const std::string live = component.localpath;
  const std::string cache = CachedPath(live);
  const std::string slot = PreDownloadPath(live);
};

// Every combination of the three copies, with and without a card and a cloud, against what must
// hold afterwards.
TEST_F(AcquireTest, DownloadTakesTheFirstValidSource) {
  for (int round = 0; round < 108; ++round) {
    const Copy inPlace = allCopies[round % 3];
    const Copy cached = allCopies[round / 3 % 3];
    const Copy fetched = allCopies[round / 9 % 3];
    const bool card = round / 27 % 2 == 0;
    const bool cloudUp = round / 54 == 0;
    SCOPED_TRACE(testing::Message()
                 << inPlace << cached << fetched << " card " << card << " cloud " << cloudUp);
    if (cloudUp && !cloud) StartCloud().SetFile("engine", "1.0", {"bytes"});
    if (!cloudUp) cloud.reset();
    Remove("/media/mmc");
    if (card) WriteText("/media/mmc/.keep", "");
    Put(live, inPlace);
    if (card) Put(cache, cached);
    Put(slot, fetched);
    (void)log.Lines();

    const bool fromCache = inPlace == right || (card && cached == right);
    const bool fromSlot = !fromCache && fetched == right;
    const bool fromCloud = !fromCache && !fromSlot && cloudUp;
    ASSERT_EQ(component.Download(), fromCache || fromSlot || fromCloud ? 0 : 1);

    const std::vector<std::string> lines = log.Lines();
    const auto logged = [&lines](const std::string& line) {
      return std::count(lines.begin(), lines.end(), line) == 1;
    };
    EXPECT_EQ(logged("Found cached component: name engine, version 1.0"), fromCache);
    EXPECT_EQ(logged("Found pre-downloaded component: name engine, version 1.0"), fromSlot);
    EXPECT_EQ(logged("Downloaded component: name engine, version 1.0"), fromCloud);
    if (fromCache || fromSlot || fromCloud) {
      EXPECT_EQ(ReadText(live), "bytes");
    }
    EXPECT_EQ(Exists(slot), fetched != absent && !fromSlot) << "consumed only when used";
    if (card && fromCloud) {
      EXPECT_EQ(ReadText(cache), "bytes");
    }
    EXPECT_EQ(Exists("/media/mmc"), card);
  }
}

TEST_F(AcquireTest, PreDownloadFetchesUnlessTheDeviceHasTheFile) {
  TestCloud& server = StartCloud();
  server.SetFile("engine", "1.0", {"bytes"});
  for (const std::string& path : {live, cache}) {
    Put(path, right);
    EXPECT_EQ(component.PreDownload(), 0);
    Remove(path);
  }
  EXPECT_THAT(server.Asked(), IsEmpty());

  for (const Copy before : allCopies) {
    Put(live, wrong);
    Put(slot, before);
    EXPECT_EQ(component.PreDownload(), 0);
    EXPECT_THAT(server.Asked(), ElementsAre("engine@1.0", "/files/engine/1.0")) << before;
    EXPECT_EQ(ReadText(slot), "bytes");
    EXPECT_EQ(ReadText(live), "other");
  }
  EXPECT_THAT(fakeShell.commands, IsEmpty());
  server.Set("/files/engine/1.0", {"other"});
  EXPECT_EQ(component.PreDownload(), 1);
}

TEST_F(AcquireTest, ACopyThatCannotBeStartedDoesNotCount) {
  Put(cache, right);
  Put(slot, right);
  fakeShell.onCommand = [](const std::string& command) { return command.rfind("cp", 0) != 0; };
  EXPECT_TRUE(component.LocallyCached(false));
  EXPECT_FALSE(component.LocallyCached(true));
  EXPECT_TRUE(component.PreDownloaded(false));
  EXPECT_EQ(component.Download(), 1);
  EXPECT_TRUE(Logged("GetDownloadLocation failed for component engine of process streamer"));
  EXPECT_THAT(fakeShell.commands,
              ElementsAre("cp -a " + cache + " " + live, "cp -a " + cache + " " + live,
                          "cp -a " + slot + " " + live));
}

}  // namespace
