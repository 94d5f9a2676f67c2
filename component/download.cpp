#include "cloud/http_request.h"
#include "component/component.h"
#include "component/integrity.h"
#include "platform/files.h"
#include "platform/json.h"
#include "platform/log.h"
#include "platform/memory.h"

namespace {

[[nodiscard]] bool HoldsExactly(const cJSON* object, const char* key, const std::string& expected) {
  const char* text = StringAt(object, key);
  return text != nullptr && expected == text;
}

[[nodiscard]] bool IsFetched(const Component& component, std::vector<char>& body) {
  const std::string& filename = component.filename;
  if (HttpRequest::Instance()->GetDownloadLocation(component.processname, filename,
                                                   component.version, body) != 0) {
    Log("GetDownloadLocation failed for component " + filename + " of process " +
        component.processname);
    return false;
  }
  std::string url;
  if (component.ParseResponse(body, url) != 0) {
    Log("Parse download url failed for component " + filename + ", response " +
        std::string(body.data(), body.size()));
    return false;
  }
  if (HttpRequest::GetResponse(url, body) != 0) {
    Log("GetResponse failed for component " + filename);
    return false;
  }
  return true;
}

[[nodiscard]] bool IsWritten(const Component& component, const std::string& path) {
  const FreedMemoryReturned returned;  // after the body, which may be large, is gone
  std::vector<char> body;
  const PagesReturned pagesReturned(body);  // before the body goes
  if (!IsFetched(component, body)) return false;
  if (WriteToPath(path, body) != 0) {
    Log("WriteToPath failed for path " + path);
    return false;
  }
  return true;
}

}  // namespace

int Component::ParseResponse(const std::vector<char>& body, std::string& url) const {
  const CJsonOwner root(cJSON_ParseWithLength(body.data(), body.size()));
  if (!cJSON_IsObject(root.get())) return 1;
  const cJSON* data = ObjectAt(root.get(), "data");
  if (!HoldsExactly(data, "filename", filename)) return 1;
  if (!HoldsExactly(data, "version", version)) return 1;
  if (!ReadString(data, "url", url)) return 1;
  Log("Parsed component info: name " + filename + ", version " + version + ", url " + url);
  return 0;
}

int Component::DownloadToPath(const std::string& path) const {
  if (!IsWritten(*this, path)) return 1;
  if (!CheckIntegrity(path, checksum)) {
    Log("CheckIntegrity failed for path " + path + ", checksum " + checksum);
    return 1;
  }
  Log("Downloaded component: name " + filename + ", version " + version);
  return 0;
}
