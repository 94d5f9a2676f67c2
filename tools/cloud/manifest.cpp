#include "tools/cloud/manifest.h"

#include <iterator>
#include <stdexcept>

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

std::string NameOf(const Json& process) {
  const Json name = process.is_object() ? process.value("processname", Json()) : Json();
  return name.is_string() ? name.get<std::string>() : "";
}
