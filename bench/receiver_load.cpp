// Whether the receiver keeps up: receiver_load RATE SECONDS sends it RATE heartbeats a second,
// while the main loop takes them in once a second. The kernel queues no more than about ten, so one
// that is refused is sent again at once. Prints what was sent, refused and received and the rate
// that was reached; fails when one was lost or the rate not kept.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "client/tolvar_heartbeat.h"
#include "platform/clock.h"
#include "supervisor/processes.h"

namespace {

constexpr long processCount = 100;
using Clock = std::chrono::steady_clock;

struct Load {
  long sent = 0;
  long refused = 0;
  double seconds = 0;
};

// Evenly spaced; what a late wake-up missed is made up for at once.
Load Send(long rate, long seconds) {
  tolvar_heartbeat heartbeat;
  Load load;
  const Clock::time_point start = Clock::now();
  if (tolvar_heartbeat_open(&heartbeat) != 0) return load;
  for (; load.sent < rate * seconds; ++load.sent) {
    std::this_thread::sleep_until(start +
                                  std::chrono::nanoseconds(std::nano::den / rate * load.sent));
    const std::string name = "process-" + std::to_string(load.sent % processCount);
    while (tolvar_heartbeat_send(&heartbeat, name.c_str(), 0) != TOLVAR_HEARTBEAT_SENT) {
      ++load.refused;
      std::this_thread::yield();
    }
  }
  load.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  tolvar_heartbeat_close(&heartbeat);
  return load;
}

// One pass of the loop a second; returns how many heartbeats the passes found queued.
long TakeIn(Processes& supervisor, const std::atomic<bool>& ended) {
  long received = 0;
  for (bool last = false; !last;) {
    last = ended.load();
    SleepSeconds(1);
    const std::unique_lock<std::mutex> lock(supervisor.heartbeatMutex);
    received += static_cast<long>(supervisor.heartbeatQueue.size());
    supervisor.heartbeatQueue = {};
  }
  return received;
}

}  // namespace

int main(int count, char** values) {
  if (count != 3) return 2;
  Processes supervisor;
  if (supervisor.InitHeartbeatSocket() != 0) return 1;
  std::thread receiver(&Processes::ReceiveHeartbeat, &supervisor);
  std::atomic<bool> ended{false};
  Load load;
  std::thread sender([&] {
    load = Send(std::atol(values[1]), std::atol(values[2]));
    ended = true;
  });
  const long received = TakeIn(supervisor, ended);
  sender.join();
  supervisor.stopRequested = true;
  receiver.join();
  (void)std::printf("%ld sent in %.2f s (%ld times refused), %ld received\n", load.sent,
                    load.seconds, load.refused, received);
  return received == load.sent && load.seconds < 1.02 * std::atof(values[2]) ? 0 : 1;
}
