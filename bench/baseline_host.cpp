// A process that has loaded the plug-in's three libraries and used each once, then idles: what a
// host with the plug-in is compared with. baseline_host URL
#include <cjson/cJSON.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "cloud/session.h"
#include "platform/json.h"

namespace {

std::size_t Append(const char* data, std::size_t size, std::size_t count, std::string* body) {
  body->append(data, size * count);
  return size * count;
}

std::string Fetch(const char* url) {
  std::string body;
  (void)curl_global_init(CURL_GLOBAL_ALL);
  CurlHandle handle(curl_easy_init());
  (void)curl_easy_setopt(handle.get(), CURLOPT_CAINFO, "/tmp/cacert.pem");
  (void)curl_easy_setopt(handle.get(), CURLOPT_URL, url);
  (void)curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, &Append);
  (void)curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &body);
  const CURLcode code = curl_easy_perform(handle.get());
  handle.reset();
  curl_global_cleanup();
  return code == CURLE_OK ? body : "";
}

}  // namespace

int main(int count, char** values) {
  const std::string body = count == 2 ? Fetch(values[1]) : "";
  const CJsonOwner tree(cJSON_Parse(body.c_str()));
  unsigned char digest[EVP_MAX_MD_SIZE];
  const int digested = EVP_Digest(body.data(), body.size(), digest, nullptr, EVP_md5(), nullptr);
  if (!tree || digested != 1) return 1;
  (void)std::puts("idle");
  (void)std::fflush(stdout);
  return pause();
}
