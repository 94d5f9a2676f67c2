#include "component/component.h"
#include "tests/kit/device.h"

using DownloadTest = DeviceTest;

TEST_F(DownloadTest, OnlyAnAnswerForExactlyThisComponentIsUsed) {
  const Component component = {"streamer", "engine", "/run/app/engine", "1.0", Md5("bytes")};
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
