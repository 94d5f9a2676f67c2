#include "tools/tolvar/check/folder.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace check {
std::string TextOf(const std::filesystem::path& path) {
  std::ifstream file = OpenFile(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Process> ProcessesUnder(const ReleaseFolder& folder, const std::string& label) {
  const auto path = folder.ManifestPath(label);
  return std::filesystem::exists(path) ? ProcessesOf(TextOf(path)) : std::vector<Process>();
}

Surroundings SurroundingsOf(const ReleaseFolder& folder, const std::string& label,
                            const Limits& limits) {
  Surroundings beside;
  beside.label = label;
  beside.limits = limits;
  beside.fileOf = [folder](const Component& component) -> std::string {
    if (!IsPathElement(component.filename) || !IsPathElement(component.version)) return "";
    return folder.ComponentPath(component.filename, component.version);
  };
  if (!std::filesystem::is_directory(folder.root)) return beside;  // nothing is published yet
  beside.before = ProcessesUnder(folder, label);
  beside.takenBack = TakenBack(folder);
  for (const std::string& other : folder.Labels()) {
    if (other != label) beside.others.push_back({other, ProcessesUnder(folder, other)});
  }
  return beside;
}

std::vector<Finding> JudgeFolder(const ReleaseFolder& folder, const std::string& label,
                                 const Limits& limits) {
  const std::vector<std::string> all = folder.Labels();
  const std::vector<std::string> labels = label.empty() ? all : std::vector<std::string>{label};
  if (all.empty()) throw std::runtime_error("no manifest of any label in " + folder.root.string());
  std::vector<Finding> findings;
  for (const std::string& each : labels) {
    Surroundings beside = SurroundingsOf(folder, each, limits);
    beside.before.clear();  // it is what is judged
    for (Finding& finding : JudgeManifest(TextOf(folder.ManifestPath(each)), beside)) {
      finding.document = each;
      findings.push_back(std::move(finding));
    }
  }
  return findings;
}

}  // namespace check
