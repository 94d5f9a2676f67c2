#include "tools/cloud/device_api.h"

#include <httplib.h>

#include <algorithm>
#include <map>

#include "tools/cloud/manifest.h"

namespace {

using Fields = std::map<std::string, std::string>;

Fields ReadFields(const std::string& body, const std::vector<std::string>& keys) {
  const Json object = Json::parse(body, nullptr, false);
  if (!object.is_object()) throw Refusal{400, "the body is not a JSON object"};
  Fields fields;
  for (const auto& key : keys) {
    if (!object.contains(key)) throw Refusal{400, "\"" + key + "\" is missing"};
    if (!object[key].is_string()) throw Refusal{400, "\"" + key + "\" is not a string"};
    fields[key] = object[key];
  }
  if (fields["sc"].empty() || fields["sv"].empty()) throw Refusal{400, "a credential is empty"};
  const std::string& mac = fields["mac"];
  const bool isMac = mac.size() == 12 && mac.find_first_not_of("0123456789abcdef") == mac.npos;
  return isMac ? fields : throw Refusal{400, "\"mac\" is not 12 lowercase hexadecimal digits"};
}

}  // namespace

std::string ProcessesAnswer(const ReleaseFolder& folder, const std::string& body) {
  Fields fields = ReadFields(body, {"mac", "enr", "sc", "sv", "ts", "version", "processname"});
  const std::string &label = fields["version"], &name = fields["processname"];
  if (!IsLabel(label)) throw Refusal{400, "\"version\" is no label"};
  auto manifest = FindManifest(folder, label);
  if (!manifest) throw Refusal{404, "no manifest for label \"" + label + "\""};
  if (name.empty()) return manifest->text;

  auto& entries = manifest->Processes();
  const auto isUnasked = [&](const Json& entry) { return NameOf(entry) != name; };
  entries.erase(std::remove_if(entries.begin(), entries.end(), isUnasked), entries.end());
  return manifest->document.dump();
}

std::string LocationAnswer(const ReleaseFolder& folder, const std::string& filesUrl,
                           const std::string& body) {
  Fields fields =
      ReadFields(body, {"mac", "enr", "sc", "sv", "ts", "processname", "filename", "version"});
  const std::string &filename = fields["filename"], &version = fields["version"];
  if (!IsPathElement(filename) || !IsPathElement(version)) throw Refusal{400, "no plain names"};
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(folder.ComponentPath(filename, version), ignored)) {
    throw Refusal{404, "no file \"" + filename + "\" of version \"" + version + "\""};
  }
  using httplib::detail::encode_query_param;
  const auto path = "/files/" + encode_query_param(filename) + "/" + encode_query_param(version);
  Json answer;
  answer["data"] = {{"filename", filename}, {"version", version}, {"url", filesUrl + path}};
  return answer.dump();
}
