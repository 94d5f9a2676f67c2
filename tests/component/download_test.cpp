#include "component/component.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DownloadTest : public DeviceTest {
 protected:
  const Component component = {"streamer", "engine", "/run/app/engine", "1.0", Md5("bytes")};
};

TEST_F(DownloadTest, OnlyAnAnswerForExactlyThisComponentIsUsed) {
  const char* const refused[] = {
      "",
      "<html>",
      "[]",
      "{}",
      R"({"data":"x"})",
      R"({"data":[]})",
      R"({"data":{"version":"1.0","url":"u"}})",
      R"({"data":{"filename":"engine2","version":"1.0","url":"u"}})",
      R"({"data":{"filename":"engine","version":"1.0a","url":"u"}})",
      R"({"data":{"filename":"engine","version":1.0,"url":"u"}})",
      R"({"data":{"filename":"engine","version":"1.0"}})",
      R"({"data":{"filename":"engine","version":"1.0","url":7}})",
      R"({"Data":{"filename":"engine","version":"1.0","url":"u"}})",
      R"({"data":{"filename":"Engine","filename":"engine","version":"1.0","url":"u"}})",
  };
  for (const char* body : refused) {
    std::string url = "as it was";
    EXPECT_EQ(component.ParseResponse(Bytes(body), url), 1) << body;
    EXPECT_EQ(url, "as it was") << body;
  }
  EXPECT_THAT(log.Lines(), IsEmpty());

  // Bounded by the body's length: what lies behind it in memory does not matter.
  std::string url;
  std::vector<char> body =
      Bytes(R"({"data":{"filename":"engine","version":"1.0","url":"https://x/y"},"more":[1]}])");
  body.pop_back();
  EXPECT_EQ(component.ParseResponse(body, url), 0);
  EXPECT_EQ(url, "https://x/y");
  EXPECT_THAT(log.Lines(),
              ElementsAre("Parsed component info: name engine, version 1.0, url https://x/y"));
}

TEST_F(DownloadTest, FetchesWritesAndVerifies) {
  StartCloud().SetFile("engine", "1.0", {"bytes"});
  EXPECT_EQ(component.DownloadToPath("/run/app/engine"), 0);
  EXPECT_EQ(ReadText("/run/app/engine"), "bytes");
  const std::string url = "https://cloud.test:8443/files/engine/1.0";
  EXPECT_THAT(log.Lines(),
              ElementsAre("Get download location from domain https://cloud.test:8443, status 0",
                          "Parsed component info: name engine, version 1.0, url " + url,
                          "Get response from url " + url + ", status 0",
                          "CheckIntegrity " + Md5("bytes") + " vs. " + Md5("bytes"),
                          "Downloaded component: name engine, version 1.0"));
}

TEST_F(DownloadTest, EachFailureSaysWhereAndLeavesTheRestAlone) {
  TestCloud& server = StartCloud();
  const auto lastLine = [this] { return log.Lines().back(); };
  WriteText("/run/app/engine", "old");

  server.Set("engine@1.0", {"<html>", 404});
  EXPECT_EQ(component.DownloadToPath("/run/app/engine"), 1);
  EXPECT_EQ(lastLine(), "Parse download url failed for component engine, response <html>");
  server.Set("engine@1.0", {""});
  EXPECT_EQ(component.DownloadToPath("/run/app/engine"), 1);
  EXPECT_EQ(lastLine(), "Parse download url failed for component engine, response ");
  server.SetFile("engine", "1.0", {"bytes", 200, "text/plain", 2});
  EXPECT_EQ(component.DownloadToPath("/run/app/engine"), 1);
  EXPECT_EQ(lastLine(), "GetResponse failed for component engine");
  EXPECT_EQ(ReadText("/run/app/engine"), "old");

  server.SetFile("engine", "1.0", {"bytes"});
  EXPECT_EQ(component.DownloadToPath("/app/engine"), 1);
  EXPECT_EQ(lastLine(), "WriteToPath failed for path /app/engine");
  server.SetFile("engine", "1.0", {"<html>not found</html>", 404});
  EXPECT_EQ(component.DownloadToPath("/run/app/engine"), 1);
  EXPECT_EQ(lastLine(), "CheckIntegrity failed for path /run/app/engine, checksum " + Md5("bytes"));
  EXPECT_EQ(ReadText("/run/app/engine"), "<html>not found</html>") << "nothing is removed";

  Remove("/etc/config/.user_config");
  EXPECT_EQ(component.DownloadToPath("/run/app/engine"), 1);
  EXPECT_THAT(log.Lines(),
              ElementsAre("GetDownloadLocation failed for component engine of process streamer"));
}

}  // namespace
