#include <algorithm>
#include <stdexcept>

#include "tools/cloud/manifest.h"

void Withdraw(const ReleaseFolder& folder, const std::string& label, const std::string& process) {
  folder.RequireRoot();
  const Descriptor turn = folder.Lock();
  Manifest manifest = LoadManifest(folder, label);
  auto& entries = manifest.Processes();
  const auto isUnwanted = [&](const Json& entry) { return NameOf(entry) == process; };
  const auto end = std::remove_if(entries.begin(), entries.end(), isUnwanted);
  if (end == entries.end()) throw std::runtime_error("no process " + process + " under " + label);
  entries.erase(end, entries.end());
  PutManifest(folder, label, manifest.document.dump(2) + "\n");
}
