// Any text as the configuration: a line in the log for each of its lines that begins with a key.
#include <sstream>

#include "supervisor/processes.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/stand_ins.h"

namespace {

bool BeginsWithAKey(const std::string& line) {
  const char* const keys[] = {"bootstrap_interval=", "max_heartbeat_interval=",
                              "metrics_report_interval=", "failure_metrics_report_interval="};
  for (const char* key : keys) {
    if (line.rfind(key, 0) == 0) return true;
  }
  return false;
}

std::size_t LinesWithAKey(const std::string& text) {
  std::istringstream lines(text);
  std::size_t count = 0;
  for (std::string line; std::getline(lines, line);) count += BeginsWithAKey(line) ? 1U : 0U;
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  loggedLines = 0;
  const std::string text = TextOf(data, size);
  PutFile("/etc/config/.tolvar_config", text);
  Processes::ReadConfig();
  CHECK(loggedLines == LinesWithAKey(text));
  return 0;
}
