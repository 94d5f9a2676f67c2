#include <algorithm>
#include <utility>

#include "platform/clock.h"
#include "platform/json_owner.h"
#include "platform/log.h"
#include "platform/metrics_client.h"
#include "supervisor/processes.h"
#include "supervisor/to_string.h"

namespace {

[[nodiscard]] bool IsDue(const std::vector<Process>& processes, std::int64_t lastReportTime) {
  const bool someFailed =
      std::any_of(processes.begin(), processes.end(),
                  [](const Process& process) { return process.state == Process::State::Failed; });
  const std::int64_t elapsedSec = (NowMicros() - lastReportTime * microsPerSec) / microsPerSec;
  if (elapsedSec > std::int64_t{Processes::metricsReportIntervalSec_}) return true;
  return someFailed && elapsedSec > std::int64_t{Processes::failureReportIntervalSec_};
}

[[nodiscard]] bool AddText(cJSON* object, const char* key, const std::string& value) {
  return cJSON_AddStringToObject(object, key, value.c_str()) != nullptr;
}

// The counters go as strings: the metrics service takes them only in that form.
CJsonOwner Describe(const Process& process) {
  CJsonOwner element(cJSON_CreateObject());
  if (!element) return nullptr;
  const bool complete =
      AddText(element.get(), "name", process.name) &&
      AddText(element.get(), "version", process.version) &&
      AddText(element.get(), "state", process.StateInString()) &&
      AddText(element.get(), "launchFailures", ToString(process.launchFailures)) &&
      AddText(element.get(), "heartbeatMissing", ToString(process.heartbeatMissing));
  return complete ? std::move(element) : nullptr;
}

// A process that could not be put into the report keeps its counters for the next one.
void AddToReport(cJSON* list, Process& process) {
  CJsonOwner element = Describe(process);
  if (!element || !cJSON_AddItemToArray(list, element.get())) return;
  (void)element.release();  // the list owns it now
  process.launchFailures = 0;
  process.heartbeatMissing = 0;
}

// The report's text; null when memory is missing.
CJsonText BuildReport(std::vector<Process>& processes) {
  const CJsonOwner root(cJSON_CreateObject());
  cJSON* list = cJSON_AddArrayToObject(root.get(), "processes");
  if (list == nullptr) return nullptr;
  for (Process& process : processes) AddToReport(list, process);
  return CJsonText(cJSON_PrintUnformatted(root.get()));
}

}  // namespace

int Processes::ReportMetrics() {
  if (!IsDue(processes, lastReportTime)) return 0;
  const CJsonText text = BuildReport(processes);
  if (!text) return 1;
  // Whether the service took it is the client library's affair: the report counts as sent.
  (void)put_metrics_JSON(1, 255, "tolvarProcessList", text.get());
  Log(text.get());
  lastReportTime = NowSeconds();
  return 0;
}
