#include <sys/stat.h>

#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/product.h"
#include "tools/tolvar/doctor/text.h"
#include "tools/tolvar/product/config_remarks.h"

namespace doctor {
namespace {

using Kind = product::ConfigRemark::Kind;

Level LevelOf(Kind kind) {
  return kind == Kind::AtOnce || kind == Kind::Never ? Level::Bad : Level::Warning;
}

std::string Summary() {
  return "fetch every " + std::to_string(Processes::bootstrapIntervalSec_) +
         " s, heartbeat limit " + std::to_string(Processes::maxHeartbeatIntervalSec_) +
         " s, report every " + std::to_string(Processes::metricsReportIntervalSec_) +
         " s, on failure every " + std::to_string(Processes::failureReportIntervalSec_) + " s";
}

bool IsRegularFile(const char* path) {
  struct stat status = {};
  return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

Finding CheckConfiguration(const Options& /*options*/) {
  if (!FileExists(configPath)) return Ok("no file: " + Summary());
  if (!IsRegularFile(configPath)) {
    return Warning(std::string(configPath) + " is no file", "remove it");
  }
  Finding finding;
  for (const auto& [kind, line, text] : product::ReadConfiguration(configPath)) {
    if (LevelOf(kind) > finding.level) finding.level = LevelOf(kind);
    AddToList(finding.found, text);
  }
  if (finding.level == Level::Ok) return Ok(Summary());
  finding.cure = std::string("mend ") + configPath + " (key=seconds), restart the host";
  return finding;
}

}  // namespace doctor
