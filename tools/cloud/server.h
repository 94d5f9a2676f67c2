// HTTPS around the API.
#pragma once

#include <string>

#include "tools/cloud/api.h"

namespace standin {

struct ServerSettings {
  std::string certificateFile;  // PEM
  std::string keyFile;          // PEM
  std::string address;          // a name or an address of this machine
  int port = 0;
};

// Serves until SIGTERM or SIGINT, which it expects to be blocked in the calling thread and all
// others; breaks off the downloads then under way. Writes "listening on https://ADDRESS:PORT" to
// standard output once it can be reached, then a line per request. Answers the process's exit
// status: 0 after a signal; 1, with a message on standard error, when it cannot serve.
[[nodiscard]] int Serve(const ServerSettings& settings, const Service& service);

}  // namespace standin
