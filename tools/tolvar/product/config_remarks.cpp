// What the product stored is in its log, one line for each line of the file that it knows, in their
// order.
#include "tools/tolvar/product/config_remarks.h"

#include <array>
#include <fstream>

#include "supervisor/processes.h"
#include "tools/tolvar/product/captured_log.h"

namespace product {
namespace {

using Kind = ConfigRemark::Kind;

constexpr std::uint32_t tenYearsSec = 10U * 365 * 86400;

struct Interval {
  const std::uint32_t& sec;
  Kind atOnceKind;
  const char* atOnce;  // what 0 leads to
  Kind neverKind;
  const char* never;  // what more than ten years lead to
};

void JudgeIntervals(std::vector<ConfigRemark>& remarks) {
  const std::array<Interval, 4> intervals = {{
      {Processes::bootstrapIntervalSec_, Kind::AtOnce, "the cloud is asked in every pass",
       Kind::Never, "the cloud is never asked again"},
      {Processes::maxHeartbeatIntervalSec_, Kind::AtOnce,
       "a process fails when its heartbeat is a second old", Kind::Never,
       "a hung process is never noticed"},
      {Processes::metricsReportIntervalSec_, Kind::AtOnceOnly, "a report is sent in every pass",
       Kind::NeverOnly, "there is never a report"},
      {Processes::failureReportIntervalSec_, Kind::AtOnceOnly,
       "a report is sent in every pass while a process is failed", Kind::NeverOnly,
       "a failed process is never reported"},
  }};
  for (const Interval& interval : intervals) {
    if (interval.sec == 0) remarks.push_back({interval.atOnceKind, 0, interval.atOnce});
    if (interval.sec > tenYearsSec) remarks.push_back({interval.neverKind, 0, interval.never});
  }
}

std::string KeyOf(const std::string& line) { return line.substr(0, line.find('=') + 1); }

bool IsRemark(const std::string& line) {
  const std::size_t start = line.find_first_not_of(" \t\r");
  return start == std::string::npos || line[start] == '#';
}

void JudgeLines(const std::string& path, const std::vector<std::string>& stored,
                std::vector<ConfigRemark>& remarks) {
  std::ifstream file(path);
  auto next = stored.begin();
  unsigned number = 1;
  for (std::string line; std::getline(file, line); ++number) {
    if (next != stored.end() && line.rfind(KeyOf(*next), 0) == 0) {
      line.erase(line.find_last_not_of(" \t\r") + 1);
      const std::string text = Quoted(line) + " is taken as " + *next;
      if (line != *next) remarks.push_back({Kind::TakenAs, number, text});
      ++next;
    } else if (!IsRemark(line)) {
      remarks.push_back({Kind::Unknown, number, Quoted(line) + " is not known and has no effect"});
    }
  }
}

}  // namespace

std::vector<ConfigRemark> ReadConfiguration(const std::string& path) {
  const CapturedLog log;
  Processes::ReadConfigOf(path.c_str());
  std::vector<ConfigRemark> remarks;
  JudgeIntervals(remarks);
  JudgeLines(path, log.Lines(), remarks);
  return remarks;
}

std::string Quoted(const std::string& text) {
  constexpr std::size_t limit = 40;
  std::string quoted = "\"";
  for (const char c : text.substr(0, limit)) quoted += c >= ' ' && c <= '~' ? c : '?';
  return quoted + (text.size() > limit ? "...\"" : "\"");
}

}  // namespace product
