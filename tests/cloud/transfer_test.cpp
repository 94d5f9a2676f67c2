#include "tests/cloud/transfer_test.h"

#include <chrono>

#include "cloud/http_request.h"
#include "tests/cloud/curl_recorder.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::StartsWith;

// How long a whole time-out lasts in a test that is about it. Emulated devices are slow.
constexpr milliseconds timeout(sizeof(void*) == 8 ? 120 : 480);
// In the others: what hangs is to fail with its name, not to be ended with the whole test.
constexpr milliseconds patience(24'000);

struct Request {
  const char* name;
  const char* line;  // in the log, up to the result
  long seconds;      // of the time-out
  int (*send)(std::vector<char>& body);
};

int FetchFile(std::vector<char>& body) {
  return HttpRequest::GetResponse("https://cloud.test:8443/file", body);
}

int AskForProcesses(std::vector<char>& body) {
  return HttpRequest::Instance()->GetProcesses("latest", body);
}

const Request requests[] = {
    {"a file", "Get response from url https://cloud.test:8443/file", 120, FetchFile},
    {"the API", "Get processes from domain https://cloud.test:8443", 30, AskForProcesses},
};

std::string ExpectedLog(const Request& request, CURLcode code) {
  const std::string line = std::string(request.line) + ", status ";
  if (code == CURLE_OK) return line + "0\n";
  return "Curl return code " + std::to_string(code) + "\n" + line + "2\n";
}

// Without printing a large one.
void ExpectBody(const std::vector<char>& body, const std::string& expected) {
  EXPECT_EQ(body.size(), expected.size());
  EXPECT_TRUE(body == Bytes(expected))
      << "came: " << std::string(body.begin(), body.end()).substr(0, 200);
}

void Ask(const Request& request, CURLcode code, const std::string& kept, LogCapture& log) {
  SCOPED_TRACE(request.name);
  (void)log.Text();  // of what failed before
  const bool isTimed = code == CURLE_OPERATION_TIMEDOUT;
  const milliseconds wholeTime = isTimed ? timeout : patience;
  curlRecorder.second = static_cast<long>(wholeTime.count()) / request.seconds;
  std::vector<char> body = Bytes("left");
  const auto start = steady_clock::now();
  const int result = request.send(body);
  const auto took = steady_clock::now() - start;
  EXPECT_EQ(result, code == CURLE_OK ? 0 : 2);
  EXPECT_EQ(log.Text(), ExpectedLog(request, code));
  if (isTimed) {
    EXPECT_GT(took, timeout - milliseconds(5)) << "it has not waited";
    // On a busy machine the end may come before the body has.
    EXPECT_THAT(kept, StartsWith(std::string(body.begin(), body.end())));
  } else {
    ExpectBody(body, kept);
  }
  ASSERT_GE(curlRecorder.calls.size(), 2U);
  EXPECT_EQ(curlRecorder.calls.end()[-2], "curl_easy_cleanup");
  EXPECT_EQ(curlRecorder.calls.end()[-1], "curl_global_cleanup");
}

}  // namespace

TransferTest::TransferTest() {
  HttpRequest::mac = "0a1b2c3d4e5f";
  Trust(cloudAuthority + ".pem");
}

void TransferTest::Trust(const std::string& path) { WriteText("/tmp/cacert.pem", ReadText(path)); }

void TransferTest::Meet(const std::vector<Exchange>& exchanges) {
  for (const Exchange& exchange : exchanges) {
    SCOPED_TRACE(exchange.name);
    for (const Request& request : requests) {
      const FaultServer here(exchange.server);
      Ask(request, exchange.code, exchange.kept, log);
    }
  }
}

void TransferTest::MeetAnswers(const std::vector<Exchange>& exchanges) {
  std::vector<Exchange> whole = exchanges;
  for (Exchange& exchange : whole) {
    const std::vector<Step> before = {Tls{}, Hear{}};
    exchange.server.insert(exchange.server.begin(), before.begin(), before.end());
  }
  Meet(whole);
}

void TransferTest::ExpectNothingButCode(CURLcode code) {
  for (const Request& request : requests) Ask(request, code, "", log);
}
