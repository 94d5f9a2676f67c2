#include "component/component.h"
#include "tests/kit/device.h"

using DownloadTest = DeviceTest;

TEST_F(DownloadTest, OnlyAnAnswerForExactlyThisComponentIsUsed) {
  const Component component = {"streamer", "engine", "/run/app/engine", "1.0", ""};
  const std::string good = R"({"data":{"filename":"engine","version":"1.0","url":"u"}})";
  std::istringstream rows(  // a part of it and what spoils it there
      R"(data Data  filename Filename  engine engine2  version v  1.0 1.0a  "1.0" 1.0)"
      R"(  url Url  "u" 7  {"f {"filename":"Engine","f)");
  std::string url = "before";
  for (std::string part, wrong; rows >> part >> wrong;) {
    std::string text = good;
    (void)text.replace(text.find(part), part.size(), wrong);
    EXPECT_EQ(component.ParseResponse(Bytes(text), url), 1) << text;
  }
  std::vector<char> body = Bytes(good + '\0');
  body.resize(good.size() - 1);
  EXPECT_EQ(component.ParseResponse(body, url), 1) << "complete only beyond its end";
  EXPECT_EQ(url + log.Text(), "before");
  EXPECT_EQ(component.ParseResponse(Bytes(good + "]"), url), 0) << "what follows is ignored";
  EXPECT_EQ(url, "u");
}
