// What libcurl's codes mean for a device.
#pragma once

#include <string>

namespace devicelog {

// "curl 7, no connection to the server".
[[nodiscard]] std::string CurlText(int code);

// What to do about it, a sentence; for a code that is not known, where it is explained.
[[nodiscard]] const char* CurlAdvice(int code);

}  // namespace devicelog
