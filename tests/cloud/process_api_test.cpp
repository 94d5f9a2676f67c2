#include "cloud/http_request.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ProcessApiTest : public DeviceTest {
 protected:
  ProcessApiTest() { HttpRequest::mac = "0a1b2c3d4e5f"; }
  const std::string identity =
      R"({"mac":"0a1b2c3d4e5f","enr":"BENCHTOKEN012345","sc":"5c0f3e9a7d214b68a1e2c7f09b3d6e45",)"
      R"("sv":"3f8b21c6e0d94a7f85b6c2d1e9a04f73","ts":"1731711234567",)";
  std::vector<char> body;
};

TEST_F(ProcessApiTest, RequestsCarryTheirKeysInOrder) {
  TestCloud& server = StartCloud();
  HttpRequest& client = *HttpRequest::Instance();

  EXPECT_EQ(client.GetProcesses("latest", body), 0);
  EXPECT_EQ(server.LastRequest().path, processesPath);
  EXPECT_EQ(server.LastRequest().body, identity + R"("version":"latest","processname":""})");
  EXPECT_EQ(client.GetProcess("lastknowngood", R"(a "b")", body), 0);
  EXPECT_EQ(server.LastRequest().body,
            identity + R"("version":"lastknowngood","processname":"a \"b\""})");
  EXPECT_THAT(log.Lines(),
              ElementsAre("Get processes from domain https://cloud.test:8443, status 0",
                          "Get processes from domain https://cloud.test:8443, status 0"));

  EXPECT_EQ(client.GetDownloadLocation("p", "f", "v", body), 0);
  const Request request = server.LastRequest();
  EXPECT_EQ(request.path, locationPath);
  EXPECT_EQ(request.body, identity + R"("processname":"p","filename":"f","version":"v"})");
  EXPECT_EQ(request.contentType, "application/json");
  EXPECT_FALSE(request.expects);
  EXPECT_THAT(log.Lines(),
              ElementsAre("Get download location from domain https://cloud.test:8443, status 0"));
}

TEST_F(ProcessApiTest, AnErrorAnswerIsABody) {
  StartCloud().Set("latest ", {R"({"error":1})", 500});
  EXPECT_EQ(HttpRequest::Instance()->GetProcesses("latest", body), 0);
  EXPECT_EQ(std::string(body.begin(), body.end()), R"({"error":1})");
}

TEST_F(ProcessApiTest, TheTokenIsReadAfreshAndNeeded) {
  TestCloud& server = StartCloud();
  WriteText("/etc/config/.user_config", "r_encr=renewed\n");
  EXPECT_EQ(HttpRequest::Instance()->GetProcesses("latest", body), 0);
  EXPECT_THAT(server.LastRequest().body, testing::HasSubstr(R"("enr":"renewed")"));
  EXPECT_FALSE(body.empty());
  (void)server.Asked();
  (void)log.Lines();

  Remove("/etc/config/.user_config");
  EXPECT_EQ(HttpRequest::Instance()->GetProcesses("latest", body), 1);
  EXPECT_TRUE(body.empty());
  EXPECT_EQ(HttpRequest::enr, "renewed");
  EXPECT_THAT(server.Asked(), IsEmpty());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ProcessApiTest, AFailedTransferSaysWhy) {
  WriteText("/tmp/cacert.pem", ReadText(TOLVAR_TEST_CERTS "/ca.pem"));
  EXPECT_EQ(HttpRequest::Instance()->GetDownloadLocation("p", "f", "v", body), 2);
  EXPECT_THAT(log.Lines(),
              ElementsAre("Curl return code 7",
                          "Get download location from domain https://cloud.test:8443, status 2"));
}

}  // namespace
