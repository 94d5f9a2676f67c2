#include <cstdlib>
#include <ctime>
#include <exception>
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

namespace {

// Does `work` and gives it up where memory runs out: what it was for comes round again in a later
// pass, and whoever comes after it has its turn.
template <typename Work>
void Attempt(const Work& work) {
  try {
    work();
  } catch (const std::exception&) {
    return;
  }
}

[[nodiscard]] bool ClientIsUp() {
  int result = 1;
  Attempt([&result] { result = HttpRequest::Instance()->Init(); });
  return result == 0;
}

}  // namespace

void Processes::LaunchAll() {
  init_metrics_client();
  while (!ClientIsUp()) {
    Log("Init HttpRequest Instance failed");
    SleepSeconds(5);
  }
  Bootstrap();
  lastBootstrapTime = NowSeconds();
  std::thread receiver = StartReceiver();
  std::srand(static_cast<unsigned>(std::time(nullptr)));
  bootstrapIntervalSec_ = RescaledInterval(bootstrapIntervalSec_, std::rand());

  while (!stopRequested.load()) {
    RunPass();
    SleepSeconds(1);
  }

  stopRequested.store(true);
  if (receiver.joinable()) receiver.join();
  deinit_metrics_client();
}

std::thread Processes::StartReceiver() {
  while (!stopRequested.load()) {
    try {
      return std::thread(&Processes::ReceiveHeartbeat, this);
    } catch (const std::exception&) {
      // Without it every process would be taken for hung: supervision waits for a thread to be had.
      SleepSeconds(1);
    }
  }
  return {};
}

void Processes::RunPass() {
  FetchWhenDue();
  Attempt([this] { ProcessHeartbeat(); });
  for (Process& process : processes) Attempt([&process] { process.StepState(); });
  // A report that could not be built is due again in the next pass.
  Attempt([this] { (void)ReportMetrics(); });
}

void Processes::FetchWhenDue() {
  const std::int64_t elapsedSec = (NowMicros() - lastBootstrapTime * microsPerSec) / microsPerSec;
  if (elapsedSec <= std::int64_t{bootstrapIntervalSec_}) return;
  if (GetProcesses("latest") != 0) Log("Get latest processes failed");
  // A failed fetch, too, is tried again only after a whole interval.
  lastBootstrapTime = NowSeconds();
}
