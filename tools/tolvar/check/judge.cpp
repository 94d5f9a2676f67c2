#include "tools/tolvar/check/judge.h"

#include <algorithm>

#include "tools/tolvar/product/read_manifest.h"

namespace check {

std::string At(std::size_t process, const char* key) {
  const std::string place = "/data/processes/" + std::to_string(process);
  return key == nullptr ? place : place + "/" + key;
}

std::string At(std::size_t process, std::size_t component, const char* key) {
  const std::string place = At(process, "components/") + std::to_string(component);
  return key == nullptr ? place : place + "/" + key;
}

std::vector<Process> ProcessesOf(const std::string& text) {
  return product::ReadManifest(text).value_or(std::vector<Process>());
}

const Process* FindByName(const std::string& name, const std::vector<Process>& processes) {
  const auto hasName = [&name](const Process& process) { return process.name == name; };
  const auto found = std::find_if(processes.begin(), processes.end(), hasName);
  return found == processes.end() ? nullptr : &*found;
}

std::vector<Finding> JudgeManifest(const std::string& text, const Surroundings& beside) {
  const std::vector<Process> processes = ProcessesOf(text);
  const Release release = {text, processes, beside};
  Findings findings;
  for (const auto judge : {JudgeForm, JudgeKeys, JudgeNames, JudgeEntryPoints, JudgeLimits,
                           JudgePaths, JudgeFiles, JudgeVersions, JudgeSizes}) {
    judge(release, findings);
  }
  return findings.List();
}

}  // namespace check
