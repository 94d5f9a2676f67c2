// Owners of what cJSON allocates, and the readings and writings that the product does with it. Keys
// are matched in their case; the first of a repeated key counts. Any thread.
#pragma once

#include <cjson/cJSON.h>

#include <memory>
#include <string>

struct CJsonDelete {
  void operator()(cJSON* tree) const noexcept { cJSON_Delete(tree); }
};
struct CJsonFree {
  void operator()(char* text) const noexcept { cJSON_free(text); }
};

// The root of a tree; items that were added to another tree must be released first.
using CJsonOwner = std::unique_ptr<cJSON, CJsonDelete>;
// The result of cJSON_Print*.
using CJsonText = std::unique_ptr<char, CJsonFree>;

// The object, array or string at `key` of `object`; null when there is none of that type, or no
// object.
[[nodiscard]] const cJSON* ObjectAt(const cJSON* object, const char* key);
[[nodiscard]] const cJSON* ArrayAt(const cJSON* object, const char* key);
[[nodiscard]] const char* StringAt(const cJSON* object, const char* key);

// Copies the string at `key` into `out`; false, with `out` as it was, when there is none.
[[nodiscard]] bool ReadString(const cJSON* object, const char* key, std::string& out);

// Adds `value` as a string; false when memory is missing.
[[nodiscard]] bool AddString(cJSON* object, const char* key, const std::string& value);
