#include <algorithm>

#include "component/slots.h"
#include "tools/tolvar/check/judge.h"
#include "tools/tolvar/check/system.h"

namespace check {
namespace {

struct PathRule {
  Id id;
  bool (*breaks)(const std::string& path);
};

[[nodiscard]] bool Has(const std::string& path, const char* piece) {
  return path.find(piece) != std::string::npos;
}

[[nodiscard]] bool IsRelative(const std::string& path) { return path.empty() || path[0] != '/'; }

[[nodiscard]] bool IsCrooked(const std::string& path) {
  const std::string ended = path + "/";
  return Has(ended, "/../") || Has(ended, "/./") || Has(path, "//") || ended.rfind("../", 0) == 0 ||
         ended.rfind("./", 0) == 0;
}

[[nodiscard]] bool IsFolder(const std::string& path) { return !path.empty() && path.back() == '/'; }

[[nodiscard]] bool IsUnderRoot(const std::string& path) {
  return path.size() > 1 && path.rfind('/') == 0;
}

[[nodiscard]] bool IsOnlyInSystemFolder(const std::string& path) {
  return IsInSystemFolder(path) && !IsSystemFile(path);
}

constexpr PathRule rules[] = {
    {Id::RelativePath, IsRelative}, {Id::CrookedPath, IsCrooked},
    {Id::FolderPath, IsFolder},     {Id::RootPath, IsUnderRoot},
    {Id::SystemFile, IsSystemFile}, {Id::SystemFolder, IsOnlyInSystemFolder}};

// Whether the two disturb each other, in place, in their slots or on the card.
[[nodiscard]] bool Meet(const std::string& one, const std::string& other) {
  return one == other || one == PreDownloadPath(other) || PreDownloadPath(one) == other ||
         CachedPath(one) == CachedPath(other);
}

void JudgeShared(const Release& release, std::size_t process, std::size_t component,
                 Findings& findings) {
  const std::string& path = release.processes[process].components[component].localpath;
  for (std::size_t i = 0; i <= process; ++i) {
    const auto& others = release.processes[i].components;
    const std::size_t end = i == process ? component : others.size();
    for (std::size_t j = 0; j < end; ++j) {
      if (!Meet(path, others[j].localpath)) continue;
      return findings.Add(Id::SharedPath, At(process, component, "localpath"),
                          "with " + At(i, j) + ": " + others[j].localpath);
    }
  }
}

}  // namespace

void JudgePaths(const Release& release, Findings& findings) {
  for (std::size_t i = 0; i < release.processes.size(); ++i) {
    for (std::size_t j = 0; j < release.processes[i].components.size(); ++j) {
      const std::string& path = release.processes[i].components[j].localpath;
      for (const auto& [id, breaks] : rules) {
        if (breaks(path)) findings.Add(id, At(i, j, "localpath"), path);
      }
      JudgeShared(release, i, j, findings);
    }
  }
}

}  // namespace check
