#include <cstdint>
#include <new>

#include "cloud/http_request.h"
#include "cloud/transfer.h"
#include "platform/curl_owner.h"
#include "platform/log.h"
#include "supervisor/to_string.h"

HttpRequest* HttpRequest::instance = nullptr;
std::string HttpRequest::mac;
std::string HttpRequest::enr;
const std::string HttpRequest::sc = "5c0f3e9a7d214b68a1e2c7f09b3d6e45";
const std::string HttpRequest::sv = "3f8b21c6e0d94a7f85b6c2d1e9a04f73";
const std::string HttpRequest::domain = TOLVAR_CLOUD_URL;

HttpRequest* HttpRequest::Instance() {
  if (instance == nullptr) instance = new HttpRequest;
  return instance;
}

namespace {

// The transfer at hand, for the callback to ask. There is only ever one.
CURL* running = nullptr;

// Makes room for the whole body as the server announced it: growing step by step would copy it over
// and over and take twice its size. A length that memory does not hold is left to the growing.
void ReserveAnnounced(std::vector<char>& body) {
  curl_off_t length = -1;  // stays so when nothing was announced
  if (running == nullptr) return;
  (void)curl_easy_getinfo(running, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
  if (length <= 0 || static_cast<std::uint64_t>(length) > body.max_size()) return;
  try {
    body.reserve(static_cast<std::size_t>(length));
  } catch (const std::bad_alloc&) {
    return;
  }
}

}  // namespace

std::size_t WriteBodyCallback(const char* data, std::size_t size, std::size_t nmemb,
                              std::vector<char>* body) noexcept {
  const std::size_t count = size * nmemb;
  try {
    if (body->empty()) ReserveAnnounced(*body);
    // Appending instead of resizing spares zeroing each byte before it is overwritten.
    body->insert(body->end(), data, data + count);
  } catch (...) {
    return 0;
  }
  return count;
}

void VerifyPeer(CURL* handle) {
  SetOption(handle, CURLOPT_SSL_VERIFYPEER, 1L);
  SetOption(handle, CURLOPT_SSL_VERIFYHOST, 2L);
  SetOption(handle, CURLOPT_CAINFO, "/tmp/cacert.pem");
}

void CollectBody(CURL* handle, long timeoutSec, std::vector<char>* body) {
  SetOption(handle, CURLOPT_TIMEOUT, timeoutSec);
  SetOption(handle, CURLOPT_WRITEFUNCTION, &WriteBodyCallback);
  SetOption(handle, CURLOPT_WRITEDATA, body);
}

int Perform(CURL* handle) {
  running = handle;
  const CURLcode code = curl_easy_perform(handle);
  running = nullptr;
  if (code == CURLE_OK) return 0;
  Log("Curl return code " + ToString(static_cast<int>(code)));
  return 2;
}

int HttpRequest::GetResponse(const std::string& url, std::vector<char>& body) {
  body.clear();
  (void)curl_global_init(CURL_GLOBAL_ALL);  // a failure shows in the handle
  CurlHandle handle(curl_easy_init());
  // Without a handle the global initialisation stays unbalanced, here and in the API requests: it
  // is a count, the next request goes on from it.
  if (!handle) return 1;

  VerifyPeer(handle.get());
  SetOption(handle.get(), CURLOPT_URL, url.c_str());
  CollectBody(handle.get(), 120L, &body);
  const int result = Perform(handle.get());

  handle.reset();
  curl_global_cleanup();
  Log("Get response from url " + url + ", status " + ToString(result));
  return result;
}
