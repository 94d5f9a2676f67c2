#include <cstdlib>
#include <ctime>
#include <thread>

#include "cloud/http_request.h"
#include "platform/attempt.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "platform/metrics_client.h"
#include "supervisor/processes.h"

std::uint32_t RescaledInterval(std::uint32_t intervalSec, int random) {
  const float factor = static_cast<float>(random % 100) / 200.0F + 0.5F;
  return static_cast<std::uint32_t>(static_cast<float>(intervalSec) * factor);
}

namespace {

[[nodiscard]] bool ClientIsUp() {
  int result = 1;  // what it stays at without memory
  (void)Attempt([&result] { result = HttpRequest::Instance()->Init(); });
  return result == 0;
}

}  // namespace

void Processes::LaunchAll() {
  // Whatever the device's metrics client throws, its reports alone are lost.
  (void)Attempt(init_metrics_client);
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
  (void)Attempt(deinit_metrics_client);
}

std::thread Processes::StartReceiver() {
  for (;;) {
    std::thread receiver;
    if (Attempt([&] { receiver = std::thread(&Processes::ReceiveHeartbeat, this); })) {
      return receiver;
    }
    // Without it every process would be taken for hung: supervision waits for a thread to be had.
    if (stopRequested.load()) return receiver;
    SleepSeconds(1);
  }
}

// What is given up in one of the steps comes round again in the next pass.
void Processes::RunPass() {
  FetchWhenDue();
  (void)Attempt([this] { ProcessHeartbeat(); });
  for (Process& process : processes) (void)Attempt([&process] { process.StepState(); });
  (void)Attempt([this] { (void)ReportMetrics(); });
}

void Processes::FetchWhenDue() {
  const std::int64_t elapsedSec = SecondsSince(lastBootstrapTime, NowMicros());
  if (elapsedSec <= std::int64_t{bootstrapIntervalSec_}) return;
  if (GetProcesses("latest") != 0) Log("Get latest processes failed");
  // A failed fetch, too, is tried again only after a whole interval.
  lastBootstrapTime = NowSeconds();
}
