#include "platform/json.h"

const cJSON* ObjectAt(const cJSON* object, const char* key) {
  const cJSON* item = cJSON_GetObjectItemCaseSensitive(object, key);
  return cJSON_IsObject(item) ? item : nullptr;
}

const cJSON* ArrayAt(const cJSON* object, const char* key) {
  const cJSON* item = cJSON_GetObjectItemCaseSensitive(object, key);
  return cJSON_IsArray(item) ? item : nullptr;
}

const char* StringAt(const cJSON* object, const char* key) {
  return cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(object, key));
}

bool ReadString(const cJSON* object, const char* key, std::string& out) {
  const char* text = StringAt(object, key);
  if (text == nullptr) return false;
  out = text;
  return true;
}

bool AddString(cJSON* object, const char* key, const std::string& value) {
  return cJSON_AddStringToObject(object, key, value.c_str()) != nullptr;
}
