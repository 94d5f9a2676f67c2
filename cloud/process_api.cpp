#include <cstring>
#include <initializer_list>

#include "cloud/http_request.h"
#include "cloud/identity.h"
#include "cloud/transfer.h"
#include "platform/curl_owner.h"
#include "platform/json_owner.h"
#include "platform/log.h"
#include "supervisor/to_string.h"

namespace {

struct Field {
  const char* key;
  const std::string& value;
};

[[nodiscard]] bool AddFields(cJSON* object, std::initializer_list<Field> fields) {
  for (const Field& field : fields) {
    if (cJSON_AddStringToObject(object, field.key, field.value.c_str()) == nullptr) return false;
  }
  return true;
}

// The request's JSON text: the device's identity, then the call's own fields. Null when the token
// or memory is missing.
CJsonText RequestText(std::initializer_list<Field> callFields) {
  const CJsonOwner object(cJSON_CreateObject());
  if (!object || !AddFields(object.get(), {{"mac", HttpRequest::mac}})) return nullptr;
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

// The empty "Expect:" keeps libcurl from asking the server for leave to send the body. Null when
// memory is missing; a failed append leaves the old list to its owner.
CurlList RequestHeaders() {
  CurlList list(curl_slist_append(nullptr, "Expect:"));
  if (!list) return nullptr;
  curl_slist* longer = curl_slist_append(list.get(), "Content-Type: application/json");
  if (longer == nullptr) return nullptr;
  (void)list.release();  // `longer` is the same list
  return CurlList(longer);
}

// Posts the call's fields to `path` and logs the outcome as "<what> from domain ...".
int Post(const char* path, const char* what, std::initializer_list<Field> callFields,
         std::vector<char>& body) {
  body.clear();
  const CJsonText text = RequestText(callFields);
  if (!text) return 1;
  (void)curl_global_init(CURL_GLOBAL_ALL);  // a failure shows in the handle
  CurlHandle handle(curl_easy_init());
  if (!handle) return 1;  // leaves the global count unbalanced, see transport.cpp

  VerifyPeer(handle.get());
  CurlList headers = RequestHeaders();
  if (!headers) {
    handle.reset();
    curl_global_cleanup();
    return 1;
  }
  const std::string url = HttpRequest::domain + path;
  SetOption(handle.get(), CURLOPT_URL, url.c_str());
  SetOption(handle.get(), CURLOPT_POSTFIELDS, text.get());
  SetOption(handle.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(std::strlen(text.get())));
  SetOption(handle.get(), CURLOPT_HTTPHEADER, headers.get());
  CollectBody(handle.get(), 30L, &body);
  const int result = Perform(handle.get());

  headers.reset();
  handle.reset();
  curl_global_cleanup();
  Log(std::string(what) + " from domain " + HttpRequest::domain + ", status " + ToString(result));
  return result;
}

}  // namespace

int HttpRequest::GetProcess(const std::string& version, const std::string& processname,
                            std::vector<char>& body) {
  return Post("/device/process/get_processes", "Get processes",
              {{"version", version}, {"processname", processname}}, body);
}

int HttpRequest::GetProcesses(const std::string& version, std::vector<char>& body) {
  return GetProcess(version, "", body);
}

int HttpRequest::GetDownloadLocation(const std::string& processname, const std::string& filename,
                                     const std::string& version, std::vector<char>& body) {
  return Post("/device/process/get_download_location", "Get download location",
              {{"processname", processname}, {"filename", filename}, {"version", version}}, body);
}
