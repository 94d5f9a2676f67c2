#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include "cloud/http_request.h"
#include "tests/kit/device.h"

namespace {

using TransportTest = DeviceTest;
using testing::ElementsAre;

constexpr char fileUrl[] = "https://cloud.test:8443/file";

std::string StatusLine(const std::string& url, int status) {
  return "Get response from url " + url + ", status " + std::to_string(status);
}

TEST_F(TransportTest, ACompletedTransferIsASuccessWhateverItsStatus) {
  TestCloud& server = StartCloud();
  const Answer answers[] = {
      {"bytes"},
      {"<html>no such page</html>", 404, "text/html"},
      {R"({"error":"broken"})", 500},
      {""},
      {std::string("\0\xff\r\n", 4), 200, "application/octet-stream"},
      {std::string(3'000'000, 'x')},
      {"moved", 302},
  };
  for (const Answer& answer : answers) {
    server.Set("/file", answer);
    std::vector<char> body = Bytes("what the last call left");
    EXPECT_EQ(HttpRequest::GetResponse(fileUrl, body), 0) << answer.status;
    EXPECT_EQ(std::string(body.begin(), body.end()), answer.body);
    EXPECT_THAT(log.Lines(), ElementsAre(StatusLine(fileUrl, 0)));
  }
}

TEST_F(TransportTest, AFailedTransferSaysWhy) {
  const struct {
    const char* what;
    std::string certs;  // of the server; "" for none
    std::string trusted;
    std::string url;
    int code;
  } cases[] = {
      {"refused", "", "", fileUrl, 7},
      {"no such host", "", "", "https://nowhere.invalid/", 6},
      {"unknown CA", "-unknown", "", fileUrl, 60},
      {"wrong host name", "-other", "-other", fileUrl, 60},
      {"no CA file", "", "/none", fileUrl, 77},
      {"not a URL", "", "", "engine", 6},
      {"unknown protocol", "", "", "gopherus://cloud.test/", 1},
  };
  for (const auto& [what, certs, trusted, url, code] : cases) {
    SCOPED_TRACE(what);
    std::unique_ptr<TestCloud> server;
    if (!certs.empty() || trusted == "/none") {
      server = std::make_unique<TestCloud>(TOLVAR_TEST_CERTS + certs);
    }
    Remove("/tmp/cacert.pem");
    if (trusted != "/none") {
      WriteText("/tmp/cacert.pem", ReadText(TOLVAR_TEST_CERTS + trusted + "/ca.pem"));
    }
    std::vector<char> body = Bytes("old");
    EXPECT_EQ(HttpRequest::GetResponse(url, body), 2);
    EXPECT_TRUE(body.empty());
    EXPECT_THAT(log.Lines(),
                ElementsAre("Curl return code " + std::to_string(code), StatusLine(url, 2)));
  }
}

TEST_F(TransportTest, ABodyCutShortIsAFailureThatKeepsWhatCame) {
  StartCloud().Set("/file", {"0123456789", 200, "text/plain", 4});
  std::vector<char> body;
  EXPECT_EQ(HttpRequest::GetResponse(fileUrl, body), 2);
  EXPECT_EQ(std::string(body.begin(), body.end()), "0123");
  EXPECT_THAT(log.Lines(), ElementsAre("Curl return code 18", StatusLine(fileUrl, 2)));
}

TEST_F(TransportTest, TheCallbackAppendsAndCounts) {
  std::vector<char> body = Bytes("ab");
  EXPECT_EQ(WriteBodyCallback("cdefgh", 2, 3, &body), 6U);
  EXPECT_EQ(WriteBodyCallback(nullptr, 1, 0, &body), 0U);
  EXPECT_EQ(std::string(body.begin(), body.end()), "abcdefgh");
  // More than memory holds is refused instead of thrown.
  EXPECT_EQ(WriteBodyCallback("x", body.max_size(), 1, &body), 0U);
  EXPECT_EQ(body.size(), 8U);
}

TEST_F(TransportTest, ThereIsOneClient) {
  HttpRequest* first = HttpRequest::Instance();
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(HttpRequest::Instance(), first);
}

}  // namespace
