#include "tools/cloud/publish.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <utility>

#include "tools/cloud/arguments.h"
#include "tools/cloud/digest.h"

namespace standin {
namespace {

// A heartbeat has room for this much of a name; a longer one could never be matched.
constexpr std::size_t maxNameBytes = 131;

std::vector<std::string> SplitAtCommas(const std::string& text) {
  std::vector<std::string> fields;
  std::istringstream input(text);
  for (std::string field; std::getline(input, field, ',');) fields.push_back(field);
  return fields;
}

bool ReadLimit(const char* name, const std::optional<std::string>& text,
               std::optional<std::uint32_t>& limit, std::string& error) {
  if (!text) return true;
  limit = ParseNumber(*text, std::numeric_limits<std::uint32_t>::max());
  if (!limit) error = std::string(name) + " must be a number from 0 to 4294967295: " + *text;
  return limit.has_value();
}

bool CheckComponent(const ComponentRelease& component, std::string& error) {
  if (!IsPathElement(component.filename)) error = "no plain file name: " + component.filename;
  if (!IsPathElement(component.version)) error = "no plain version: " + component.version;
  if (component.localpath.empty() || component.localpath.front() != '/') {
    error = "local path is not absolute: " + component.localpath;
  }
  return error.empty();
}

bool AddComponent(const std::string& text, PublishPlan& plan, std::string& error) {
  const auto fields = SplitAtCommas(text);
  if (fields.size() < 3 || fields.size() > 4) {
    error = "component must be FILE,FILENAME,LOCALPATH[,VERSION]: " + text;
    return false;
  }
  const std::string& version = fields.size() == 4 ? fields[3] : plan.process.version;
  ComponentRelease component{fields[1], fields[2], version, ""};
  if (!CheckComponent(component, error)) return false;
  const auto digest = DigestOf(fields[0]);
  if (!digest) {
    error = "cannot read " + fields[0];
    return false;
  }
  component.checksum = digest->md5;
  plan.process.components.push_back(std::move(component));
  plan.files.push_back({fields[0], digest->bytes});
  return true;
}

// Two of them would lie in one place of the release folder.
bool CheckDistinct(const std::vector<ComponentRelease>& components, std::string& error) {
  for (auto one = components.begin(); one != components.end(); ++one) {
    const bool clash = std::any_of(components.begin(), one, [&](const auto& other) {
      return other.filename == one->filename && other.version == one->version &&
             other.checksum != one->checksum;
    });
    if (!clash) continue;
    error = "two different files for " + one->filename + " " + one->version;
    return false;
  }
  return true;
}

bool ReadProcess(const PublishRequest& request, PublishPlan& plan, std::string& error) {
  if (!IsLabel(request.label)) error = "no label: " + request.label;
  if (request.name.empty() || request.name.size() > maxNameBytes) {
    error = "a process name has 1 to 131 bytes: " + request.name;
  }
  if (!error.empty()) return false;
  plan.label = request.label;
  plan.process.name = request.name;
  plan.process.version = request.version;
  plan.process.entrypoint = request.entrypoint;
  return ReadLimit("maxstartuptime", request.maxstartuptime, plan.process.startupSec, error) &&
         ReadLimit("maxretries", request.maxretries, plan.process.launchRetries, error);
}

}  // namespace

std::optional<PublishPlan> PlanPublish(const ReleaseFolder& folder, const PublishRequest& request,
                                       std::string& error) {
  PublishPlan plan;
  if (!ReadProcess(request, plan, error)) return std::nullopt;
  for (const auto& component : request.components) {
    if (!AddComponent(component, plan, error)) return std::nullopt;
  }
  if (!CheckDistinct(plan.process.components, error)) return std::nullopt;

  ManifestFile file = LoadManifest(folder, request.label);
  if (file.state == ManifestFile::State::Broken) {
    error = file.error;
    return std::nullopt;
  }
  plan.manifest = std::move(file.manifest);
  plan.manifest.Put(plan.process);
  return plan;
}

bool CarryOut(const ReleaseFolder& folder, const PublishPlan& plan, std::string& error) {
  for (std::size_t i = 0; i < plan.files.size(); ++i) {
    const ComponentRelease& component = plan.process.components[i];
    const auto place = folder.ComponentPath(component.filename, component.version);
    if (!PutCopy(place, plan.files[i].source, error)) return false;
  }
  return PutText(folder.ManifestPath(plan.label), plan.manifest.Readable(), error);
}

}  // namespace standin
