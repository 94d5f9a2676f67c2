// The report of every process's state to the device's metrics service. Main loop's thread.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/json.h"
#include "process/process.h"

// Seconds between reports; a report is due when more have passed.
struct ReportIntervals {
  std::uint32_t normalSec;
  std::uint32_t failureSec;  // the same while some process is Failed
};

// Whether a report is due, the last one having ended at `lastReportSec` (seconds since the epoch).
// Reads the clock once.
[[nodiscard]] bool IsReportDue(const std::vector<Process>& processes, std::int64_t lastReportSec,
                               const ReportIntervals& intervals);

// The report as JSON; null when memory is missing. Resets the counters of each process in it; one
// that could not be put in keeps its own for the next report.
[[nodiscard]] CJsonText BuildReport(std::vector<Process>& processes);

// Hands the report to the metrics client and logs it. It counts as sent whatever the client answers
// or throws.
void SubmitReport(const char* text);
