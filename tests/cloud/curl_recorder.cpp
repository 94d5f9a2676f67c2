#include "tests/cloud/curl_recorder.h"

#include <dlfcn.h>

#include <cstdarg>
#include <string_view>

#include "cloud/write_body.h"
#include "tests/fakes/scarcity.h"

CurlRecorder curlRecorder;

namespace {

CurlRequest current;                    // as far as its options have been set
std::vector<char>* nextBody = nullptr;  // of the next transfer

template <typename Function, typename... Arguments>
auto PassOn(Function* /*type*/, const char* name, Arguments... arguments) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name))(arguments...);
}

template <typename Function, typename... Arguments>
auto Record(std::string_view call, Function* type, const char* name, Arguments... arguments) {
  const Spared spared;
  curlRecorder.calls.emplace_back(call);
  return PassOn(type, name, arguments...);
}

std::string ListText(const curl_slist* item) {
  std::string text;
  for (; item != nullptr; item = item->next) text += "[" + std::string(item->data) + "]";
  return text;
}

// Numbers, texts and lists as they are; other pointers have nothing to show.
std::string Shown(curl_easytype type, void* value) {
  if (type <= CURLOT_VALUES) return std::to_string(reinterpret_cast<long>(value));
  if (type == CURLOT_STRING || type == CURLOT_OBJECT) return static_cast<char*>(value);
  if (type == CURLOT_SLIST) return ListText(static_cast<curl_slist*>(value));
  return "";
}

void Note(CURLoption option, void* value) {
  if (option == CURLOPT_URL) current = {static_cast<char*>(value), ""};
  if (option == CURLOPT_POSTFIELDS) current.json = static_cast<char*>(value);
  if (option == CURLOPT_WRITEDATA) nextBody = static_cast<std::vector<char>*>(value);
}

}  // namespace

// The signature is libcurl's. A long and a pointer travel alike on every target of the product.
#pragma GCC diagnostic ignored "-Wvarargs"
CURLcode curl_easy_setopt(CURL* curl, CURLoption option, ...) {
  const Spared spared;
  va_list arguments;
  va_start(arguments, option);
  void* value = va_arg(arguments, void*);
  va_end(arguments);
  const curl_easyoption& known = *curl_easy_option_by_id(option);
  curlRecorder.calls.push_back(std::string(known.name) + "=" + Shown(known.type, value));
  if (option == curlRecorder.refusedOption) return CURLE_OUT_OF_MEMORY;
  Note(option, value);
  if (option == CURLOPT_TIMEOUT) {
    const long milliseconds = reinterpret_cast<long>(value) * curlRecorder.second;
    return PassOn(curl_easy_setopt, __func__, curl, CURLOPT_TIMEOUT_MS, milliseconds);
  }
  return PassOn(curl_easy_setopt, __func__, curl, option, value);
}

CURLcode curl_easy_perform(CURL* curl) {
  {
    const Spared spared;
    curlRecorder.calls.emplace_back(__func__);
    curlRecorder.requests.push_back(current);
  }
  if (!curlRecorder.answer) return PassOn(curl_easy_perform, __func__, curl);
  Spared::now = true;
  const CurlAnswer answer = curlRecorder.answer(current);
  Spared::now = false;
  if (answer.body.empty()) return answer.code;
  const std::size_t size = answer.body.size();
  const bool taken = WriteBodyCallback(answer.body.data(), 1, size, nextBody) == size;
  return taken ? answer.code : CURLE_WRITE_ERROR;
}

CURL* curl_easy_init() {
  return curlRecorder.noHandle ? nullptr : Record(__func__, curl_easy_init, __func__);
}
CURLcode curl_global_init(long flags) {
  const Spared spared;
  return Record("curl_global_init=" + std::to_string(flags), curl_global_init, __func__, flags);
}
curl_slist* curl_slist_append(curl_slist* list, const char* data) {
  if (--curlRecorder.refusedHeader == 0) return nullptr;
  return PassOn(curl_slist_append, __func__, list, data);
}
void curl_slist_free_all(curl_slist* list) {
  Record(__func__, curl_slist_free_all, __func__, list);
}
void curl_easy_cleanup(CURL* curl) { Record(__func__, curl_easy_cleanup, __func__, curl); }
void curl_global_cleanup() { Record(__func__, curl_global_cleanup, __func__); }
