#include "tools/cloud/json.h"

#include <new>

namespace standin {
namespace {

template <typename Pointer>
Pointer Allocated(Pointer pointer) {
  if (pointer == nullptr) throw std::bad_alloc();
  return pointer;
}

std::string TakeText(char* printed) { return CJsonText(Allocated(printed)).get(); }

}  // namespace

CJsonOwner ParseJson(const std::string& text) {
  // The terminator counts as input: cJSON looks for it to refuse what follows the value.
  return CJsonOwner(cJSON_ParseWithLengthOpts(text.c_str(), text.size() + 1, nullptr, 1));
}

bool GetString(const cJSON* object, const char* key, std::string& value) {
  const cJSON* member = cJSON_GetObjectItemCaseSensitive(object, key);
  if (!cJSON_IsString(member)) return false;
  value = member->valuestring;
  return true;
}

CJsonOwner NewObject() { return CJsonOwner(Allocated(cJSON_CreateObject())); }

void PutString(cJSON* object, const char* key, const std::string& value) {
  Allocated(cJSON_AddStringToObject(object, key, value.c_str()));
}

cJSON* AddObject(cJSON* object, const char* key) {
  return Allocated(cJSON_AddObjectToObject(object, key));
}

cJSON* AddArray(cJSON* object, const char* key) {
  return Allocated(cJSON_AddArrayToObject(object, key));
}

void AddNumber(cJSON* object, const char* key, double value) {
  Allocated(cJSON_AddNumberToObject(object, key, value));
}

void Append(cJSON* array, CJsonOwner item) {
  if (cJSON_AddItemToArray(array, item.get())) static_cast<void>(item.release());
}

std::string CompactText(const cJSON* tree) { return TakeText(cJSON_PrintUnformatted(tree)); }

std::string ReadableText(const cJSON* tree) { return TakeText(cJSON_Print(tree)) + "\n"; }

}  // namespace standin
