// The answers to the two calls of the device API, made of what lies in the release folder at that
// moment. Faults of the folder are std::runtime_error, those of the request Refusal. Any thread.
#pragma once

#include <string>

#include "tools/cloud/release_folder.h"

// Sent as {"error":{"code":...,"message":"..."}}.
struct Refusal {
  int status;  // of HTTP
  std::string message;
};

// What must run: the manifest of the asked label, or of it only the asked process.
[[nodiscard]] std::string ProcessesAnswer(const ReleaseFolder& folder, const std::string& body);

// Where the asked file of a component is: below `filesUrl`, which has no trailing slash.
[[nodiscard]] std::string LocationAnswer(const ReleaseFolder& folder, const std::string& filesUrl,
                                         const std::string& body);
