#include <algorithm>

#include "platform/clock.h"
#include "platform/log.h"
#include "process/process.h"

namespace {

constexpr std::int32_t statusBusy = 2;

}  // namespace

void Process::StepState() {
  if (pending && !SwitchToPending()) return;
  switch (state) {
    case State::Stopped:
      LaunchWhenDue();
      return;
    case State::Failed:
      RestartOrRollBack();
      return;
    case State::Running:
      return;
  }
}

// False when the process runs on and must not be stopped now; the next pass tries again.
bool Process::SwitchToPending() {
  // What could not be fetched ahead, the launch fetches: the switch does not wait for it.
  if (!pending->preDownloaded) pending->preDownloaded = pending->PreDownload() == 0;
  if (reportedStatus != statusBusy) (void)Stop();  // cannot fail
  if (state == State::Running) return false;

  // The copy below replaces `pending`, which may be all that keeps its source alive.
  const std::shared_ptr<Process> source = pending;
  *this = *source;
  return true;
}

void Process::LaunchWhenDue() {
  if (NowMicros() <= nextLaunchTime * microsPerSec) return;
  if (Launch() == 0) {
    backoff = minBackoffTime;
    Log("Launch process " + name + " successfully");
  } else {
    state = State::Failed;
    ++launchFailures;
    backoff = std::min(2 * backoff, maxBackoffTime);
    Log("Launch process " + name + " unsuccessfully");
  }
  // A launch can take minutes of download: the wait counts from its end.
  nextLaunchTime = (NowMicros() + backoff * microsPerSec) / microsPerSec;
  ++retries;
}

void Process::RestartOrRollBack() {
  if (retries < maxretries) {
    (void)Stop();  // cannot fail
    StepState();   // once: the state is Stopped now
    return;
  }
  if (Rollback() != 0) Log("Rollback process " + name + " unsuccessfully");
  retries = 0;
}
