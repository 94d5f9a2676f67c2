#include <utility>

#include "platform/json_owner.h"
#include "platform/log.h"
#include "supervisor/processes.h"
#include "supervisor/to_unsigned.h"

namespace {

// Keys are matched in their case; the first of a repeated key counts.
[[nodiscard]] bool ReadString(const cJSON* object, const char* key, std::string& out) {
  const char* text = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(object, key));
  if (text == nullptr) return false;
  out = text;
  return true;
}

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
  if (!cJSON_IsArray(list)) return false;
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
  return ReadComponents(cJSON_GetObjectItemCaseSensitive(element, "components"), process);
}

}  // namespace

int Processes::ParseResponse(const char* text, std::vector<Process>& out) {
  out.clear();
  const CJsonOwner root(cJSON_Parse(text));
  if (!cJSON_IsObject(root.get())) return 1;
  const cJSON* data = cJSON_GetObjectItemCaseSensitive(root.get(), "data");
  if (!cJSON_IsObject(data)) return 1;
  const cJSON* list = cJSON_GetObjectItemCaseSensitive(data, "processes");
  if (!cJSON_IsArray(list)) return 1;

  const cJSON* element = nullptr;
  cJSON_ArrayForEach(element, list) {
    Process process;
    if (!ReadProcess(element, process)) return 1;
    out.push_back(std::move(process));
  }
  return 0;
}
