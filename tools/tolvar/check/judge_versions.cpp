// Devices tell two releases of a process apart by its version alone.
#include <algorithm>

#include "tools/tolvar/check/judge.h"

namespace check {
namespace {

constexpr char latest[] = "latest";
constexpr char lastKnownGood[] = "lastknowngood";

[[nodiscard]] bool IsSame(const Component& one, const Component& other) {
  return one.filename == other.filename && one.localpath == other.localpath &&
         one.version == other.version && one.checksum == other.checksum;
}

[[nodiscard]] bool IsSameContent(const Process& one, const Process& other) {
  return one.entrypoint == other.entrypoint && one.maxstartuptime == other.maxstartuptime &&
         one.maxretries == other.maxretries &&
         std::equal(one.components.begin(), one.components.end(), other.components.begin(),
                    other.components.end(), IsSame);
}

[[nodiscard]] bool IsChanged(const Process& process, const std::vector<Process>& processes) {
  const Process* other = FindByName(process.name, processes);
  return other != nullptr && other->version == process.version && !IsSameContent(process, *other);
}

void JudgeProcess(const Process& process, const std::string& place, const Surroundings& beside,
                  Findings& findings) {
  const std::string what = process.name + " " + process.version;
  if (IsChanged(process, beside.before)) findings.Add(Id::SameVersion, place, what);
  for (const auto& [label, processes] : beside.others) {
    if (!IsChanged(process, processes)) continue;
    findings.Add(Id::TwoVersions, place, what + " of \"" + label + "\"");
  }
}

void JudgeLatest(const Process& process, const std::string& place, const Surroundings& beside,
                 Findings& findings) {
  for (const auto& [name, version] : beside.takenBack) {
    if (name != process.name || version != process.version) continue;
    findings.Add(Id::RolledBack, place, name + " " + version);
  }
  if (!beside.fileOf) return;  // without a release folder nothing is known of other labels
  const auto isGood = [](const Listing& listing) { return listing.label == lastKnownGood; };
  const auto good = std::find_if(beside.others.begin(), beside.others.end(), isGood);
  if (good != beside.others.end() && FindByName(process.name, good->processes) != nullptr) return;
  findings.Add(Id::NoRollback, place, process.name);
}

}  // namespace

void JudgeVersions(const Release& release, Findings& findings) {
  const Surroundings& beside = release.beside;
  if (beside.label.empty()) return;
  if (beside.label != latest && beside.label != lastKnownGood) {
    findings.Add(Id::UnknownLabel, "", beside.label);
  }
  for (std::size_t i = 0; i < release.processes.size(); ++i) {
    const Process& process = release.processes[i];
    JudgeProcess(process, At(i, "version"), beside, findings);
    if (beside.label == latest) JudgeLatest(process, At(i, "version"), beside, findings);
  }
}

}  // namespace check
