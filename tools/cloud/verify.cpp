#include <algorithm>

#include "tools/cloud/judged.h"
#include "tools/tolvar/check/folder.h"

std::vector<check::Finding> Verify(const ReleaseFolder& folder) {
  std::vector<check::Finding> findings = check::JudgeFolder(folder, "", {});
  const auto isOther = [](const check::Finding& finding) {
    return finding.id != check::Id::NoManifest && finding.id != check::Id::NoFile &&
           finding.id != check::Id::OtherFile;
  };
  findings.erase(std::remove_if(findings.begin(), findings.end(), isOther), findings.end());
  return findings;
}
