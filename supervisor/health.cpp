// What health/ does, done to the supervisor's fields.
#include "health/heartbeat_supervision.h"
#include "health/metrics_report.h"
#include "platform/clock.h"
#include "supervisor/processes.h"

int Processes::InitHeartbeatSocket() { return OpenHeartbeatSocket(heartbeatSocket); }

void Processes::ReceiveHeartbeat() {
  ReceiveHeartbeats(heartbeatSocket, heartbeatQueue, heartbeatMutex, stopRequested);
}

void Processes::ProcessHeartbeat() {
  TakeInHeartbeats(heartbeatQueue, heartbeatMutex, processes);
  MarkHungProcesses(processes, maxHeartbeatIntervalSec_);
}

int Processes::ReportMetrics() {
  const ReportIntervals intervals = {metricsReportIntervalSec_, failureReportIntervalSec_};
  if (!IsReportDue(processes, lastReportTime, intervals)) return 0;
  const CJsonText text = BuildReport(processes);
  if (!text) return 1;
  SubmitReport(text.get());
  lastReportTime = NowSeconds();
  return 0;
}
