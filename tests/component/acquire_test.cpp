#include "component/component.h"
#include "component/storage.h"
#include "platform/log.h"
#include "tests/kit/device.h"

// What a copy of the component can hold before the operation.
const std::string absent, noCard = "no card", wrong = "other", right = "bytes";

struct AcquireTest : DeviceTest {
  // Command lines stand in the log, to be seen in one order with its lines.
  AcquireTest() {
    fakeShell.passThrough = true;
    fakeShell.onCommand = [](const std::string& command) { return Log("$ " + command), true; };
    StartCloud().SetFile("engine", "1.0", {right});
  }

  static void Put(const std::string& path, const std::string& copy) {
    Remove(path);
    if (copy != absent) WriteText(path, copy);
  }
  static std::string Check(const std::string& copy) {
    return "CheckIntegrity " + Md5(copy) + " vs. " + Md5(right) + "\n";
  }

  const Component component = {"streamer", "engine", "/run/app/engine", "1.0", Md5(right)};
  const std::string live = component.localpath;
  const std::string cache = CachedPath(live), slot = PreDownloadPath(live);
  const std::string bad = Check(wrong), good = Check(right);
  const std::string useCache = "$ cp -a " + cache + " " + live + "\n";
  const std::string useSlot = "$ cp -a " + slot + " " + live + "\n";
  const std::string fillCache = "$ cp -a " + live + " " + cache + "\n";
  const std::string found = "Found cached component: name engine, version 1.0\n";
  const std::string consumed =
      "Found pre-downloaded component: name engine, version 1.0\n$ rm -f " + slot + "\n";
  const std::string url = "https://cloud.test:8443/files/engine/1.0";
  const std::string download =
      "Get download location from domain https://cloud.test:8443, status 0\n"
      "Parsed component info: name engine, version 1.0, url " +
      url + "\n" + "Get response from url " + url + ", status 0\n" + good +
      "Downloaded component: name engine, version 1.0\n";
  const std::string failure =
      "Curl return code 7\nGet download location from domain https://cloud.test:8443, status 2\n"
      "GetDownloadLocation failed for component engine of process streamer\n";
};

TEST_F(AcquireTest, DownloadTakesTheFirstValidSource) {
  const struct {
    std::string inPlace, cached, fetched, logged;
  } rows[] = {{right, right, right, good + found},
              {wrong, right, right, bad + good + useCache + found},
              {absent, right, wrong, good + useCache + found},
              {wrong, wrong, right, bad + bad + good + useSlot + consumed},
              {wrong, wrong, wrong, bad + bad + bad + download + fillCache},
              {absent, absent, absent, download + fillCache},
              {wrong, noCard, wrong, bad + bad + download},
              {wrong, wrong, wrong, bad + bad + bad + failure},
              {absent, noCard, absent, failure}};
  for (const auto& [inPlace, cached, fetched, logged] : rows) {
    SCOPED_TRACE(logged);
    Remove("/media/mmc");
    if (cached != noCard) WriteText("/media/mmc/.keep", "");
    if (cached != noCard) Put(cache, cached);
    Put(live, inPlace);
    Put(slot, fetched);
    const bool fails = logged.find(failure) != std::string::npos;
    if (fails) cloud.reset();
    EXPECT_EQ(component.Download(), fails ? 1 : 0);
    EXPECT_EQ(log.Text(), logged);
    EXPECT_EQ(ReadText(live), fails ? inPlace : right);
    EXPECT_EQ(Exists("/media/mmc"), cached != noCard);
  }
}

TEST_F(AcquireTest, ACopyThatCannotBeStartedDoesNotCount) {
  Put(cache, right);
  Put(slot, right);
  EXPECT_TRUE(component.LocallyCached(false) && component.PreDownloaded(false));
  EXPECT_EQ(log.Text(), good + good);
  fakeShell.onCommand = [](const std::string& command) { return Log("$ " + command), false; };
  EXPECT_EQ(component.Download(), 0) << "the cloud is left, and an empty cache is no failure";
  EXPECT_EQ(log.Text(), good + useCache + good + useSlot + download + fillCache);
}

TEST_F(AcquireTest, PreDownloadFetchesUnlessTheDeviceHasTheFile) {
  for (const std::string& path : {live, cache, slot}) {
    Put(path, right);
    EXPECT_EQ(component.PreDownload(), 0);
    EXPECT_EQ(log.Text(), path == slot ? download : good);
    Remove(path);
  }
  cloud.reset();
  EXPECT_EQ(component.PreDownload(), 1);
  EXPECT_FALSE(Exists(live));
}
