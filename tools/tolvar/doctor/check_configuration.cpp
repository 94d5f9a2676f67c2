// The product reads the file itself; what it stored is in its log, one line for each line of the
// file that it knows, in their order.
#include <sys/stat.h>

#include <array>
#include <fstream>

#include "tools/tolvar/doctor/captured_log.h"
#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/product.h"
#include "tools/tolvar/doctor/text.h"

namespace doctor {
namespace {

constexpr std::uint32_t tenYearsSec = 10U * 365 * 86400;

struct Interval {
  const std::uint32_t& sec;
  Level level;         // of a value that cannot be meant
  const char* atOnce;  // what 0 leads to
  const char* never;   // what more than ten years lead to
};

void Add(Finding& finding, Level level, const std::string& found) {
  if (level > finding.level) finding.level = level;
  AddToList(finding.found, found);
}

void JudgeIntervals(Finding& finding) {
  const std::array<Interval, 4> intervals = {{
      {Processes::bootstrapIntervalSec_, Level::Bad, "the cloud is asked in every pass",
       "the cloud is never asked again"},
      {Processes::maxHeartbeatIntervalSec_, Level::Bad,
       "a process fails when its heartbeat is a second old", "a hung process is never noticed"},
      {Processes::metricsReportIntervalSec_, Level::Warning, "a report is sent in every pass",
       "there is never a report"},
      {Processes::failureReportIntervalSec_, Level::Warning,
       "a report is sent in every pass while a process is failed",
       "a failed process is never reported"},
  }};
  for (const Interval& interval : intervals) {
    if (interval.sec == 0) Add(finding, interval.level, interval.atOnce);
    if (interval.sec > tenYearsSec) Add(finding, interval.level, interval.never);
  }
}

std::string KeyOf(const std::string& line) { return line.substr(0, line.find('=') + 1); }

bool IsRemark(const std::string& line) {
  const std::size_t start = line.find_first_not_of(" \t\r");
  return start == std::string::npos || line[start] == '#';
}

// Compares the file with what was stored of it, line by line.
void JudgeLines(const std::vector<std::string>& stored, Finding& finding) {
  std::ifstream file(configPath);
  auto next = stored.begin();
  for (std::string line; std::getline(file, line);) {
    if (next != stored.end() && line.rfind(KeyOf(*next), 0) == 0) {
      line.erase(line.find_last_not_of(" \t\r") + 1);
      if (line != *next) Add(finding, Level::Warning, Quoted(line) + " is taken as " + *next);
      ++next;
    } else if (!IsRemark(line)) {
      Add(finding, Level::Warning, Quoted(line) + " is not known and has no effect");
    }
  }
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
  const CapturedLog log;
  if (!FileExists(configPath)) return Ok("no file: " + Summary());
  if (!IsRegularFile(configPath)) {
    return Warning(std::string(configPath) + " is no file", "remove it");
  }
  Processes::ReadConfig();
  Finding finding;
  JudgeIntervals(finding);
  JudgeLines(log.Lines(), finding);
  if (finding.level == Level::Ok) return Ok(Summary());
  finding.cure = std::string("mend ") + configPath + " (key=seconds), restart the host";
  return finding;
}

}  // namespace doctor
