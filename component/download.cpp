#include "cloud/http_request.h"
#include "component/component.h"
#include "component/integrity.h"
#include "component/storage.h"
#include "platform/json_owner.h"
#include "platform/log.h"

namespace {

// The string at `key`, or null. Keys are matched in their case; the first of a repeated key counts.
const char* StringAt(const cJSON* object, const char* key) {
  return cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(object, key));
}

bool HoldsExactly(const cJSON* object, const char* key, const std::string& expected) {
  const char* text = StringAt(object, key);
  return text != nullptr && expected == text;
}

}  // namespace

int Component::ParseResponse(const std::vector<char>& body, std::string& url) const {
  const CJsonOwner root(cJSON_ParseWithLength(body.data(), body.size()));
  if (!cJSON_IsObject(root.get())) return 1;
  const cJSON* data = cJSON_GetObjectItemCaseSensitive(root.get(), "data");
  if (!cJSON_IsObject(data)) return 1;
  if (!HoldsExactly(data, "filename", filename)) return 1;
  if (!HoldsExactly(data, "version", version)) return 1;
  const char* address = StringAt(data, "url");
  if (address == nullptr) return 1;

  url = address;
  Log("Parsed component info: name " + filename + ", version " + version + ", url " + url);
  return 0;
}

int Component::DownloadToPath(const std::string& path) const {
  std::vector<char> body;
  if (HttpRequest::Instance()->GetDownloadLocation(processname, filename, version, body) != 0) {
    Log("GetDownloadLocation failed for component " + filename + " of process " + processname);
    return 1;
  }
  std::string url;
  if (ParseResponse(body, url) != 0) {
    Log("Parse download url failed for component " + filename + ", response " +
        std::string(body.begin(), body.end()));
    return 1;
  }
  if (HttpRequest::GetResponse(url, body) != 0) {
    Log("GetResponse failed for component " + filename);
    return 1;
  }
  if (WriteToPath(path, body) != 0) {
    Log("WriteToPath failed for path " + path);
    return 1;
  }
  if (!CheckIntegrity(path, checksum)) {
    Log("CheckIntegrity failed for path " + path + ", checksum " + checksum);
    return 1;
  }
  Log("Downloaded component: name " + filename + ", version " + version);
  return 0;
}
