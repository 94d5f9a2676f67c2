#include <cstring>
#include <initializer_list>

#include "cloud/http_request.h"
#include "cloud/identity.h"
#include "cloud/session.h"
#include "platform/json.h"
#include "platform/log.h"

namespace {

struct Field {
  const char* key;
  const std::string& value;
};

struct Call {
  const char* path;
  const char* what;  // begins the line about its outcome
};

[[nodiscard]] bool AddFields(cJSON* object, std::initializer_list<Field> fields) {
  for (const Field& field : fields) {
    if (!AddString(object, field.key, field.value)) return false;
  }
  return true;
}

// The request's JSON text: the device's identity, then the call's own fields. Null when the token
// or memory is missing.
CJsonText RequestText(std::initializer_list<Field> callFields) {
  const CJsonOwner object(cJSON_CreateObject());
  if (!object || !AddString(object.get(), "mac", HttpRequest::mac)) return nullptr;
  // The device may have got a new token since the last request.
  if (GetENR(HttpRequest::enr) != 0) return nullptr;
  const std::string timestamp = GetTimestampInMs();
  if (!AddFields(object.get(), {{"enr", HttpRequest::enr},
                                {"sc", HttpRequest::sc},
                                {"sv", HttpRequest::sv},
                                {"ts", timestamp}})) {
    return nullptr;
  }
  if (!AddFields(object.get(), callFields)) return nullptr;
  return CJsonText(cJSON_PrintUnformatted(object.get()));
}

[[nodiscard]] int Send(const std::string& url, const char* text, std::vector<char>& body) {
  Session session;
  if (!session.IsOpen()) return requestNotPrepared;
  if (session.VerifyPeer() != CURLE_OK) return requestNotPrepared;
  curl_slist* headers = session.MakeHeaders();
  if (headers == nullptr) return requestNotPrepared;
  session.Set(CURLOPT_URL, url.c_str());
  session.Set(CURLOPT_POSTFIELDS, text);
  session.Set(CURLOPT_POSTFIELDSIZE, static_cast<long>(std::strlen(text)));
  session.Set(CURLOPT_HTTPHEADER, headers);
  return ResultOf(session.Perform(callTimeoutSec, body));
}

[[nodiscard]] int Post(const Call& call, std::initializer_list<Field> callFields,
                       std::vector<char>& body) {
  body.clear();
  const CJsonText text = RequestText(callFields);
  if (!text) return requestNotPrepared;
  const int result = Send(HttpRequest::domain + call.path, text.get(), body);
  if (result == requestNotPrepared) return result;
  Log(std::string(call.what) + " from domain " + HttpRequest::domain + ", status " +
      std::to_string(result));
  return result;
}

}  // namespace

int HttpRequest::GetProcess(const std::string& version, const std::string& processname,
                            std::vector<char>& body) {
  return Post({getProcessesPath, "Get processes"},
              {{"version", version}, {"processname", processname}}, body);
}

int HttpRequest::GetProcesses(const std::string& version, std::vector<char>& body) {
  return GetProcess(version, "", body);
}

int HttpRequest::GetDownloadLocation(const std::string& processname, const std::string& filename,
                                     const std::string& version, std::vector<char>& body) {
  return Post({getDownloadLocationPath, "Get download location"},
              {{"processname", processname}, {"filename", filename}, {"version", version}}, body);
}
