// Records what the code under test asks of libcurl. Every call goes on to libcurl itself, but for
// the transfers of a test that answers them.
#pragma once

#include <curl/curl.h>

#include <functional>
#include <string>
#include <vector>

// A transfer as libcurl was asked for it.
struct CurlRequest {
  std::string url;
  std::string json;  // what is posted; empty for a file
};

// What a test has a transfer end with.
struct CurlAnswer {
  std::string body;
  CURLcode code = CURLE_OK;
};

struct CurlRecorder {
  std::vector<std::string> calls;     // in order: "curl_easy_init", an option "TIMEOUT=120"
  std::vector<CurlRequest> requests;  // of the transfers, in order
  // In place of each transfer; without one, libcurl's own.
  std::function<CurlAnswer(const CurlRequest&)> answer;
  bool noHandle = false;                         // have curl_easy_init answer null
  CURLoption refusedOption = CURLOPT_LASTENTRY;  // have this one answer "out of memory"
  int refusedHeader = 0;  // have this one of the next headers, from 1 on, find no memory
  long second = 1000;     // how many milliseconds a second of a time-out lasts
};

extern CurlRecorder curlRecorder;
