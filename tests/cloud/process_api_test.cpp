// What is posted to the process API, and what its calls leave in the log.
#include <cjson/cJSON.h>

#include "cloud/http_request.h"
#include "tests/cloud/curl_recorder.h"
#include "tests/kit/device.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

const std::string tokenPath = "/etc/config/.user_config";

struct ProcessApiTest : DeviceTest {
  ProcessApiTest() {
    HttpRequest::mac = "0a1b2c3d4e5f";
    curlRecorder.answer = [](const CurlRequest&) { return CurlAnswer{"answer", CURLE_OK}; };
  }
  // The one transfer that there was.
  static CurlRequest Posted() {
    EXPECT_EQ(curlRecorder.requests.size(), 1U);
    return curlRecorder.requests.empty() ? CurlRequest() : curlRecorder.requests[0];
  }

  HttpRequest& client = *HttpRequest::Instance();
  std::vector<char> body = Bytes("left");
  // How each request begins.
  const std::string identity =
      R"({"mac":"0a1b2c3d4e5f","enr":"BENCHTOKEN012345","sc":"5c0f3e9a7d214b68a1e2c7f09b3d6e45",)"
      R"("sv":"3f8b21c6e0d94a7f85b6c2d1e9a04f73","ts":"1731711234567",)";
};

TEST_F(ProcessApiTest, AllProcessesAreAskedForWithAnEmptyName) {
  EXPECT_EQ(client.GetProcesses("latest", body), 0);
  EXPECT_EQ(Posted().url, "https://cloud.test:8443/device/process/get_processes");
  EXPECT_EQ(Posted().json, identity + R"("version":"latest","processname":""})");
  EXPECT_EQ(log.Text(), "Get processes from domain https://cloud.test:8443, status 0\n");
}

TEST_F(ProcessApiTest, OneProcessIsAskedForByItsName) {
  EXPECT_EQ(client.GetProcess("lastknowngood", R"(a "b")", body), 0);
  EXPECT_EQ(Posted().url, "https://cloud.test:8443/device/process/get_processes");
  EXPECT_EQ(Posted().json, identity + R"("version":"lastknowngood","processname":"a \"b\""})");
  EXPECT_EQ(log.Text(), "Get processes from domain https://cloud.test:8443, status 0\n");
}

TEST_F(ProcessApiTest, ALocationIsAskedForByProcessFileAndVersion) {
  EXPECT_EQ(client.GetDownloadLocation("p", "f", "v", body), 0);
  EXPECT_EQ(Posted().url, "https://cloud.test:8443/device/process/get_download_location");
  EXPECT_EQ(Posted().json, identity + R"("processname":"p","filename":"f","version":"v"})");
  EXPECT_EQ(log.Text(), "Get download location from domain https://cloud.test:8443, status 0\n");
}

TEST_F(ProcessApiTest, TheTokenIsReadAfreshForEachRequest) {
  HttpRequest::enr = "old";
  WriteText(tokenPath, "r_encr=renewed");
  EXPECT_EQ(client.GetProcesses("latest", body), 0);
  EXPECT_THAT(Posted().json, HasSubstr(R"("enr":"renewed")"));
  EXPECT_EQ(HttpRequest::enr, "renewed");
}

TEST_F(ProcessApiTest, WithoutATokenNothingIsAsked) {
  HttpRequest::enr = "old";
  Remove(tokenPath);
  EXPECT_EQ(client.GetProcesses("latest", body), 1);
  EXPECT_EQ(HttpRequest::enr, "old");
  EXPECT_THAT(body, IsEmpty());
  EXPECT_THAT(curlRecorder.calls, IsEmpty());
  EXPECT_EQ(log.Text(), "");
}

int jsonToCome = 0;  // allocations of cJSON's, before one fails

void* AllocateButOne(std::size_t size) { return jsonToCome-- == 0 ? nullptr : std::malloc(size); }

// Else a request would be sent that lacks one of its keys.
TEST_F(ProcessApiTest, WithoutMemoryForAnyOfTheTextNothingIsAsked) {
  cJSON_Hooks hooks = {AllocateButOne, std::free};
  cJSON_InitHooks(&hooks);
  int failing = 0;
  for (bool allCame = false; !allCame; ++failing) {
    SCOPED_TRACE(failing);
    jsonToCome = failing;
    const int result = client.GetProcesses("latest", body);
    allCame = jsonToCome >= 0;
    EXPECT_EQ(result, allCame ? 0 : 1);
    EXPECT_EQ(curlRecorder.calls.empty(), !allCame);
  }
  EXPECT_GT(failing, 3 * 7) << "an item, its key and its text for each member";
}

}  // namespace
