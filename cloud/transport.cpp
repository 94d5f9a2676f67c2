#include <string>

#include "cloud/http_request.h"
#include "cloud/session.h"
#include "platform/log.h"

HttpRequest* HttpRequest::instance = nullptr;
std::string HttpRequest::mac;
std::string HttpRequest::enr;
const std::string HttpRequest::sc = TOLVAR_CLIENT_SC;
const std::string HttpRequest::sv = TOLVAR_CLIENT_SV;
const std::string HttpRequest::domain = TOLVAR_CLOUD_URL;

namespace {

[[nodiscard]] int Fetch(const std::string& url, std::vector<char>& body) {
  Session session;
  if (!session.IsOpen()) return requestNotPrepared;
  const CURLcode trust = session.VerifyPeer();
  if (trust != CURLE_OK) return ResultOf(trust);
  session.Set(CURLOPT_URL, url.c_str());
  return ResultOf(session.Perform(fileTimeoutSec, body));
}

}  // namespace

HttpRequest* HttpRequest::Instance() {
  if (instance == nullptr) instance = new HttpRequest;
  return instance;
}

int HttpRequest::GetResponse(const std::string& url, std::vector<char>& body) {
  body.clear();
  const int result = Fetch(url, body);
  if (result == requestNotPrepared) return result;
  Log("Get response from url " + url + ", status " + std::to_string(result));
  return result;
}
