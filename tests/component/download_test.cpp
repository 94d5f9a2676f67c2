#include "component/component.h"
#include "tests/kit/device.h"

struct DownloadTest : DeviceTest {
  // The last line of an attempt, which must fail.
  std::string Failure(const std::string& path = "/run/app/engine") {
    EXPECT_EQ(component.DownloadToPath(path), 1);
    return log.Lines().back();
  }
  const Component component = {"streamer", "engine", "/run/app/engine", "1.0", Md5("bytes")};
};

TEST_F(DownloadTest, OnlyAnAnswerForExactlyThisComponentIsUsed) {
  const char* const refused[] = {
      "",
      R"({"data":{"version":"1.0","url":"u"}})",
      R"({"data":{"filename":"engine2","version":"1.0","url":"u"}})",
      R"({"data":{"filename":"engine","version":"1.0a","url":"u"}})",
      R"({"data":{"filename":"engine","version":1.0,"url":"u"}})",
      R"({"data":{"filename":"engine","version":"1.0"}})",
      R"({"data":{"filename":"engine","version":"1.0","url":7}})",
      R"({"Data":{"filename":"engine","version":"1.0","url":"u"}})",
      R"({"data":{"filename":"Engine","filename":"engine","version":"1.0","url":"u"}})"};
  std::string url = "before";
  for (const char* text : refused) EXPECT_EQ(component.ParseResponse(Bytes(text), url), 1) << text;
  const std::string whole = R"({"data":{"filename":"engine","version":"1.0","url":"u"}})";
  std::vector<char> body = Bytes(whole + '\0');
  body.resize(whole.size() - 1);
  EXPECT_EQ(component.ParseResponse(body, url), 1) << "complete only beyond its end";
  EXPECT_EQ(url, "before");
  EXPECT_EQ(log.Text(), "");
  EXPECT_EQ(component.ParseResponse(Bytes(whole + "]"), url), 0) << "what follows is ignored";
  EXPECT_EQ(url, "u");
}

TEST_F(DownloadTest, EachFailureSaysWhereAndLeavesTheRestAlone) {
  TestCloud& server = StartCloud();
  WriteText("/run/app/engine", "old");
  server.Set("engine@1.0", {"<html>", 404});
  EXPECT_EQ(Failure(), "Parse download url failed for component engine, response <html>");
  server.SetFile("engine", "1.0", {"byt", 200, "text/plain", 5});
  EXPECT_EQ(Failure(), "GetResponse failed for component engine");
  server.SetFile("engine", "1.0", {"bytes"});
  EXPECT_EQ(Failure("/app/engine"), "WriteToPath failed for path /app/engine");
  EXPECT_EQ(ReadText("/run/app/engine"), "old");
  server.SetFile("engine", "1.0", {"<html>", 404});
  EXPECT_EQ(Failure(), "CheckIntegrity failed for path /run/app/engine, checksum " + Md5("bytes"));
  EXPECT_EQ(ReadText("/run/app/engine"), "<html>") << "nothing is removed";
}
