// Owners of what cJSON allocates: a tree and a printed text.
#pragma once

#include <cjson/cJSON.h>

#include <memory>

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
