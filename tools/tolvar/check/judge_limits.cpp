#include "tools/tolvar/check/judge.h"

namespace check {

void JudgeLimits(const Release& release, Findings& findings) {
  constexpr std::uint32_t leastStartSec = 5;
  for (std::size_t i = 0; i < release.processes.size(); ++i) {
    const Process& process = release.processes[i];
    const std::uint32_t startSec = process.maxstartuptime;
    if (process.maxretries == 0) findings.Add(Id::NoRetries, At(i, "maxretries"));
    if (startSec == 0) findings.Add(Id::NoStartupTime, At(i, "maxstartuptime"));
    if (startSec == 0 || startSec >= leastStartSec) continue;
    findings.Add(Id::ShortStartupTime, At(i, "maxstartuptime"), std::to_string(startSec) + " s");
  }
}

}  // namespace check
