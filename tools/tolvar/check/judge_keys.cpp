// What of the document the product passes over without a word.
#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "platform/json.h"
#include "platform/to_unsigned.h"
#include "tools/tolvar/check/judge.h"

namespace check {
namespace {

using Keys = std::initializer_list<std::string_view>;

void JudgeObject(const cJSON* object, const std::string& place, Keys known, Findings& findings) {
  if (!cJSON_IsObject(object)) return;
  std::vector<std::string_view> seen;
  const cJSON* item = nullptr;
  cJSON_ArrayForEach(item, object) {
    const std::string_view key = item->string;
    const std::string itemPlace = place + "/" + item->string;
    const bool isRepeated = std::find(seen.begin(), seen.end(), key) != seen.end();
    if (isRepeated) findings.Add(Id::RepeatedKey, itemPlace);
    if (std::find(known.begin(), known.end(), key) == known.end()) {
      findings.Add(Id::UnknownKey, itemPlace);
    }
    seen.push_back(key);
  }
}

void JudgeNumber(const cJSON* process, std::size_t index, const char* key, Findings& findings) {
  const cJSON* item = cJSON_GetObjectItemCaseSensitive(process, key);
  if (item == nullptr) return;
  if (!cJSON_IsNumber(item)) return findings.Add(Id::NoNumber, At(index, key));
  const std::uint32_t stored = ToUnsigned(item->valuedouble);
  const bool isOther = stored < item->valuedouble || stored > item->valuedouble;
  if (isOther) findings.Add(Id::OtherNumber, At(index, key), std::to_string(stored));
}

void JudgeProcess(const cJSON* process, std::size_t index, Findings& findings) {
  JudgeObject(
      process, At(index),
      {"processname", "version", "entrypoint", "maxstartuptime", "maxretries", "components"},
      findings);
  JudgeNumber(process, index, "maxstartuptime", findings);
  JudgeNumber(process, index, "maxretries", findings);
  std::size_t number = 0;
  const cJSON* component = nullptr;
  cJSON_ArrayForEach(component, ArrayAt(process, "components")) {
    JudgeObject(component, At(index, number), {"filename", "localpath", "version", "checksum"},
                findings);
    ++number;
  }
}

}  // namespace

// Other keys beside "data" and "processes" are the cloud's own business.
void JudgeKeys(const Release& release, Findings& findings) {
  const CJsonOwner root(cJSON_Parse(release.text.c_str()));
  std::size_t index = 0;
  const cJSON* process = nullptr;
  cJSON_ArrayForEach(process, ArrayAt(ObjectAt(root.get(), "data"), "processes")) {
    JudgeProcess(process, index, findings);
    ++index;
  }
}

}  // namespace check
