#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "platform/files.h"
#include "platform/lines.h"
#include "platform/log.h"
#include "supervisor/processes.h"

namespace {

struct Setting {
  const char* key;  // with its "="
  std::uint32_t& interval;
};

constexpr char configPath[] = "/etc/config/.tolvar_config";

// `atoi` as the 32-bit target does it: a number beyond 32 bits saturates. On 64 bits the library's
// own would cut off the upper half.
int DecimalInt(const char* text) {
  const long long value = std::strtoll(text, nullptr, 10);
  constexpr long long lowest = std::numeric_limits<int>::min();
  constexpr long long highest = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(value, lowest, highest));
}

void StoreAndLog(const std::string& line) {
  const std::array<Setting, 4> configKeyTable = {{
      {"bootstrap_interval=", Processes::bootstrapIntervalSec_},
      {"max_heartbeat_interval=", Processes::maxHeartbeatIntervalSec_},
      {"metrics_report_interval=", Processes::metricsReportIntervalSec_},
      {"failure_metrics_report_interval=", Processes::failureReportIntervalSec_},
  }};
  for (const auto& [key, interval] : configKeyTable) {
    if (line.rfind(key, 0) != 0) continue;
    interval = static_cast<std::uint32_t>(DecimalInt(line.c_str() + std::strlen(key)));
    Log(key + std::to_string(interval));
  }
}

}  // namespace

void Processes::ReadConfig() {
  if (!FileExists(configPath)) {
    Log(std::string("don't have config file ") + configPath + ", taking default configuration");
    return;
  }
  ReadConfigOf(configPath);
}

void Processes::ReadConfigOf(const char* path) {
  Lines lines(path);
  for (std::string line; lines.Next(line);) StoreAndLog(line);
}
