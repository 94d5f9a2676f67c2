#include "tools/cloud/publish.h"

#include <stdexcept>

namespace {

using Components = std::vector<ComponentRelease>;

Json EntryOf(const PublishRequest& request, const Components& components) {
  Json entry = {{"processname", request.process},
                {"version", request.version},
                {"entrypoint", request.entrypoint}};
  if (request.maxstartuptime) entry["maxstartuptime"] = *request.maxstartuptime;
  if (request.maxretries) entry["maxretries"] = *request.maxretries;
  Json& list = entry["components"] = Json::array();
  for (const auto& [source, filename, localpath, version, checksum] : components) {
    list.push_back({{"filename", filename},
                    {"localpath", localpath},
                    {"version", version},
                    {"checksum", checksum}});
  }
  return entry;
}

// Devices go back to what was published before: its bytes must still be there.
void RequireUnused(const ReleaseFolder& folder, const ComponentRelease& component) {
  const auto place = folder.ComponentPath(component.filename, component.version);
  if (!std::filesystem::exists(place) || ChecksumOf(place) == component.checksum) return;
  throw std::runtime_error("other bytes than published before: " + component.filename + " " +
                           component.version + "; give them a version of their own, or --replace");
}

void PutComponent(const ReleaseFolder& folder, const ComponentRelease& component) {
  const auto place = folder.ComponentPath(component.filename, component.version);
  if (std::filesystem::exists(place) && ChecksumOf(place) == component.checksum) return;
  PutCopy(place, component.source);
}

Components ReadComponents(const ReleaseFolder& folder, const PublishRequest& request) {
  Components components;
  for (const auto& text : request.components) {
    components.push_back(ReadComponent(text, request.version));
    if (!request.replace) RequireUnused(folder, components.back());
  }
  return components;
}

}  // namespace

Published Publish(const ReleaseFolder& folder, const PublishRequest& request) {
  if (!request.dryRun) std::filesystem::create_directories(folder.root);
  const Descriptor turn = request.dryRun ? Descriptor(-1) : folder.Lock();
  const Components components = ReadComponents(folder, request);
  Manifest manifest = FindManifest(folder, request.label).value_or(Manifest());
  manifest.Put(EntryOf(request, components));
  const auto source = [&](const std::string& filename, const std::string& version) {
    for (const auto& own : components) {
      if (own.filename == filename && own.version == version) return own.source;
    }
    return std::string();
  };
  Published published{
      components, Judge(folder, request.label, manifest, request.process, source, request.replace)};
  if (request.dryRun || published.judged.IsRefused()) return published;
  for (const auto& component : components) PutComponent(folder, component);
  PutManifest(folder, request.label, published.judged.text);
  return published;
}
