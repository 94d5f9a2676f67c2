// Records what the code under test asks of libcurl, in order; every call goes on to libcurl itself.
#pragma once

#include <string>

extern struct CurlRecorder {
  std::string calls;  // each with a blank before it: " curl_easy_init", an option " TIMEOUT=120"
  bool noHandle = false;  // have curl_easy_init answer null
} curlRecorder;
