// The HTTPS server: the two calls of the device API, and GET /files/<filename>/<version>.
#pragma once

#include <string>

#include "tools/cloud/release_folder.h"

struct ServerSettings {
  ReleaseFolder folder;
  std::string certificateFile;        // PEM
  std::string keyFile;                // PEM
  std::string address = "127.0.0.1";  // a name or an address of this machine
  int port = 8443;
  std::string filesUrl;  // what download locations begin with; no trailing slash
};

// Serves until SIGTERM or SIGINT, which stay blocked; breaks off the downloads then under way.
// Writes "listening on https://ADDRESS:PORT" to standard output once it can be reached, then a line
// per request. To be called once, before there are other threads. Throws std::runtime_error.
void Serve(const ServerSettings& settings);
