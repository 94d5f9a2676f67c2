#include "cloud/session.h"

#include <string>

#include "cloud/http_request.h"
#include "cloud/write_body.h"
#include "platform/log.h"

CURL* Session::performing_ = nullptr;

namespace {

// A failure shows in the handle.
CURL* MakeHandle() {
  (void)curl_global_init(CURL_GLOBAL_ALL);
  return curl_easy_init();
}

}  // namespace

Session::Session() : handle_(MakeHandle()) {}

Session::~Session() {
  if (!handle_) return;
  headers_.reset();
  handle_.reset();
  curl_global_cleanup();
}

CURLcode Session::VerifyPeer() {
  CURL* handle = handle_.get();
  const CURLcode peer = curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
  const CURLcode host = curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
  const CURLcode authorities = curl_easy_setopt(handle, CURLOPT_CAINFO, "/tmp/cacert.pem");
  if (peer != CURLE_OK) return peer;
  if (host != CURLE_OK) return host;
  return authorities;
}

// The empty "Expect:" keeps libcurl from asking the server for leave to send the body. A failed
// append leaves the old list to its owner.
curl_slist* Session::MakeHeaders() {
  headers_.reset(curl_slist_append(nullptr, "Expect:"));
  if (!headers_) return nullptr;
  curl_slist* longer = curl_slist_append(headers_.get(), "Content-Type: application/json");
  if (longer == nullptr) return nullptr;
  (void)headers_.release();  // `longer` is the same list
  headers_.reset(longer);
  return longer;
}

CURLcode Session::Perform(long timeoutSec, std::vector<char>& body) {
  Set(CURLOPT_TIMEOUT, timeoutSec);
  Set(CURLOPT_WRITEFUNCTION, &WriteBodyCallback);
  Set(CURLOPT_WRITEDATA, &body);
  performing_ = handle_.get();
  const CURLcode code = curl_easy_perform(performing_);
  performing_ = nullptr;
  return code;
}

curl_off_t Session::AnnouncedBytes() {
  curl_off_t length = -1;  // stays so when nothing was announced
  if (performing_ == nullptr) return length;
  (void)curl_easy_getinfo(performing_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
  return length;
}

int ResultOf(CURLcode code) {
  if (code == CURLE_OK) return 0;
  Log("Curl return code " + std::to_string(static_cast<int>(code)));
  return transferFailed;
}
