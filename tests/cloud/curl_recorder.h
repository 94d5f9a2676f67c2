// Records what the code under test asks of libcurl, in order; every call goes on to libcurl itself,
// but for the transfers of a test that answers them.
#pragma once

#include <functional>
#include <string>
#include <utility>

extern struct CurlRecorder {
  std::string calls;  // each with a blank before it: " curl_easy_init", an option " TIMEOUT=120"
  bool noHandle = false;  // have curl_easy_init answer null
  // In place of each transfer: from the calls since the last one the body and libcurl's code.
  std::function<std::pair<std::string, int>(const std::string&)> answer;
  long second = 1000;  // how many milliseconds a second of a time-out lasts
} curlRecorder;
