#include "tools/tolvar/log/alarm.h"

#include <algorithm>
#include <array>

#include "tools/tolvar/log/curl_code.h"

namespace devicelog {
namespace {

using Kind = Alarm::Kind;

constexpr std::size_t maxAlarms = 1024;  // of a kind

struct AlarmTraits {
  Kind kind;
  const char* name;
  std::uint32_t from;  // so many in a row make it an alarm
  const char* advice;  // where the event does not give its own
};

// In the order of the kinds.
// clang-format off
constexpr std::array<AlarmTraits, static_cast<std::size_t>(Kind::Count)> traitsTable = {{
    {Kind::TwoSupervisors, "two-supervisors", 2,
     "Find the second host process on the device and end it."},
    {Kind::NoSocket, "no-heartbeat-socket", 2,
     "Look at the host's open files and the device's memory."},
    {Kind::NoIdentity, "no-identity", 2,
     "Bring wlan0 up, or put the token into /etc/config/.user_config."},
    {Kind::CloudNotReached, "cloud-not-reached", 3, ""},
    {Kind::NoManifest, "no-manifest", 1,
     "Read the answer in the log, and mend the list in the cloud: JSON with every field."},
    {Kind::FellBack, "started-with-last-known-good", 1,
     "Mend the list \"latest\"; the next fetch takes it."},
    {Kind::TransfersFail, "transfers-fail", 2, ""},
    {Kind::StorageFails, "storage-full-or-read-only", 1,
     "Look at the file system of the path: full, read-only, or not mounted."},
    {Kind::NeverVerifies, "never-verifies", 2,
     "Compare the file in the cloud with the list's checksum, and publish it again."},
    {Kind::Flips, "flips-between-versions", 2,
     "Take the failing version from the label \"latest\": every fetch brings it back."},
    {Kind::LaunchesFail, "launches-fail", 2,
     "Mend what the reason names; `tolvar log --why` shows the lines."},
    {Kind::HeartbeatsLost, "heartbeats-lost", 3,
     "Look at the process's own log: it hangs, dies, or its entry point does not start it."},
    {Kind::NoRollback, "no-rollback", 1,
     "Put a version that works under the label \"lastknowngood\"."},
}};
// clang-format on

const AlarmTraits& TraitsOf(Kind kind) { return traitsTable[static_cast<std::size_t>(kind)]; }

struct RaiseRule {
  Event::Kind event;
  Kind alarm;
  const char* words;  // followed by how often, and why
};
constexpr std::array<RaiseRule, 11> raiseRules = {{
    {Event::Kind::SocketFailed, Kind::NoSocket, "the heartbeat socket could not be made"},
    {Event::Kind::IdentityMissing, Kind::NoIdentity, "the supervisor cannot start, it has tried"},
    {Event::Kind::FetchFailed, Kind::CloudNotReached, "the list could not be fetched"},
    {Event::Kind::ManifestUnusable, Kind::NoManifest,
     "the cloud's answer was no list of processes"},
    {Event::Kind::FellBack, Kind::FellBack,
     "started without \"latest\", with the last known good versions"},
    {Event::Kind::TransferFailed, Kind::TransfersFail, "a transfer failed"},
    {Event::Kind::StorageFailed, Kind::StorageFails, "a file could not be written"},
    {Event::Kind::ComponentBad, Kind::NeverVerifies, "a file did not verify"},
    {Event::Kind::LaunchFailed, Kind::LaunchesFail, "the launch failed"},
    {Event::Kind::HeartbeatLost, Kind::HeartbeatsLost, "the heartbeat was lost"},
    {Event::Kind::RollbackFailed, Kind::NoRollback, "it fails, and could not be rolled back"},
}};

struct EndRule {
  Event::Kind event;
  Kind alarm;
};
constexpr std::array<EndRule, 27> endRules = {{
    {Event::Kind::SupervisorStarted, Kind::TwoSupervisors},
    {Event::Kind::SupervisorStarted, Kind::NoSocket},
    {Event::Kind::Fetched, Kind::NoIdentity},
    {Event::Kind::FetchFailed, Kind::NoIdentity},
    {Event::Kind::ManifestUnusable, Kind::NoIdentity},
    {Event::Kind::Fetched, Kind::CloudNotReached},
    {Event::Kind::Fetched, Kind::NoManifest},
    {Event::Kind::Fetched, Kind::FellBack},
    {Event::Kind::FetchedUnchanged, Kind::FellBack},
    {Event::Kind::ManifestUnusable, Kind::CloudNotReached},
    {Event::Kind::FetchedAhead, Kind::TransfersFail},
    {Event::Kind::FetchedAhead, Kind::StorageFails},
    {Event::Kind::FetchedAhead, Kind::NeverVerifies},
    {Event::Kind::Stopped, Kind::HeartbeatsLost},
    {Event::Kind::Stopped, Kind::NoRollback},
    {Event::Kind::Launched, Kind::TransfersFail},
    {Event::Kind::Launched, Kind::StorageFails},
    {Event::Kind::Launched, Kind::NeverVerifies},
    {Event::Kind::Launched, Kind::LaunchesFail},
    {Event::Kind::FoundHealthy, Kind::HeartbeatsLost},
    {Event::Kind::FoundHealthy, Kind::NoRollback},
    {Event::Kind::Dropped, Kind::TransfersFail},
    {Event::Kind::Dropped, Kind::StorageFails},
    {Event::Kind::Dropped, Kind::NeverVerifies},
    {Event::Kind::Dropped, Kind::LaunchesFail},
    {Event::Kind::Dropped, Kind::HeartbeatsLost},
    {Event::Kind::Dropped, Kind::NoRollback},
}};

// Whether an event of the kind ends any alarm: most do not.
using Ending = std::array<bool, static_cast<std::size_t>(Event::Kind::Count)>;
constexpr Ending MakeEnding() {
  Ending ending = {};
  for (const EndRule& rule : endRules) ending[static_cast<std::size_t>(rule.event)] = true;
  return ending;
}
constexpr Ending isEnding = MakeEnding();

std::string Times(std::uint32_t count) {
  return count == 1 ? "once" : std::to_string(count) + " times";
}

// What has not come often enough may be chance.
bool IsOne(const Alarm& alarm) {
  return alarm.isCertain || alarm.count >= TraitsOf(alarm.kind).from;
}

// The same bytes against the same sum: the fault that was over was out of sight, while another
// version ran.
bool IsTheSameFault(const Alarm& alarm, const Event& event) {
  const std::size_t length = std::min(event.reason.size(), alarm.reason.size());
  return event.kind == Event::Kind::ComponentBad &&
         alarm.reason.compare(alarm.reason.size() - length, length, event.reason) == 0;
}

}  // namespace

const char* NameOf(Kind kind) { return TraitsOf(kind).name; }

std::string InWords(const Alarm& alarm) {
  const std::string reason = alarm.reason.empty() ? "" : ": " + alarm.reason;
  return std::string(alarm.what) + ", " + Times(alarm.count) + reason;
}

// Null where there are more subjects than may be held.
Alarm* AlarmBook::Raise(Kind kind, const std::string& subject, const Event& event) {
  BySubject& bySubject = alarms_[static_cast<std::size_t>(kind)];
  if (bySubject.size() >= maxAlarms && bySubject.count(subject) == 0) return nullptr;
  Alarm& alarm = bySubject[subject];
  if (alarm.count == 0 || (alarm.isOver && !IsTheSameFault(alarm, event))) {
    alarm = Alarm();
    alarm.kind = kind;
    alarm.subject = subject;
    alarm.since = event.when;
    alarm.advice = TraitsOf(kind).advice;
  }
  alarm.isOver = false;
  alarm.last = event.when;
  ++alarm.count;
  return &alarm;
}

// What has not become an alarm is forgotten.
void AlarmBook::End(Kind kind, const std::string& subject) {
  BySubject& bySubject = alarms_[static_cast<std::size_t>(kind)];
  const auto found = bySubject.find(subject);
  if (found == bySubject.end()) return;
  if (IsOne(found->second)) {
    found->second.isOver = true;
  } else {
    bySubject.erase(found);
  }
}

void AlarmBook::Take(const Event& event) {
  EndBy(event);
  RaiseBy(event);
  FollowFlip(event);
}

void AlarmBook::EndBy(const Event& event) {
  if (!isEnding[static_cast<std::size_t>(event.kind)]) return;
  for (const EndRule& rule : endRules) {
    if (rule.event == event.kind) End(rule.alarm, event.process);
  }
}

void AlarmBook::RaiseBy(const Event& event) {
  if (event.kind == Event::Kind::TransferFailed) curlCode_ = event.curlCode;
  for (const RaiseRule& rule : raiseRules) {
    if (rule.event != event.kind) continue;
    // Transfers of the list are told by the fetches that fail.
    if (rule.alarm == Kind::TransfersFail && event.process.empty()) return;
    const bool isTaken = event.reason.find("in use") != std::string::npos;
    const bool isSecond = rule.alarm == Kind::NoSocket && isTaken;
    Alarm* alarm = Raise(isSecond ? Kind::TwoSupervisors : rule.alarm, event.process, event);
    if (alarm == nullptr) return;
    if (event.isHopeless) {
      alarm->isCertain = true;
      alarm->advice = "Publish it as a new version, with the checksum in small letters.";
    }
    alarm->what = isSecond ? "another supervisor holds the heartbeat socket" : rule.words;
    alarm->reason = event.subject;
    if (!event.subject.empty() && !event.reason.empty()) alarm->reason += ", ";
    alarm->reason += event.reason;
    if (*alarm->advice == '\0') alarm->advice = CurlAdvice(curlCode_);
  }
}

void AlarmBook::FollowFlip(const Event& event) {
  if (event.kind == Event::Kind::Fetched || event.kind == Event::Kind::FetchedUnchanged) {
    EndMendedFlips();
    return;
  }
  if (event.kind == Event::Kind::RolledBack) {
    TakeRollback(event);
    return;
  }
  const auto found = flips_.find(event.process);
  if (found == flips_.end()) return;
  Flip& flip = found->second;
  if (event.kind == Event::Kind::NewVersion) flip.wasTakenAgain = true;
  if (event.kind == Event::Kind::Launched) flip.wasLaunched = true;
  const bool works = event.kind == Event::Kind::FoundHealthy && event.to.text != flip.good;
  if (!works && event.kind != Event::Kind::Dropped) return;
  End(Kind::Flips, event.process);
  flips_.erase(found);
}

void AlarmBook::TakeRollback(const Event& event) {
  if (flips_.size() >= maxAlarms) return;
  Flip& flip = flips_[event.process];
  if (flip.good != event.to.text || !flip.wasTakenAgain) End(Kind::Flips, event.process);
  flip = {event.to.text, event.from.text, false, false};
  Alarm* alarm = Raise(Kind::Flips, event.process, event);
  if (alarm == nullptr) return;
  alarm->what = "a version was rolled back";
  alarm->reason = (flip.bad.empty() ? "?" : flip.bad) + " to " + flip.good +
                  ", and each time a fetch brought another version again";
}

// A fetch that does not bring the bad version again shows that the list is mended.
void AlarmBook::EndMendedFlips() {
  for (auto it = flips_.begin(); it != flips_.end();) {
    const bool isMended = it->second.wasLaunched && !it->second.wasTakenAgain;
    if (isMended) End(Kind::Flips, it->first);
    it = isMended ? flips_.erase(it) : std::next(it);
  }
}

std::vector<Alarm> AlarmBook::List() const {
  std::vector<Alarm> list;
  for (const BySubject& bySubject : alarms_) {
    for (const auto& [subject, alarm] : bySubject) {
      if (IsOne(alarm)) list.push_back(alarm);
    }
  }
  std::stable_partition(list.begin(), list.end(), [](const Alarm& a) { return !a.isOver; });
  return list;
}

}  // namespace devicelog
