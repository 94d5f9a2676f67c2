#include "supervisor/processes.h"
#include "tools/tolvar/check/judge.h"
#include "tools/tolvar/product/config_remarks.h"

namespace check {
namespace {

using Kind = product::ConfigRemark::Kind;

Id IdOf(Kind kind) {
  switch (kind) {
    case Kind::Unknown:
      return Id::ConfigUnknown;
    case Kind::TakenAs:
      return Id::ConfigTakenAs;
    case Kind::AtOnce:
      return Id::ConfigAtOnce;
    case Kind::Never:
      return Id::ConfigNever;
    case Kind::AtOnceOnly:
      return Id::ConfigReportAtOnce;
    case Kind::NeverOnly:
      return Id::ConfigReportNever;
  }
  return Id::ConfigUnknown;
}

// The product reads into variables of its own; a file that says nothing leaves the defaults there.
class KeptIntervals {
 public:
  KeptIntervals() = default;
  KeptIntervals(const KeptIntervals&) = delete;
  KeptIntervals& operator=(const KeptIntervals&) = delete;
  ~KeptIntervals() {
    Processes::bootstrapIntervalSec_ = bootstrap_;
    Processes::maxHeartbeatIntervalSec_ = heartbeat_;
    Processes::metricsReportIntervalSec_ = report_;
    Processes::failureReportIntervalSec_ = failureReport_;
  }

 private:
  std::uint32_t bootstrap_ = Processes::bootstrapIntervalSec_;
  std::uint32_t heartbeat_ = Processes::maxHeartbeatIntervalSec_;
  std::uint32_t report_ = Processes::metricsReportIntervalSec_;
  std::uint32_t failureReport_ = Processes::failureReportIntervalSec_;
};

}  // namespace

std::vector<Finding> JudgeConfiguration(const std::string& path) {
  const KeptIntervals kept;
  Findings findings;
  for (const auto& [kind, line, text] : product::ReadConfiguration(path)) {
    findings.Add(IdOf(kind), line == 0 ? "" : "line " + std::to_string(line), text);
  }
  return findings.List();
}

}  // namespace check
