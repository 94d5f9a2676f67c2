#include "process/parse_manifest.h"

#include <array>
#include <utility>

#include "platform/json.h"
#include "platform/log.h"
#include "platform/to_unsigned.h"

namespace {

// Anything but a number, its text form too, counts as absent.
void ReadOptionalNumber(const cJSON* object, const char* key, std::uint32_t& out) {
  const cJSON* item = cJSON_GetObjectItemCaseSensitive(object, key);
  if (cJSON_IsNumber(item)) out = ToUnsigned(item->valuedouble);
}

[[nodiscard]] bool ReadComponent(const cJSON* element, Process& process) {
  Component component;
  component.processname = process.name;
  if (!ReadString(element, "filename", component.filename)) return false;
  if (!ReadString(element, "localpath", component.localpath)) return false;
  if (!ReadString(element, "version", component.version)) return false;
  if (!ReadString(element, "checksum", component.checksum)) return false;
  Log("Parsed component " + component.filename + ", version " + component.version);
  process.components.push_back(std::move(component));
  return true;
}

[[nodiscard]] bool ReadComponents(const cJSON* list, Process& process) {
  if (list == nullptr) return false;
  const cJSON* element = nullptr;
  cJSON_ArrayForEach(element, list) {
    if (!ReadComponent(element, process)) return false;
  }
  return true;
}

[[nodiscard]] bool ReadProcess(const cJSON* element, Process& process) {
  if (!ReadString(element, "processname", process.name)) return false;
  if (!ReadString(element, "version", process.version)) return false;
  if (!ReadString(element, "entrypoint", process.entrypoint)) return false;
  ReadOptionalNumber(element, "maxstartuptime", process.maxstartuptime);
  ReadOptionalNumber(element, "maxretries", process.maxretries);
  return ReadComponents(ArrayAt(element, "components"), process);
}

}  // namespace

const char* ManifestText(std::vector<char>& body) {
  constexpr std::array<char, 1> end = {};
  body.insert(body.end(), end.data(), end.data() + end.size());
  return body.data();
}

int ParseManifest(const char* text, std::vector<Process>& out) {
  out.clear();
  const CJsonOwner root(cJSON_Parse(text));
  if (!cJSON_IsObject(root.get())) return 1;
  const cJSON* list = ArrayAt(ObjectAt(root.get(), "data"), "processes");
  if (list == nullptr) return 1;

  const cJSON* element = nullptr;
  cJSON_ArrayForEach(element, list) {
    Process process;
    if (!ReadProcess(element, process)) return 1;
    out.push_back(std::move(process));
  }
  return 0;
}
