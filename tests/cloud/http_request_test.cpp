// What the requests ask of libcurl, in which order, and what is left when one cannot be prepared.
#include "cloud/http_request.h"

#include "tests/cloud/curl_recorder.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Calls = std::vector<std::string>;

struct Request {
  const char* name;
  int (*send)(std::vector<char>& body);
  const char* line;  // in the log of a failed one
};

int FetchFile(std::vector<char>& body) {
  return HttpRequest::GetResponse("https://cloud.test:8443/file", body);
}

int AskForProcesses(std::vector<char>& body) {
  return HttpRequest::Instance()->GetProcesses("latest", body);
}

const Request file = {"a file", FetchFile,
                      "Get response from url https://cloud.test:8443/file, status 2\n"};
const Request api = {"the API", AskForProcesses,
                     "Get processes from domain https://cloud.test:8443, status 2\n"};
const Request requests[] = {file, api};

struct HttpRequestTest : DeviceTest {
  HttpRequestTest() {
    HttpRequest::mac = "0a1b2c3d4e5f";
    curlRecorder.answer = [](const CurlRequest&) { return CurlAnswer{"answer", CURLE_OK}; };
  }
  // As the first thing that a device does.
  void Begin() {
    body = Bytes("left");
    curlRecorder.calls.clear();
    curlRecorder.requests.clear();
    (void)log.Text();
  }
  std::vector<char> body = Bytes("left");
};

TEST_F(HttpRequestTest, AFileIsAskedForInTheseCalls) {
  EXPECT_EQ(file.send(body), 0);
  const Calls expected = {
      "curl_global_init=3", "curl_easy_init",         "SSL_VERIFYPEER=1",
      "SSL_VERIFYHOST=2",   "CAINFO=/tmp/cacert.pem", "URL=https://cloud.test:8443/file",
      "TIMEOUT=120",        "WRITEFUNCTION=",         "WRITEDATA=",
      "curl_easy_perform",  "curl_easy_cleanup",      "curl_global_cleanup",
  };
  EXPECT_THAT(curlRecorder.calls, ElementsAreArray(expected));
}

TEST_F(HttpRequestTest, TheApiIsAskedInTheseCalls) {
  EXPECT_EQ(api.send(body), 0);
  ASSERT_EQ(curlRecorder.requests.size(), 1U);
  const std::string json = curlRecorder.requests[0].json;
  const Calls expected = {
      "curl_global_init=3",
      "curl_easy_init",
      "SSL_VERIFYPEER=1",
      "SSL_VERIFYHOST=2",
      "CAINFO=/tmp/cacert.pem",
      "URL=https://cloud.test:8443/device/process/get_processes",
      "POSTFIELDS=" + json,
      "POSTFIELDSIZE=" + std::to_string(json.size()),
      "HTTPHEADER=[Expect:][Content-Type: application/json]",
      "TIMEOUT=30",
      "WRITEFUNCTION=",
      "WRITEDATA=",
      "curl_easy_perform",
      "curl_slist_free_all",
      "curl_easy_cleanup",
      "curl_global_cleanup",
  };
  EXPECT_THAT(curlRecorder.calls, ElementsAreArray(expected));
}

TEST_F(HttpRequestTest, TheAnswerTakesThePlaceOfWhatTheBodyHeld) {
  for (const Request& request : requests) {
    SCOPED_TRACE(request.name);
    Begin();
    EXPECT_EQ(request.send(body), 0);
    EXPECT_EQ(body, Bytes("answer"));
  }
}

TEST_F(HttpRequestTest, AFailedTransferIsLoggedWithLibcurlsCode) {
  curlRecorder.answer = [](const CurlRequest&) { return CurlAnswer{"", CURLE_COULDNT_CONNECT}; };
  for (const Request& request : requests) {
    SCOPED_TRACE(request.name);
    Begin();
    EXPECT_EQ(request.send(body), 2);
    EXPECT_EQ(log.Text(), std::string("Curl return code 7\n") + request.line);
    EXPECT_THAT(body, IsEmpty());
  }
}

TEST_F(HttpRequestTest, OnlyWithoutAHandleTheGlobalStateStaysInitialised) {
  curlRecorder.noHandle = true;
  for (const Request& request : requests) {
    SCOPED_TRACE(request.name);
    Begin();
    EXPECT_EQ(request.send(body), 1);
    EXPECT_THAT(curlRecorder.calls, ElementsAre("curl_global_init=3"));
    EXPECT_THAT(body, IsEmpty());
    EXPECT_EQ(log.Text(), "");
  }
}

struct Refusal {
  const char* name;
  CURLoption option;
};
const Refusal refusals[] = {
    {"the certificate is not verified", CURLOPT_SSL_VERIFYPEER},
    {"the name is not verified", CURLOPT_SSL_VERIFYHOST},
    {"the device's authorities are not set", CURLOPT_CAINFO},
};

const Calls endedAtTrust = {"curl_global_init=3", "curl_easy_init",         "SSL_VERIFYPEER=1",
                            "SSL_VERIFYHOST=2",   "CAINFO=/tmp/cacert.pem", "curl_easy_cleanup",
                            "curl_global_cleanup"};

TEST_F(HttpRequestTest, NoFileIsFetchedByLibcurlsOwnRulesOfTrust) {
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(refusal.name);
    Begin();
    curlRecorder.refusedOption = refusal.option;
    EXPECT_EQ(file.send(body), 2);
    EXPECT_EQ(log.Text(), std::string("Curl return code 27\n") + file.line);
    EXPECT_THAT(curlRecorder.requests, IsEmpty());
    EXPECT_EQ(curlRecorder.calls, endedAtTrust);
    EXPECT_THAT(body, IsEmpty());
  }
}

TEST_F(HttpRequestTest, TheApiIsNotAskedByLibcurlsOwnRulesOfTrust) {
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(refusal.name);
    Begin();
    curlRecorder.refusedOption = refusal.option;
    EXPECT_EQ(api.send(body), 1);
    EXPECT_EQ(log.Text(), "");
    EXPECT_THAT(curlRecorder.requests, IsEmpty());
    EXPECT_EQ(curlRecorder.calls, endedAtTrust);
    EXPECT_THAT(body, IsEmpty());
  }
}

TEST_F(HttpRequestTest, WithoutItsHeadersTheApiIsNotAsked) {
  struct Row {
    const char* name;
    int refusedHeader;
    Calls cleanedUp;
  };
  const Row rows[] = {
      {"the first", 1, {"curl_easy_cleanup", "curl_global_cleanup"}},
      {"the second", 2, {"curl_slist_free_all", "curl_easy_cleanup", "curl_global_cleanup"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Begin();
    curlRecorder.refusedHeader = row.refusedHeader;
    EXPECT_EQ(api.send(body), 1);
    EXPECT_EQ(log.Text(), "");
    EXPECT_THAT(curlRecorder.requests, IsEmpty());
    const Calls& calls = curlRecorder.calls;
    ASSERT_GT(calls.size(), 5U);
    EXPECT_EQ(calls[4], "CAINFO=/tmp/cacert.pem");
    EXPECT_THAT(Calls(calls.begin() + 5, calls.end()), ElementsAreArray(row.cleanedUp));
  }
}

}  // namespace
