#include "tests/cloud/curl_recorder.h"

#include <curl/curl.h>
#include <dlfcn.h>

#include <cstdarg>
#include <utility>
#include <vector>

#include "cloud/write_body.h"
#include "tests/fakes/scarcity.h"

CurlRecorder curlRecorder;

namespace {

std::vector<char>* body = nullptr;  // of the next transfer

template <typename Function, typename... Arguments>
auto Record(std::string_view call, Function* /*type*/, const char* name, Arguments... arguments) {
  const Spared spared;
  curlRecorder.calls.append(" ").append(call);
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
  const Spared spared;
  va_list arguments;
  va_start(arguments, option);
  void* value = va_arg(arguments, void*);
  va_end(arguments);
  if (option == CURLOPT_WRITEDATA) body = static_cast<std::vector<char>*>(value);
  const curl_easyoption& known = *curl_easy_option_by_id(option);
  const std::string call = std::string(known.name) + "=" + Shown(known.type, value);
  if (option == CURLOPT_TIMEOUT) {
    value = reinterpret_cast<void*>(reinterpret_cast<long>(value) * curlRecorder.second);
    option = CURLOPT_TIMEOUT_MS;
  }
  return Record(call, curl_easy_setopt, __func__, handle, option, value);
}

CURL* curl_easy_init() {
  return curlRecorder.noHandle ? nullptr : Record(__func__, curl_easy_init, __func__);
}
CURLcode curl_global_init(long flags) {
  const Spared spared;
  return Record("curl_global_init=" + std::to_string(flags), curl_global_init, __func__, flags);
}
CURLcode curl_easy_perform(CURL* curl) {
  if (!curlRecorder.answer) return Record(__func__, curl_easy_perform, __func__, curl);
  const bool spared = std::exchange(Spared::now, true);
  const auto [text, code] = curlRecorder.answer(std::exchange(curlRecorder.calls, {}));
  Spared::now = spared;
  if (!text.empty()) (void)WriteBodyCallback(text.data(), 1, text.size(), body);
  return CURLcode(code);
}
void curl_slist_free_all(curl_slist* list) {
  Record(__func__, curl_slist_free_all, __func__, list);
}
void curl_easy_cleanup(CURL* handle) { Record(__func__, curl_easy_cleanup, __func__, handle); }
void curl_global_cleanup() { Record(__func__, curl_global_cleanup, __func__); }
