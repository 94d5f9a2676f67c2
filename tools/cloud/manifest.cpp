#include "tools/cloud/manifest.h"

#include <utility>

#include "tools/cloud/json.h"

namespace standin {
namespace {

CJsonOwner ComponentTree(const ComponentRelease& component) {
  CJsonOwner tree = NewObject();
  PutString(tree.get(), "filename", component.filename);
  PutString(tree.get(), "localpath", component.localpath);
  PutString(tree.get(), "version", component.version);
  PutString(tree.get(), "checksum", component.checksum);
  return tree;
}

CJsonOwner ProcessTree(const ProcessRelease& process) {
  CJsonOwner tree = NewObject();
  PutString(tree.get(), "processname", process.name);
  PutString(tree.get(), "version", process.version);
  PutString(tree.get(), "entrypoint", process.entrypoint);
  if (process.startupSec) AddNumber(tree.get(), "maxstartuptime", *process.startupSec);
  if (process.launchRetries) AddNumber(tree.get(), "maxretries", *process.launchRetries);
  cJSON* components = AddArray(tree.get(), "components");
  for (const auto& component : process.components) Append(components, ComponentTree(component));
  return tree;
}

bool IsNamed(const cJSON* process, const std::string& name) {
  std::string found;
  return GetString(process, "processname", found) && found == name;
}

template <typename Predicate>
bool RemoveWhere(cJSON* processes, Predicate unwanted) {
  bool removed = false;
  for (cJSON* process = processes->child; process != nullptr;) {
    cJSON* const next = process->next;
    if (unwanted(process)) {
      cJSON_Delete(cJSON_DetachItemViaPointer(processes, process));
      removed = true;
    }
    process = next;
  }
  return removed;
}

}  // namespace

Manifest::Manifest() : tree(NewObject()) { AddArray(AddObject(tree.get(), "data"), "processes"); }

Manifest::Manifest(CJsonOwner document) : tree(std::move(document)) {}

std::optional<Manifest> Manifest::Parse(const std::string& text) {
  Manifest manifest(ParseJson(text));
  if (!cJSON_IsArray(manifest.Processes())) return std::nullopt;
  return manifest;
}

// cJSON answers null for a member of what is no object, of null as well.
cJSON* Manifest::Processes() const {
  const cJSON* data = cJSON_GetObjectItemCaseSensitive(tree.get(), "data");
  if (!cJSON_IsObject(data)) return nullptr;
  return cJSON_GetObjectItemCaseSensitive(data, "processes");
}

std::vector<std::string> Manifest::ProcessNames() const {
  std::vector<std::string> names;
  std::string name;
  for (const cJSON* process = Processes()->child; process != nullptr; process = process->next) {
    if (GetString(process, "processname", name)) names.push_back(name);
  }
  return names;
}

void Manifest::Put(const ProcessRelease& process) {
  CJsonOwner replacement = ProcessTree(process);
  for (cJSON* old = Processes()->child; old != nullptr; old = old->next) {
    if (!IsNamed(old, process.name)) continue;
    cJSON_ReplaceItemViaPointer(Processes(), old, replacement.release());
    return;
  }
  Append(Processes(), std::move(replacement));
}

bool Manifest::Remove(const std::string& name) {
  return RemoveWhere(Processes(), [&](const cJSON* process) { return IsNamed(process, name); });
}

void Manifest::KeepOnly(const std::string& name) {
  RemoveWhere(Processes(), [&](const cJSON* process) { return !IsNamed(process, name); });
}

std::string Manifest::Compact() const { return CompactText(tree.get()); }

std::string Manifest::Readable() const { return ReadableText(tree.get()); }

ManifestFile LoadManifest(const ReleaseFolder& folder, const std::string& label) {
  ManifestFile file;
  const std::filesystem::path path = folder.ManifestPath(label);
  std::error_code code;
  if (!std::filesystem::exists(path, code)) {
    file.error = "no manifest for label \"" + label + "\"";
    return file;
  }
  file.state = ManifestFile::State::Broken;
  file.error = "broken manifest of label \"" + label +
               "\": it must be readable, and JSON of the form " + R"({"data":{"processes":[...]}})";
  auto text = ReadText(path);
  if (!text) return file;
  auto manifest = Manifest::Parse(*text);
  if (!manifest) return file;
  return {ManifestFile::State::Loaded, std::move(*text), std::move(*manifest), ""};
}

}  // namespace standin
