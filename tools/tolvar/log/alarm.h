// What an operator must know first, drawn from the events.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/tolvar/log/event.h"

namespace devicelog {

struct Alarm {
  // In the order in which they are shown.
  enum class Kind : std::uint8_t {
    TwoSupervisors,
    NoSocket,
    NoIdentity,
    CloudNotReached,
    NoManifest,
    FellBack,
    TransfersFail,
    StorageFails,
    NeverVerifies,
    Flips,
    LaunchesFail,
    HeartbeatsLost,
    NoRollback,
    Count,
  };

  Kind kind = Kind::TwoSupervisors;
  std::string subject;     // the process, else the file; empty: the device
  bool isOver = false;     // a later line says so
  bool isCertain = false;  // however rarely it came
  std::uint32_t count = 0;
  Moment since, last;
  const char* what = "";    // is wrong
  std::string reason;       // of the last time; empty: none is known
  const char* advice = "";  // what to do
};

// What is wrong, how often it was seen, and why: a sentence without its subject.
[[nodiscard]] std::string InWords(const Alarm& alarm);

// "flips-between-versions": in JSON lines and as the title in the operator's guide.
[[nodiscard]] const char* NameOf(Alarm::Kind kind);

// Takes the events one by one. An alarm is raised by what repeats, not by what a device lives
// through every day: a restart, a single transfer that failed.
class AlarmBook {
 public:
  void Take(const Event& event);
  void Forget() { alarms_ = {}; }

  // Those that count as alarms, the ones that last before those that are over.
  [[nodiscard]] std::vector<Alarm> List() const;

 private:
  // A process that was rolled back.
  struct Flip {
    std::string good, bad;
    bool wasLaunched = false;    // since the last rollback
    bool wasTakenAgain = false;  // the bad one, since the last rollback
  };
  using BySubject = std::map<std::string, Alarm, std::less<>>;

  void EndBy(const Event& event);
  void RaiseBy(const Event& event);
  void FollowFlip(const Event& event);
  void TakeRollback(const Event& event);
  void EndMendedFlips();
  Alarm* Raise(Alarm::Kind kind, const std::string& subject, const Event& event);
  void End(Alarm::Kind kind, const std::string& subject);

  std::array<BySubject, static_cast<std::size_t>(Alarm::Kind::Count)> alarms_;
  std::map<std::string, Flip> flips_;  // by process
  int curlCode_ = 0;                   // of the last transfer that failed
};

}  // namespace devicelog
