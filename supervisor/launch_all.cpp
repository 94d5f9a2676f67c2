#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <thread>

#include "cloud/http_request.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "platform/metrics_client.h"
#include "supervisor/processes.h"

std::uint32_t RescaledInterval(std::uint32_t intervalSec, int random) {
  const float factor = static_cast<float>(random % 100) / 200.0F + 0.5F;
  return static_cast<std::uint32_t>(static_cast<float>(intervalSec) * factor);
}

void Processes::LaunchAll() {
  init_metrics_client();
  while (HttpRequest::Instance()->Init() != 0) {
    Log("Init HttpRequest Instance failed");
    SleepSeconds(5);
  }
  Bootstrap();
  lastBootstrapTime = NowSeconds();
  std::thread receiver(&Processes::ReceiveHeartbeat, this);
  std::srand(static_cast<unsigned>(std::time(nullptr)));
  bootstrapIntervalSec_ = RescaledInterval(bootstrapIntervalSec_, std::rand());

  while (!stopRequested.load()) RunPass();

  stopRequested.store(true);
  if (receiver.joinable()) receiver.join();
  deinit_metrics_client();
}

void Processes::RunPass() {
  try {
    FetchWhenDue();
    ProcessHeartbeat();
    for (Process& process : processes) process.StepState();
    (void)ReportMetrics();  // a report that could not be built is due again in the next pass
  } catch (...) {
    // Out of memory: this pass ends here, the next one goes on from what it left.
  }
  SleepSeconds(1);
}

void Processes::FetchWhenDue() {
  const std::int64_t elapsedSec = (NowMicros() - lastBootstrapTime * microsPerSec) / microsPerSec;
  if (elapsedSec <= std::int64_t{bootstrapIntervalSec_}) return;
  if (GetProcesses("latest") != 0) Log("Get latest processes failed");
  // A failed fetch, too, is tried again only after a whole interval.
  lastBootstrapTime = NowSeconds();
}
