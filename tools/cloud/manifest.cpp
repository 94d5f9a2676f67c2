#include "tools/cloud/manifest.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "tools/tolvar/check/folder.h"

namespace {

const Json::json_pointer processesPlace("/data/processes");

Manifest Parse(const std::string& text, const std::string& label) {
  Manifest manifest{text, Json::parse(text, nullptr, false)};
  const Json& document = manifest.document;
  if (document.contains(processesPlace) && document[processesPlace].is_array()) return manifest;
  throw std::runtime_error("broken manifest of label \"" + label +
                           R"(": it must be JSON of the form {"data":{"processes":[...]}})");
}

}  // namespace

Json::array_t& Manifest::Processes() {
  return document.at(processesPlace).get_ref<Json::array_t&>();
}

const Json::array_t& Manifest::Processes() const {
  return document.at(processesPlace).get_ref<const Json::array_t&>();
}

std::size_t Manifest::IndexOf(const std::string& process) const {
  const auto& entries = Processes();
  const auto isIt = [&](const Json& entry) { return NameOf(entry) == process; };
  const auto place = std::find_if(entries.begin(), entries.end(), isIt);
  return static_cast<std::size_t>(place - entries.begin());
}

const Json* Manifest::Find(const std::string& process) const {
  const std::size_t index = IndexOf(process);
  return index == Processes().size() ? nullptr : &Processes()[index];
}

void Manifest::Put(const Json& entry) {
  const std::size_t index = IndexOf(NameOf(entry));
  if (index == Processes().size()) return Processes().push_back(entry);
  Processes()[index] = entry;
}

std::optional<Manifest> FindManifest(const ReleaseFolder& folder, const std::string& label) {
  const auto path = folder.ManifestPath(label);
  if (!std::filesystem::exists(path)) return std::nullopt;
  std::ifstream file = OpenFile(path);
  return Parse({std::istreambuf_iterator<char>(file), {}}, label);
}

Manifest LoadManifest(const ReleaseFolder& folder, const std::string& label) {
  folder.RequireRoot();
  auto manifest = FindManifest(folder, label);
  if (!manifest) throw std::runtime_error("no manifest for label \"" + label + "\"");
  return *manifest;
}

std::string NameOf(const Json& process, const char* key) {
  const Json name = process.is_object() ? process.value(key, Json()) : Json();
  return name.is_string() ? name.get<std::string>() : "";
}

void PutManifest(const ReleaseFolder& folder, const std::string& label, const std::string& text) {
  if (label == "latest") check::NoteTakenBack(folder, text);
  PutText(folder.ManifestPath(label), text);
}
