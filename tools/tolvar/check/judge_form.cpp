// Where a manifest is faulty is found by having the product read each of its pieces alone.
#include "platform/json.h"
#include "tools/tolvar/check/judge.h"
#include "tools/tolvar/product/read_manifest.h"

namespace check {
namespace {

// Whether `process`, with the one component `component` or with none, can be read.
[[nodiscard]] bool CanBeRead(const cJSON* process, const cJSON* component) {
  const CJsonOwner copy(cJSON_Duplicate(process, 1));
  cJSON* components = cJSON_GetObjectItemCaseSensitive(copy.get(), "components");
  if (cJSON_IsArray(components)) {
    while (cJSON_GetArraySize(components) > 0) cJSON_DeleteItemFromArray(components, 0);
    if (component != nullptr) cJSON_AddItemToArray(components, cJSON_Duplicate(component, 1));
  }
  const CJsonText text(cJSON_PrintUnformatted(copy.get()));
  return text &&
         product::ReadManifest(std::string(R"({"data":{"processes":[)") + text.get() + "]}}")
             .has_value();
}

std::string FaultOf(const cJSON* process, std::size_t index) {
  if (!CanBeRead(process, nullptr)) return At(index);
  std::size_t number = 0;
  const cJSON* component = nullptr;
  cJSON_ArrayForEach(component, ArrayAt(process, "components")) {
    if (!CanBeRead(process, component)) return At(index, number);
    ++number;
  }
  return "";
}

// The first piece that alone is faulty; "" when it is the document.
std::string Fault(const std::string& text) {
  const CJsonOwner root(cJSON_Parse(text.c_str()));
  std::size_t index = 0;
  const cJSON* process = nullptr;
  cJSON_ArrayForEach(process, ArrayAt(ObjectAt(root.get(), "data"), "processes")) {
    const std::string place = FaultOf(process, index);
    if (!place.empty()) return place;
    ++index;
  }
  return "";
}

}  // namespace

void JudgeForm(const Release& release, Findings& findings) {
  if (!product::ReadManifest(release.text))
    return findings.Add(Id::NoManifest, Fault(release.text));
  if (release.processes.empty()) findings.Add(Id::EmptyList, "/data/processes");
  for (std::size_t i = 0; i < release.processes.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (release.processes[i].name != release.processes[j].name) continue;
      findings.Add(Id::RepeatedProcess, At(i, "processname"), release.processes[i].name);
      break;
    }
  }
}

}  // namespace check
