#include "health/metrics_report.h"

#include <string>
#include <utility>

#include "platform/attempt.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "platform/metrics_client.h"

namespace {

// The counters go as strings: the metrics service takes them only in that form.
CJsonOwner Describe(const Process& process) {
  CJsonOwner element(cJSON_CreateObject());
  if (!element) return nullptr;
  const bool complete =
      AddString(element.get(), "name", process.name) &&
      AddString(element.get(), "version", process.version) &&
      AddString(element.get(), "state", process.StateInString()) &&
      AddString(element.get(), "launchFailures", std::to_string(process.launchFailures)) &&
      AddString(element.get(), "heartbeatMissing", std::to_string(process.heartbeatMissing));
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

[[nodiscard]] bool SomeFailed(const std::vector<Process>& processes) {
  for (const Process& process : processes) {
    if (process.state == Process::State::Failed) return true;
  }
  return false;
}

}  // namespace

bool IsReportDue(const std::vector<Process>& processes, std::int64_t lastReportSec,
                 const ReportIntervals& intervals) {
  const std::int64_t elapsedSec = SecondsSince(lastReportSec, NowMicros());
  if (elapsedSec > std::int64_t{intervals.normalSec}) return true;
  return elapsedSec > std::int64_t{intervals.failureSec} && SomeFailed(processes);
}

CJsonText BuildReport(std::vector<Process>& processes) {
  const CJsonOwner root(cJSON_CreateObject());
  cJSON* list = cJSON_AddArrayToObject(root.get(), "processes");
  if (list == nullptr) return nullptr;
  for (Process& process : processes) AddToReport(list, process);
  return CJsonText(cJSON_PrintUnformatted(root.get()));
}

void SubmitReport(const char* text) {
  // Whether the service took it, and whatever the library threw, is the library's affair.
  (void)Attempt([text] { (void)put_metrics_JSON(1, 255, "tolvarProcessList", text); });
  Log(text);
}
