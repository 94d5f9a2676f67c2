#include "tests/fuzz/stand_ins.h"

#include <fcntl.h>
#include <unistd.h>

#include <map>
#include <string_view>
#include <vector>

#include "cloud/http_request.h"
#include "platform/log.h"
#include "tests/fuzz/check.h"

std::size_t loggedLines = 0;
std::string cloudAnswer;

void Log(std::string_view /*text*/) { ++loggedLines; }

int HttpRequest::GetProcesses(const std::string& /*version*/, std::vector<char>& body) {
  body.assign(cloudAnswer.begin(), cloudAnswer.end());
  return 0;
}
int HttpRequest::GetProcess(const std::string& version, const std::string& /*processname*/,
                            std::vector<char>& body) {
  return GetProcesses(version, body);
}
int HttpRequest::GetDownloadLocation(const std::string& /*processname*/,
                                     const std::string& /*filename*/,
                                     const std::string& /*version*/, std::vector<char>& /*body*/) {
  return 1;
}

// The files stay open: making them anew for each run would take most of its time.
void PutFile(const std::string& path, const std::string& text) {
  CHECK(std::getenv("TOLVAR_BENCH") != nullptr);  // elsewhere it would be this machine's
  static std::map<std::string, int> files;
  const auto [known, isNew] = files.emplace(path, -1);
  if (isNew) known->second = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const ssize_t written = pwrite(known->second, text.data(), text.size(), 0);
  CHECK(written == static_cast<ssize_t>(text.size()));
  CHECK(ftruncate(known->second, written) == 0);
}
