// The supervisor's own start.
#include "tools/tolvar/log/device.h"

namespace devicelog {

// The first line of a start that has one is the configuration's or the address's; an address that
// is read again and again is one start.
void Device::SetStarting(const Entry& entry) {
  isStarting_ = hasStarted_ = true;
  hasAddress_ = false;
  isFirstReport_ = true;
  hasListChanged_ = true;
  fetchFailures_ = identityFailures_ = socketFailures_ = 0;
  FlushWork({});
  // What ran, runs on, but the supervisor starts it anew, and maybe in another version.
  for (auto& [name, process] : processes_) {
    process.isFresh = process.state != ProcessState::State::Dropped;
    process.hasPending = process.isFetchedAhead = process.isWaiting = process.isFailing = false;
    process.backoffSec = minBackoffSec;
    process.failuresInRow = 0;
  }
  (void)Begin(entry, Event::Kind::SupervisorStarted);
  Emit();
}

void Device::OnSetting(const Entry& entry) {
  if (!isStarting_ || hasAddress_) SetStarting(entry);
}

void Device::OnIdentity(const Entry& entry) {
  if (!isStarting_) SetStarting(entry);
  hasAddress_ = true;
}

void Device::OnToken(const Entry& /*entry*/) { identityFailures_ = 0; }

void Device::OnNoIdentity(const Entry& entry) {
  Event& event = Begin(entry, Event::Kind::IdentityMissing);
  event.reason = hasAddress_ ? "there is no token" : "wlan0 is not up";
  event.count = ++identityFailures_;
  event.isNoise = event.count > 1;
  Emit();
  // Read again for the next attempt: its address, or the missing of it, tells what is missing then.
  if (isStarting_) hasAddress_ = false;
}

void Device::OnSocketFailed(const Entry& entry) {
  Event& event = Begin(entry, Event::Kind::SocketFailed);
  event.reason = entry.message->id == MessageId::BindFailed ? entry.pieces[0] : entry.text;
  event.count = ++socketFailures_;
  event.isNoise = event.count > 1;
  Emit();
}

}  // namespace devicelog
