// The cloud's side of the process API: a request in, an answer out, no HTTP and no state.
//
//   POST /device/process/get_processes           what must run, for a version label
//   POST /device/process/get_download_location   where a component file can be fetched
//   GET  /files/<filename>/<version>             the file
//
// Each answer is made of what lies in the release folder at that moment. Safe from any thread.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "tools/cloud/release_folder.h"

namespace standin {

struct Service {
  ReleaseFolder folder;
  std::string filesUrl;  // what download locations begin with; no trailing slash
};

struct Answer {
  int status = 200;                           // of HTTP
  std::string body;                           // JSON, unless there is a file
  std::optional<std::filesystem::path> file;  // a regular file whose bytes are the answer
  std::string note;   // for the log: the request's telling fields, never the token or a credential
  std::string error;  // for the log: the message in `body`, when it is an error
};

// An error as every path of the API answers it: {"error":{"code":...,"message":"..."}}.
[[nodiscard]] Answer ErrorAnswer(int status, const std::string& message);

// `path` is decoded and without query.
[[nodiscard]] Answer HandleRequest(const Service& service, const std::string& method,
                                   const std::string& path, const std::string& body);

}  // namespace standin
