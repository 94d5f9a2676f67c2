#include "tools/cloud/judged.h"

#include "tools/tolvar/check/folder.h"

namespace {

using check::Id;

bool IsAboutReplacing(Id id) {
  return id == Id::TwoContents || id == Id::SameVersion || id == Id::TwoVersions;
}

}  // namespace

Judged Judge(const ReleaseFolder& folder, const std::string& label, const Manifest& manifest,
             const std::string& process,
             const std::function<std::string(const std::string&, const std::string&)>& source,
             bool replaces) {
  check::Surroundings beside = check::SurroundingsOf(folder, label, {});
  const auto published = beside.fileOf;
  beside.fileOf = [&](const Component& component) {
    const std::string own = source(component.filename, component.version);
    return own.empty() ? published(component) : own;
  };
  Judged judged{label, manifest.document.dump(2) + "\n", {}};
  const std::string ownPlace = check::At(manifest.IndexOf(process));
  for (check::Finding& finding : check::JudgeManifest(judged.text, beside)) {
    const bool isOwn = finding.place.empty() || (finding.place + "/").rfind(ownPlace + "/", 0) == 0;
    if (!isOwn && finding.severity == check::Severity::Warning) continue;
    finding.document = label;
    if (replaces && IsAboutReplacing(finding.id)) finding.severity = check::Severity::Warning;
    judged.findings.push_back(std::move(finding));
  }
  return judged;
}
