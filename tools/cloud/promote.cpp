#include <stdexcept>

#include "tools/cloud/judged.h"

Judged Promote(const ReleaseFolder& folder, const std::string& process) {
  folder.RequireRoot();
  const Descriptor turn = folder.Lock();
  const Manifest latest = LoadManifest(folder, "latest");
  Manifest good = FindManifest(folder, "lastknowngood").value_or(Manifest());
  const Json* entry = latest.Find(process);
  if (entry == nullptr) throw std::runtime_error("no process " + process + " under latest");
  good.Put(*entry);
  const auto noSource = [](const std::string&, const std::string&) { return std::string(); };
  Judged judged = Judge(folder, "lastknowngood", good, process, noSource, false);
  if (!judged.IsRefused()) PutManifest(folder, judged.label, judged.text);
  return judged;
}
