#include "cloud/http_request.h"

#include <dlfcn.h>

#include "tests/cloud/curl_recorder.h"
#include "tests/cloud/test_cloud.h"
#include "tests/kit/device.h"

using testing::HasSubstr;

constexpr char fileUrl[] = "https://cloud.test:8443/file";

struct HttpRequestTest : DeviceTest {
  HttpRequestTest() { HttpRequest::mac = "0a1b2c3d4e5f"; }

  HttpRequest& client = *HttpRequest::Instance();
  std::vector<char> body = Bytes("left");
  const std::string identity =
      R"({"mac":"0a1b2c3d4e5f","enr":"BENCHTOKEN012345","sc":"5c0f3e9a7d214b68a1e2c7f09b3d6e45",)"
      R"("sv":"3f8b21c6e0d94a7f85b6c2d1e9a04f73","ts":"1731711234567",)";
};

struct TransferRow {
  const char* what;
  Answer answer = {};
  int code = 0;  // libcurl's
  std::string url = fileUrl;
  std::string served = "";   // which certificate the server has
  std::string trusted = "";  // which authority the device trusts
};

TEST_F(HttpRequestTest, ACompletedTransferIsASuccessAndAFailedOneKeepsWhatCame) {
  // More than memory holds; but a sanitizer ends the program there instead of throwing.
  const bool sanitized = dlsym(RTLD_DEFAULT, "__sanitizer_get_heap_size") != nullptr;
  const std::size_t most = std::numeric_limits<std::size_t>::max();
  const std::size_t huge = sanitized ? 1'000'000'000 : most >> (sizeof most == 8 ? 25 : 1);
  const TransferRow rows[] = {
      {"bytes", {std::string("\0\xff\r\n", 4), 200, "application/octet-stream"}},
      {"HTML page", {"<html>no such page</html>", 404, "text/html"}},
      {"JSON error", {R"({"error":"broken"})", 500}},
      {"nothing", {""}},
      {"3 MB", {std::string(3'000'000, 'x')}},
      {"redirect", {"elsewhere", 302}},
      {"cut short", {"0123", 200, "text/plain", 10}, 18},
      {"announced huge", {"0123", 200, "text/plain", huge}, 18},
      {"refused", {}, 7, "https://cloud.test:1/"},
      {"no such host", {}, 6, "https://nowhere.invalid/"},
      {"unknown authority", {}, 60, fileUrl, "-unknown"},
      {"another host's certificate", {}, 60, fileUrl, "-other", "-other"},
      {"no authority", {}, 77, fileUrl, "", "/none"}};
  for (const auto& [what, answer, code, url, served, trusted] : rows) {
    SCOPED_TRACE(what);
    TestCloud server(TOLVAR_TEST_CERTS + served);
    server.Set("/file", answer);
    server.Set("/moved", {"followed"});
    WriteText("/tmp/cacert.pem", ReadText(TOLVAR_TEST_CERTS + trusted + "/ca.pem"));
    std::vector<char> file = Bytes("left");
    EXPECT_EQ(HttpRequest::GetResponse(url, file), code == 0 ? 0 : 2);
    EXPECT_TRUE(file == Bytes(answer.body)) << file.size() << " bytes";
    EXPECT_TRUE(code != 0 || file.capacity() == std::max<std::size_t>(file.size(), 4));
    EXPECT_EQ(curlRecorder.calls.substr(curlRecorder.calls.rfind(' ')), " curl_global_cleanup");
    const std::string why = "Curl return code " + std::to_string(code) + "\n";
    EXPECT_EQ(log.Text(), (code == 0 ? "" : why) + "Get response from url " + url + ", status " +
                              (code == 0 ? "0\n" : "2\n"));
  }
}

TEST_F(HttpRequestTest, TheCallsOfATransfer) {
  EXPECT_EQ(HttpRequest::GetResponse(fileUrl, body), 2);
  EXPECT_EQ(curlRecorder.calls,
            " curl_global_init=3 curl_easy_init SSL_VERIFYPEER=1 SSL_VERIFYHOST=2"
            " CAINFO=/tmp/cacert.pem URL=https://cloud.test:8443/file TIMEOUT=120 WRITEFUNCTION="
            " WRITEDATA= curl_easy_perform curl_easy_cleanup curl_global_cleanup");
}

TEST_F(HttpRequestTest, TheCallsOfARequest) {
  const std::string text = identity + R"("version":"latest","processname":""})";
  EXPECT_EQ(client.GetProcesses("latest", body), 2);
  EXPECT_EQ(curlRecorder.calls,
            " curl_global_init=3 curl_easy_init SSL_VERIFYPEER=1 SSL_VERIFYHOST=2"
            " CAINFO=/tmp/cacert.pem URL=https://cloud.test:8443/device/process/get_processes"
            " POSTFIELDS=" +
                text + " POSTFIELDSIZE=" + std::to_string(text.size()) +
                " HTTPHEADER=[Expect:][Content-Type: application/json] TIMEOUT=30 WRITEFUNCTION="
                " WRITEDATA= curl_easy_perform curl_slist_free_all curl_easy_cleanup"
                " curl_global_cleanup");
}

TEST_F(HttpRequestTest, TheOtherRequestsHaveTheirOwnPathKeysAndLine) {
  EXPECT_EQ(client.GetProcess("lastknowngood", R"(a "b")", body), 2);
  EXPECT_THAT(curlRecorder.calls,
              HasSubstr(identity + R"("version":"lastknowngood","processname":"a \"b\""} )"));
  EXPECT_EQ(client.GetDownloadLocation("p", "f", "v", body), 2);
  EXPECT_THAT(curlRecorder.calls,
              HasSubstr(" URL=https://cloud.test:8443/device/process/get_download_location "
                        "POSTFIELDS=" +
                        identity + R"("processname":"p","filename":"f","version":"v"} )"));
  EXPECT_EQ(log.Text(),
            "Curl return code 7\nGet processes from domain https://cloud.test:8443, status 2\n"
            "Curl return code 7\n"
            "Get download location from domain https://cloud.test:8443, status 2\n");
}

TEST_F(HttpRequestTest, TheTokenIsReadAfreshAndNeeded) {
  WriteText("/etc/config/.user_config", "r_encr=renewed");
  EXPECT_EQ(client.GetProcesses("latest", body), 2);
  EXPECT_THAT(curlRecorder.calls, HasSubstr(R"("enr":"renewed")"));
  Remove("/etc/config/.user_config");
  body = Bytes("left");
  curlRecorder.calls.clear();
  (void)log.Text();
  EXPECT_EQ(client.GetProcesses("latest", body), 1);
  EXPECT_EQ(HttpRequest::enr, "renewed");
  EXPECT_EQ(body.size() + curlRecorder.calls.size() + log.Text().size(), 0U);
}

TEST_F(HttpRequestTest, WithoutAHandleTheGlobalStateStaysInitialised) {
  curlRecorder.noHandle = true;
  EXPECT_EQ(HttpRequest::GetResponse(fileUrl, body), 1);
  EXPECT_EQ(client.GetProcesses("latest", body), 1);
  EXPECT_EQ(curlRecorder.calls, " curl_global_init=3 curl_global_init=3");
  EXPECT_EQ(body.size() + log.Text().size(), 0U);
}

TEST_F(HttpRequestTest, TheCallbackAppendsAndRefusesWhatMemoryDoesNotHold) {
  EXPECT_EQ(WriteBodyCallback("abcdef", 2, 3, &body), 6U);
  EXPECT_EQ(WriteBodyCallback("x", body.max_size(), 1, &body), 0U);
  EXPECT_EQ(body, Bytes("leftabcdef"));
}
