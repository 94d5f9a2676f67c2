#include "supervisor/processes.h"

#include <unistd.h>

std::uint32_t Processes::bootstrapIntervalSec_ = 21600;
std::uint32_t Processes::maxHeartbeatIntervalSec_ = 5;
std::uint32_t Processes::metricsReportIntervalSec_ = 3600;
std::uint32_t Processes::failureReportIntervalSec_ = 600;

Processes::~Processes() {
  stopRequested.store(true);
  (void)close(heartbeatSocket);  // -1 when it was never opened, which close refuses harmlessly
}
