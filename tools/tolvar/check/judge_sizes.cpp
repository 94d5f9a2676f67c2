#include <sys/stat.h>

#include "cloud/http_request.h"
#include "tools/tolvar/check/judge.h"
#include "tools/tolvar/check/system.h"
#include "tools/tolvar/product/needs.h"

namespace check {
namespace {

// 0 where there is no such file.
std::uint64_t SizeOf(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

std::string Kilobytes(std::uint64_t bytes) { return std::to_string(bytes / 1000) + " kB"; }

void JudgeSize(std::uint64_t bytes, const Component& component, const std::string& place,
               const Limits& limits, Findings& findings) {
  const std::string what = component.filename + " has " + Kilobytes(bytes);
  if (limits.bytesPerSec > 0 && bytes > limits.bytesPerSec * fileTimeoutSec) {
    const std::uint64_t sec = (bytes + limits.bytesPerSec - 1) / limits.bytesPerSec;
    findings.Add(Id::SlowDownload, place, what + ", which take " + std::to_string(sec) + " s");
  }
  const std::uint64_t need = product::MemoryNeed(bytes, IsInMemory(component.localpath));
  if (limits.memoryBytes > 0 && need > limits.memoryBytes) {
    findings.Add(Id::MuchMemory, place,
                 what + ", which take " + Kilobytes(need) + " of " + Kilobytes(limits.memoryBytes));
  }
}

}  // namespace

void JudgeSizes(const Release& release, Findings& findings) {
  if (!release.beside.fileOf) return;
  for (std::size_t i = 0; i < release.processes.size(); ++i) {
    for (std::size_t j = 0; j < release.processes[i].components.size(); ++j) {
      const Component& component = release.processes[i].components[j];
      const std::uint64_t bytes = SizeOf(release.beside.fileOf(component));
      JudgeSize(bytes, component, At(i, j), release.beside.limits, findings);
    }
  }
}

}  // namespace check
