#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/cloud/http.h"

void LogLine(std::string line) {
  const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
  std::replace_if(line.begin(), line.end(), isControl, '?');
  std::puts(line.c_str());
  std::fflush(stdout);
}

void LogRequest(const httplib::Request& request, const httplib::Response& response) {
  std::string line = request.method + " " + request.path;
  const auto fields = nlohmann::json::parse(request.body, nullptr, false);
  for (const char* key : {"processname", "filename", "version", "mac"}) {
    if (!fields.is_object() || !fields.contains(key) || !fields[key].is_string()) continue;
    line += std::string(" ") + key + "=" + fields[key].get<std::string>();
  }
  LogLine(line + " -> " + std::to_string(response.status) + " " +
          (response.status >= 400 ? response.body
                                  : response.get_header_value("Content-Length") + " bytes"));
}
