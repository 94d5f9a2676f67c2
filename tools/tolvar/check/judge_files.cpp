#include "platform/digest.h"
#include "platform/files.h"
#include "tools/tolvar/check/judge.h"

namespace check {
namespace {

[[nodiscard]] bool IsMd5(const std::string& text) {
  return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == text.npos;
}

void JudgeFile(const Component& component, const std::string& place, const Surroundings& beside,
               Findings& findings) {
  const std::string path = beside.fileOf(component);
  const Descriptor file = OpenForReading(path);
  const std::string what = component.filename + " " + component.version;
  if (path.empty() || !file.IsOpen()) return findings.Add(Id::NoFile, place, what);
  const std::string actual = Md5OfDescriptor(file.Get());
  if (actual != component.checksum) findings.Add(Id::OtherFile, place, what + " has " + actual);
}

[[nodiscard]] bool AreTwoContents(const Component& one, const Component& other) {
  return one.filename == other.filename && one.version == other.version &&
         one.checksum != other.checksum;
}

// Whether a component of the list has other content under the same name and version.
[[nodiscard]] bool HasOtherContent(const Component& component,
                                   const std::vector<Process>& processes) {
  for (const Process& process : processes) {
    for (const Component& other : process.components) {
      if (AreTwoContents(component, other)) return true;
    }
  }
  return false;
}

void JudgeContents(const Component& component, const std::string& place, const Release& release,
                   Findings& findings) {
  const std::string what = component.filename + " " + component.version;
  const Surroundings& beside = release.beside;
  if (HasOtherContent(component, release.processes)) findings.Add(Id::TwoContents, place, what);
  if (HasOtherContent(component, beside.before)) {
    findings.Add(Id::TwoContents, place, what + ", as it was before");
  }
  for (const auto& [label, processes] : beside.others) {
    if (!HasOtherContent(component, processes)) continue;
    findings.Add(Id::TwoContents, place, what + " of \"" + label + "\"");
  }
}

}  // namespace

void JudgeFiles(const Release& release, Findings& findings) {
  for (std::size_t i = 0; i < release.processes.size(); ++i) {
    for (std::size_t j = 0; j < release.processes[i].components.size(); ++j) {
      const Component& component = release.processes[i].components[j];
      const std::string place = At(i, j, "checksum");
      if (!IsMd5(component.checksum)) findings.Add(Id::BadChecksum, place, component.checksum);
      if (release.beside.fileOf) JudgeFile(component, place, release.beside, findings);
      JudgeContents(component, place, release, findings);
    }
  }
}

}  // namespace check
