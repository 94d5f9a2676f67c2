// What the stand-in cloud needs of cJSON, with std::string at the edges. Lack of memory is
// std::bad_alloc here, as it is for every other allocation of this tool.
#pragma once

#include <string>

#include "platform/json.h"

namespace standin {

// The tree of `text`, which must be one JSON value and nothing after it; null when it is not.
[[nodiscard]] CJsonOwner ParseJson(const std::string& text);

// Whether `object`'s member of exactly this name is a string; `value` is set only then.
[[nodiscard]] bool GetString(const cJSON* object, const char* key, std::string& value);

[[nodiscard]] CJsonOwner NewObject();

// Each adds at the end of `object` or `array`, which keeps owning the addition; the second and
// third answer it.
void PutString(cJSON* object, const char* key, const std::string& value);
cJSON* AddObject(cJSON* object, const char* key);
cJSON* AddArray(cJSON* object, const char* key);
void AddNumber(cJSON* object, const char* key, double value);
void Append(cJSON* array, CJsonOwner item);

// Without white space, as it travels.
[[nodiscard]] std::string CompactText(const cJSON* tree);
// Indented, as people read it.
[[nodiscard]] std::string ReadableText(const cJSON* tree);

}  // namespace standin
