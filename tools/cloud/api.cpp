#include "tools/cloud/api.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <vector>

#include "tools/cloud/json.h"
#include "tools/cloud/manifest.h"

namespace standin {
namespace {

namespace fs = std::filesystem;

using Keys = std::vector<const char*>;
using Fields = std::map<std::string, std::string>;

constexpr std::string_view filesPrefix = "/files/";
const Keys processesKeys = {"mac", "enr", "sc", "sv", "ts", "version", "processname"};
const Keys locationKeys = {"mac", "enr", "sc", "sv", "ts", "processname", "filename", "version"};

constexpr std::string_view unreserved =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

std::string PercentEncoded(std::string_view text) {
  constexpr std::string_view hexDigits = "0123456789ABCDEF";
  std::string encoded;
  for (const char character : text) {
    if (unreserved.find(character) != std::string_view::npos) {
      encoded += character;
      continue;
    }
    const auto byte = static_cast<unsigned char>(character);
    encoded += {'%', hexDigits[byte >> 4U], hexDigits[byte & 0xFU]};
  }
  return encoded;
}

bool IsMac(const std::string& text) {
  return text.size() == 12 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

std::optional<Fields> ReadFields(const std::string& body, const Keys& keys, std::string& error) {
  const CJsonOwner tree = ParseJson(body);
  if (!cJSON_IsObject(tree.get())) {
    error = tree ? "the body is not a JSON object" : "the body is not JSON";
    return std::nullopt;
  }
  Fields fields;
  for (const char* key : keys) {
    if (GetString(tree.get(), key, fields[key])) continue;
    const bool present = cJSON_GetObjectItemCaseSensitive(tree.get(), key) != nullptr;
    error = std::string("\"") + key + (present ? "\" is not a string" : "\" is missing");
    return std::nullopt;
  }
  return fields;
}

std::optional<Fields> ReadRequest(const std::string& body, const Keys& keys, std::string& error) {
  auto fields = ReadFields(body, keys, error);
  if (!fields) return std::nullopt;
  for (const char* credential : {"sc", "sv"}) {
    if (!fields->at(credential).empty()) continue;
    error = std::string("\"") + credential + "\" is empty";
    return std::nullopt;
  }
  if (IsMac(fields->at("mac"))) return fields;
  error = "\"mac\" is not 12 lowercase hexadecimal digits";
  return std::nullopt;
}

std::string Note(const Fields& fields, const Keys& keys) {
  std::string note;
  for (const char* key : keys) note += std::string(" ") + key + "=" + fields.at(key);
  return note.substr(1);
}

Answer ProcessesAnswer(const Service& service, const Fields& fields) {
  const std::string& label = fields.at("version");
  if (!IsLabel(label)) return ErrorAnswer(400, "\"version\" is no label");
  ManifestFile file = LoadManifest(service.folder, label);
  if (file.state == ManifestFile::State::Missing) return ErrorAnswer(404, file.error);
  if (file.state == ManifestFile::State::Broken) return ErrorAnswer(500, file.error);

  Answer answer;
  const std::string& name = fields.at("processname");
  if (!name.empty()) file.manifest.KeepOnly(name);
  answer.body = name.empty() ? file.text : file.manifest.Compact();
  return answer;
}

Answer LocationAnswer(const Service& service, const Fields& fields) {
  const std::string& filename = fields.at("filename");
  const std::string& version = fields.at("version");
  if (!IsPathElement(filename)) return ErrorAnswer(400, "\"filename\" is no plain file name");
  if (!IsPathElement(version)) return ErrorAnswer(400, "\"version\" is no plain file name");
  std::error_code code;
  if (!fs::is_regular_file(service.folder.ComponentPath(filename, version), code)) {
    return ErrorAnswer(404, "no file \"" + filename + "\" of version \"" + version + "\"");
  }
  const CJsonOwner tree = NewObject();
  cJSON* data = AddObject(tree.get(), "data");
  PutString(data, "filename", filename);
  PutString(data, "version", version);
  PutString(data, "url",
            service.filesUrl + std::string(filesPrefix) + PercentEncoded(filename) + "/" +
                PercentEncoded(version));
  Answer answer;
  answer.body = CompactText(tree.get());
  return answer;
}

Answer PostProcesses(const Service& service, const std::string& body) {
  std::string error;
  const auto fields = ReadRequest(body, processesKeys, error);
  if (!fields) return ErrorAnswer(400, error);
  Answer answer = ProcessesAnswer(service, *fields);
  answer.note = Note(*fields, {"version", "processname", "mac"});
  return answer;
}

Answer PostLocation(const Service& service, const std::string& body) {
  std::string error;
  const auto fields = ReadRequest(body, locationKeys, error);
  if (!fields) return ErrorAnswer(400, error);
  Answer answer = LocationAnswer(service, *fields);
  answer.note = Note(*fields, {"processname", "filename", "version", "mac"});
  return answer;
}

Answer GetFile(const Service& service, const std::string& path) {
  const std::string rest = path.substr(filesPrefix.size());
  const std::size_t slash = std::min(rest.find('/'), rest.size());
  const std::string filename = rest.substr(0, slash);
  const std::string version = slash < rest.size() ? rest.substr(slash + 1) : "";
  if (!IsPathElement(filename) || !IsPathElement(version)) {
    return ErrorAnswer(400, "the path must be /files/<filename>/<version>");
  }
  Answer answer;
  answer.file = service.folder.ComponentPath(filename, version);
  std::error_code code;
  if (fs::is_regular_file(*answer.file, code)) return answer;
  return ErrorAnswer(404, "no such file");
}

}  // namespace

Answer ErrorAnswer(int status, const std::string& message) {
  const CJsonOwner tree = NewObject();
  cJSON* error = AddObject(tree.get(), "error");
  AddNumber(error, "code", status);
  PutString(error, "message", message);
  return {status, CompactText(tree.get()), std::nullopt, "", message};
}

Answer HandleRequest(const Service& service, const std::string& method, const std::string& path,
                     const std::string& body) {
  const bool processes = path == "/device/process/get_processes";
  const bool location = path == "/device/process/get_download_location";
  const bool file = path.compare(0, filesPrefix.size(), filesPrefix) == 0;
  if (!processes && !location && !file) return ErrorAnswer(404, "unknown path");
  const std::string allowed = file ? "GET" : "POST";
  if (method != allowed) return ErrorAnswer(405, "this path takes " + allowed + " only");
  if (processes) return PostProcesses(service, body);
  if (location) return PostLocation(service, body);
  return GetFile(service, path);
}

}  // namespace standin
