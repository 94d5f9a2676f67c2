// The check of a release: what it is given, and its verdict. Nothing is written; one thread.
//
// Whether a manifest is one is the product's own parser's to say; the rules stand on top of that.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "process/process.h"
#include "tools/tolvar/check/finding.h"

namespace check {

struct Listing {
  std::string label;
  std::vector<Process> processes;
};

struct Limits {
  std::uint64_t bytesPerSec = 0;  // of a device's download; 0: not told
  std::uint64_t memoryBytes = 0;  // of a device, free; 0: not told
};

// What a manifest is to be judged beside. What is not known is empty, and its rules are silent.
struct Surroundings {
  std::string label;                                           // that it is for
  std::vector<Process> before;                                 // what that label lists now
  std::vector<Listing> others;                                 // the other labels' lists
  std::vector<std::pair<std::string, std::string>> takenBack;  // processes and versions of them
  std::function<std::string(const Component&)> fileOf;         // on this machine; "": there is none
  Limits limits;
};

// What a rule looks at.
struct Release {
  const std::string& text;
  const std::vector<Process>& processes;  // as the product reads them
  const Surroundings& beside;
};

// The records of the manifest `text`, as the product reads them; none where it is none.
[[nodiscard]] std::vector<Process> ProcessesOf(const std::string& text);

// The first of that name; null when there is none.
[[nodiscard]] const Process* FindByName(const std::string& name,
                                        const std::vector<Process>& processes);

// Every finding about the manifest `text`.
[[nodiscard]] std::vector<Finding> JudgeManifest(const std::string& text,
                                                 const Surroundings& beside);

// Every finding about the device's configuration in the regular file `path`.
[[nodiscard]] std::vector<Finding> JudgeConfiguration(const std::string& path);

// JSON pointers.
[[nodiscard]] std::string At(std::size_t process, const char* key = nullptr);
[[nodiscard]] std::string At(std::size_t process, std::size_t component, const char* key = nullptr);

// The groups of rules, each in the file of its name.
void JudgeForm(const Release& release, Findings& findings);  // also of what is no manifest
void JudgeKeys(const Release& release, Findings& findings);
void JudgeNames(const Release& release, Findings& findings);
void JudgeEntryPoints(const Release& release, Findings& findings);
void JudgeLimits(const Release& release, Findings& findings);
void JudgePaths(const Release& release, Findings& findings);
void JudgeFiles(const Release& release, Findings& findings);
void JudgeVersions(const Release& release, Findings& findings);
void JudgeSizes(const Release& release, Findings& findings);

}  // namespace check
