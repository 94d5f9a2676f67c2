#include "tools/cloud/publish.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace {

// A heartbeat has room for this much of a name; a longer one could never be matched.
constexpr std::size_t maxNameBytes = 131;

Json EntryOf(const PublishPlan& plan) {
  const PublishRequest& request = plan.request;
  Json entry = {{"processname", request.process},
                {"version", request.version},
                {"entrypoint", request.entrypoint}};
  if (request.maxstartuptime) entry["maxstartuptime"] = *request.maxstartuptime;
  if (request.maxretries) entry["maxretries"] = *request.maxretries;
  Json& components = entry["components"] = Json::array();
  for (const auto& [source, filename, localpath, version, checksum] : plan.components) {
    components.push_back({{"filename", filename},
                          {"localpath", localpath},
                          {"version", version},
                          {"checksum", checksum}});
  }
  return entry;
}

}  // namespace

PublishPlan PlanPublish(const ReleaseFolder& folder, const PublishRequest& request) {
  if (request.process.size() > maxNameBytes) {
    throw std::runtime_error("a process name has at most 131 bytes: " + request.process);
  }
  PublishPlan plan{request, {}, FindManifest(folder, request.label).value_or(Manifest())};
  std::map<std::filesystem::path, std::string> checksums;  // by place in the release folder
  for (const auto& text : request.components) {
    const auto& component = plan.components.emplace_back(ReadComponent(text, request.version));
    const auto place = folder.ComponentPath(component.filename, component.version);
    if (checksums.emplace(place, component.checksum).first->second == component.checksum) continue;
    throw std::runtime_error("two different files for " + place.string());
  }
  auto& entries = plan.manifest.Processes();
  const auto isOld = [&](const Json& entry) { return NameOf(entry) == request.process; };
  auto place = std::find_if(entries.begin(), entries.end(), isOld);
  if (place == entries.end()) place = entries.insert(place, Json());
  *place = EntryOf(plan);
  return plan;
}

void CarryOut(const ReleaseFolder& folder, const PublishPlan& plan) {
  for (const auto& component : plan.components) {
    PutCopy(folder.ComponentPath(component.filename, component.version), component.source);
  }
  PutText(folder.ManifestPath(plan.request.label), plan.manifest.document.dump(2) + "\n");
}
