// One exchange with a cloud, made as a device makes it: by the product's own session, with its
// options and limits. Only the identity and the CA file are the caller's.
#pragma once

#include <curl/curl.h>

#include <string>
#include <utility>
#include <vector>

namespace check {

struct Identity {
  std::string url;     // of the cloud, without a path
  std::string caFile;  // PEM
  std::string mac;     // 12 lowercase hexadecimal digits
  std::string token;
};

struct Answer {
  CURLcode code = CURLE_OK;
  std::vector<char> body;
  double sec = 0;             // that it took
  int status = 0;             // of HTTP; a device does not see it
  bool hasLength = false;     // announced
  bool isCompressed = false;  // a device does not unpack it
  std::string protocol;       // "TLSv1.3 / ..."
  std::string validUntil;     // of the server's certificate, as libcurl writes it
};

// A call of the process API with `fields` behind the identity; blocks for up to 30 s.
[[nodiscard]] Answer Ask(const Identity& identity, const std::string& path,
                         const std::vector<std::pair<const char*, std::string>>& fields);

// A file's address; blocks for up to 120 s.
[[nodiscard]] Answer Fetch(const Identity& identity, const std::string& url);

}  // namespace check
