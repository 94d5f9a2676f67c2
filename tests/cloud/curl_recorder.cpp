#include "tests/cloud/curl_recorder.h"

#include <curl/curl.h>
#include <dlfcn.h>

#include <cstdarg>

CurlRecorder curlRecorder;

namespace {

template <typename Function, typename... Arguments>
auto Record(const std::string& call, Function* /*type*/, const char* name, Arguments... arguments) {
  curlRecorder.calls += " " + call;
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name))(arguments...);
}

// Numbers, texts and lists as they are; other pointers have nothing to show.
std::string Shown(curl_easytype type, void* value) {
  if (type <= CURLOT_VALUES) return std::to_string(reinterpret_cast<long>(value));
  if (type == CURLOT_STRING || type == CURLOT_OBJECT) return static_cast<char*>(value);
  auto* item = static_cast<curl_slist*>(type == CURLOT_SLIST ? value : nullptr);
  std::string text;
  for (; item != nullptr; item = item->next) text += "[" + std::string(item->data) + "]";
  return text;
}

}  // namespace

// The signature is libcurl's. A long and a pointer travel alike on every target of the product.
#pragma GCC diagnostic ignored "-Wvarargs"
CURLcode curl_easy_setopt(CURL* handle, CURLoption option, ...) {
  va_list arguments;
  va_start(arguments, option);
  void* value = va_arg(arguments, void*);
  va_end(arguments);
  const curl_easyoption& known = *curl_easy_option_by_id(option);
  return Record(std::string(known.name) + "=" + Shown(known.type, value), curl_easy_setopt,
                __func__, handle, option, value);
}

CURL* curl_easy_init() {
  return curlRecorder.noHandle ? nullptr : Record(__func__, curl_easy_init, __func__);
}
CURLcode curl_global_init(long flags) {
  return Record("curl_global_init=" + std::to_string(flags), curl_global_init, __func__, flags);
}
CURLcode curl_easy_perform(CURL* curl) {
  return Record(__func__, curl_easy_perform, __func__, curl);
}
void curl_slist_free_all(curl_slist* list) {
  Record(__func__, curl_slist_free_all, __func__, list);
}
void curl_easy_cleanup(CURL* handle) { Record(__func__, curl_easy_cleanup, __func__, handle); }
void curl_global_cleanup() { Record(__func__, curl_global_cleanup, __func__); }
