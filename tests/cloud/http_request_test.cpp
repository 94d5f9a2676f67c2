#include "cloud/http_request.h"

#include <dlfcn.h>

#include "tests/cloud/curl_recorder.h"
#include "tests/cloud/fault_server.h"
#include "tests/kit/device.h"

using std::chrono::milliseconds, std::chrono::steady_clock, testing::EndsWith, testing::HasSubstr;

constexpr char fileUrl[] = "https://cloud.test:8443/file";
const std::string ask = "tls|hear|>", ok = ask + "HTTP/1.1 200 OK\n", length = "Content-Length: ";
const std::string four = length + "4\n\n0123", begun = ok + length + "4\n\n";
const std::string chunks = ok + "Transfer-Encoding: chunked\n\n";

struct HttpRequestTest : DeviceTest {
  HttpRequestTest() {
    HttpRequest::mac = "0a1b2c3d4e5f";
    Trust("/ca.pem");
  }
  // Has the device trust the one of the build's certificates; with a wrong name, an empty file.
  static void Trust(const std::string& name) {
    WriteText("/tmp/cacert.pem", ReadText(TOLVAR_TEST_CERTS + name));
  }

  static std::string Calls() {
    std::string text;
    for (const std::string& call : curlRecorder.calls) text += " " + call;
    return text;
  }

  // Meets each script as the server of a file and of the API: libcurl's code, what comes of a body.
  void Expect(int code, const std::string& whole, const std::vector<std::string>& scripts) {
    for (std::size_t row = 0; row < 2 * scripts.size(); ++row) {
      const std::string& script = scripts[row / 2];
      SCOPED_TRACE(script.substr(0, 99));
      (void)log.Text();  // of what failed before
      const bool isFile = row % 2 == 0, isTimed = code == 28 || script.find('~') < script.size();
      const long limit = sizeof limit == 8 ? 360 : 480, unit = limit / (isFile ? 120 : 30);
      curlRecorder.second = isTimed ? unit : 1000;
      auto server = script.empty() ? nullptr : std::make_unique<FaultServer>(script);
      std::vector<char> came = Bytes("left");
      const auto start = steady_clock::now();
      const int result =
          isFile ? HttpRequest::GetResponse(fileUrl, came) : client.GetProcesses("latest", came);
      const auto beyond = steady_clock::now() - start - milliseconds(code == 28 ? limit : 0);
      EXPECT_EQ(log.Text(), (code == 0 ? "" : "Curl return code " + std::to_string(code) + "\n") +
                                (isFile ? "Get response from url https://cloud.test:8443/file"
                                        : "Get processes from domain https://cloud.test:8443") +
                                (code == 0 ? ", status 0\n" : ", status 2\n"));
      EXPECT_EQ(result, code == 0 ? 0 : 2);
      EXPECT_TRUE(beyond > milliseconds(-5) && beyond < milliseconds(9999)) << beyond.count();
      const std::size_t size = code == 28 && !came.empty() ? came.size() : whole.size();
      EXPECT_TRUE(whole.compare(0, size, came.data(), came.size()) == 0) << came.size() << " bytes";
      // A short one had room enough before, or came in steps.
      EXPECT_TRUE(code != 0 || came.size() < 9 || came.capacity() == came.size() + 1);
      EXPECT_THAT(Calls(), EndsWith(" curl_easy_cleanup curl_global_cleanup"));
    }
  }

  HttpRequest& client = *HttpRequest::Instance();
  std::vector<char> body = Bytes("left");
  const std::string identity =
      R"({"mac":"0a1b2c3d4e5f","enr":"BENCHTOKEN012345","sc":"5c0f3e9a7d214b68a1e2c7f09b3d6e45",)"
      R"("sv":"3f8b21c6e0d94a7f85b6c2d1e9a04f73","ts":"1731711234567",)";
};

TEST_F(HttpRequestTest, TheCallsOfATransferAndOfARequest) {
  EXPECT_EQ(HttpRequest::GetResponse(fileUrl, body) + client.GetProcesses("latest", body), 4);
  const std::string text = identity + R"("version":"latest","processname":""})";
  const std::string start =
      " curl_global_init=3 curl_easy_init SSL_VERIFYPEER=1 SSL_VERIFYHOST=2"
      " CAINFO=/tmp/cacert.pem URL=https://cloud.test:8443/";
  EXPECT_EQ(Calls(),
            start +
                "file TIMEOUT=120 WRITEFUNCTION= WRITEDATA= curl_easy_perform"
                " curl_easy_cleanup curl_global_cleanup" +
                start + "device/process/get_processes POSTFIELDS=" + text +
                " POSTFIELDSIZE=" + std::to_string(text.size()) +
                " HTTPHEADER=[Expect:][Content-Type: application/json] TIMEOUT=30 WRITEFUNCTION="
                " WRITEDATA= curl_easy_perform curl_slist_free_all curl_easy_cleanup"
                " curl_global_cleanup");
}

TEST_F(HttpRequestTest, TheOtherRequestsHaveTheirOwnPathKeysAndLine) {
  EXPECT_EQ(client.GetProcess("lastknowngood", R"(a "b")", body), 2);
  EXPECT_THAT(Calls(),
              HasSubstr(identity + R"("version":"lastknowngood","processname":"a \"b\""} )"));
  EXPECT_EQ(client.GetDownloadLocation("p", "f", "v", body), 2);
  EXPECT_THAT(Calls(), HasSubstr("/device/process/get_download_location POSTFIELDS=" + identity +
                                 R"("processname":"p","filename":"f","version":"v"} )"));
  EXPECT_THAT(log.Text(),
              EndsWith("\nGet download location from domain https://cloud.test:8443, status 2\n"));
}

TEST_F(HttpRequestTest, TheTokenIsReadAfreshAndNeeded) {
  WriteText("/etc/config/.user_config", "r_encr=renewed");
  EXPECT_EQ(client.GetProcesses("latest", body), 2);
  EXPECT_THAT(Calls(), HasSubstr(R"("enr":"renewed")"));
  Remove("/etc/config/.user_config");
  body = Bytes("left");
  curlRecorder.calls.clear();
  (void)log.Text();
  EXPECT_EQ(client.GetProcesses("latest", body), 1);
  EXPECT_EQ(HttpRequest::enr, "renewed");
  EXPECT_EQ(body.size() + Calls().size() + log.Text().size(), 0U);
}

TEST_F(HttpRequestTest, WithoutAHandleTheGlobalStateStaysInitialised) {
  curlRecorder.noHandle = true;
  EXPECT_EQ(HttpRequest::GetResponse(fileUrl, body), 1);
  EXPECT_EQ(client.GetProcesses("latest", body), 1);
  EXPECT_EQ(Calls(), " curl_global_init=3 curl_global_init=3");
  EXPECT_EQ(body.size() + log.Text().size(), 0U);
}

TEST_F(HttpRequestTest, NothingComesWithoutATrustedConnection) {
  Expect(7, "", {""});
  Expect(28, "", {"deaf", "stall", "tls|stall"});
  {
    const FaultServer full("deaf");
    Expect(28, "", {"", ""});  // but for the first, these do not even connect
  }
  Expect(35, "", {"hear", "hear|rst", "hear|>HTTP/1.1 400 No\n" + four, "hear|fill 99"});
  Expect(60, "",
         {"tls /server -2 -1|hear", "tls /server 1 2|hear", "tls -unknown/server|hear",
          "tls -unknown/ca|hear"});
  Expect(0, "0123", {"tls /server -1 1|hear|>HTTP/1.1 200 OK\n" + four});  // dated as well
  Trust("-other/ca.pem");
  Expect(60, "", {begun + "0123", "tls -other/server|hear"});
  // No certificate in it, nothing in it, and no file at all.
  for (const std::string name : {"/ca.key", "/none", ""}) {
    Trust(name);
    if (name.empty()) Remove("/tmp/cacert.pem");
    Expect(77, "", {begun + "0123"});
  }
  WriteText("/etc/hosts", "");
  Expect(6, "", {""});
}

TEST_F(HttpRequestTest, ABrokenTransferKeepsWhatCame) {
  const std::string slow(99, 'x');
  Expect(52, "", {"tls|hear", "tls|hear|fin", ask + "HTTP/1.1 100 Continue\n\n"});
  Expect(56, "", {"tls|hear|rst", ok + "Content-Le|rst", begun + "|rst"});
  Expect(28, "", {ok + "Content-Le|stall", ok + "|~" + slow, begun + "|stall"});
  Expect(0, "", {ok + "Content-Le", ok + "Content-Le|fin"});
  Expect(18, "012", {begun + "012", begun + "012|fin"});
  Expect(56, "012", {begun + "012|rst"});
  Expect(28, "012", {begun + "012|stall"});
  Expect(28, slow, {ok + length + "99\n\n|~" + slow});
  Expect(0, "0123", {begun + "|~0123", ok + "\n0123", ok + "\n0123|fin"});
  Expect(18, "0123", {ok + length + "10\n\n0123", chunks + "4\n0123\n", chunks + "6\n0123"});
  Expect(56, "0123", {chunks + "4\n0123\nzz\n"});
}

TEST_F(HttpRequestTest, AnyWholeAnswerIsASuccess) {
  const std::string moved = " Moved\nLocation: https://cloud.test:1/\n" + four, no = " No\n" + four;
  Expect(0, "0123",
         {ask + "HTTP/1.1 301" + moved, ask + "HTTP/1.1 302" + moved, ask + "HTTP/1.1 404" + no,
          ask + "HTTP/1.1 500" + no, ask + "HTTP/1.1 999" + no, ask + "HTTP/1.0 200 OK\n\n0123",
          ask + "HTTP/1.1 401 No\nWWW-Authenticate: Basic realm=a\n" + four,
          ask + "HTTP/1.1 100 Continue\n\nHTTP/1.1 200 OK\n" + four, begun + "012345",
          ok + length + "99999999999999999999\n\n0123", ok + length + "5\n" + four,
          ok + "Content-Encoding: gzip\n" + four, ok + "A: |fill 90000|>\n" + four,
          ok + length + "2\nTransfer-Encoding: chunked\n\n2;a=b\n01\n2\n23\n0\nA: b\n\n"});
  Expect(0, "", {ask + "HTTP/1.1 204" + no, ask + "HTTP/1.1 304" + no, ok + length + "0\n\n"});
  Expect(8, "", {ok + length + "-4\n\n0123", ok + length + "four\n\n0123", ok + "colon\n" + four});
  Expect(27, "", {ok + "A: |fill 110000|>\n" + four});
  Expect(1, "", {ask + "0123", ask + "HTTP/1.1 two\n" + four, ask + "HTTP/9 200 OK\n" + four});
  const std::string page("<html>\0\xff\r", 9);
  Expect(0, page, {ok + "Content-Type: text/html\n" + length + "9\n\n" + page});
  const bool emulated = sizeof(void*) == 4;  // and slow
  const std::string big((emulated ? 8U : 100U) << 20, 'x'), size = std::to_string(big.size());
  Expect(0, big, {ok + length + size + "\n\n|fill " + size});
  // More than memory holds; but a sanitizer ends the program there instead of throwing.
  const bool sanitized = dlsym(RTLD_DEFAULT, "__sanitizer_get_heap_size") != nullptr;
  const std::size_t huge = sanitized ? 1'000'000'000 : SIZE_MAX >> (emulated ? 1 : 25);
  Expect(18, "0123", {ok + length + std::to_string(huge) + "\n\n0123"});
}
