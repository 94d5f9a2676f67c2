// What happened on the device, as the log's lines tell it. Made by Device (device.h) alone; the
// time line, the alarms, the reasons, the JSON lines and the page are all made of these.
#pragma once

#include <cstdint>
#include <string>

#include "tools/tolvar/log/moment.h"

namespace devicelog {

// A version of a process, and how the log gives it away: it is said outright only in reports and by
// a rollback. Between them the versions of its components stand in, which is a guess, and is shown
// as one.
struct Version {
  enum class Known : std::uint8_t { No, FromComponents, FromRollback, FromReport };

  std::string text;  // empty where unknown
  Known known = Known::No;

  [[nodiscard]] bool IsSure() const { return known > Known::FromComponents; }
};

struct Event {
  enum class Kind : std::uint8_t {
    Detail,  // of an event that a later line completes
    SupervisorStarted,
    IdentityMissing,
    SocketFailed,
    Fetched,
    FetchedUnchanged,
    FetchFailed,
    ManifestUnusable,
    FellBack,
    NewVersion,
    FetchedAhead,
    FetchAheadFailed,
    WaitingBusy,
    Downloaded,
    TransferFailed,
    ComponentBad,
    StorageFailed,
    Stopped,
    Launched,
    LaunchFailed,
    HeartbeatLost,
    RolledBack,
    RollbackFailed,
    RollbackToSame,
    Dropped,
    VersionReported,
    FoundHealthy,
    ClockJumped,
    Count,
  };

  Kind kind = Kind::Detail;
  // A repetition or a sign of health, which the alarms need and the time line leaves out.
  bool isNoise = false;
  bool isHopeless = false;  // ComponentBad: trying again cannot help
  Moment when;
  std::string process;  // empty: of the supervisor, or the log does not say
  Version from, to;     // of the process; `to` also of a component that was downloaded
  // Fetched: processes. Launched: restarts so far, where it is one. HeartbeatLost: since the last
  // report. Failures: in a row.
  std::uint32_t count = 0;
  std::int64_t seconds = 0;  // LaunchFailed: until the next attempt; ClockJumped: by how much
  int curlCode = 0;          // TransferFailed
  std::string subject;       // a file, a path, a URL; VersionReported: the state
  std::string reason;        // in words, what the lines before it say of why
  std::string text;          // the line itself, without its stamp
};

enum class Tone : std::uint8_t { Plain, Good, Notable, Bad };

struct KindTraits {
  Event::Kind kind;
  const char* name;   // in JSON lines, in the catalogue and as the page's class
  const char* words;  // for the time line
  const char* tale;   // a sentence, for the chain of reasons
  Tone tone;
};

[[nodiscard]] const KindTraits& TraitsOf(Event::Kind kind);

// "1.1.0"; "1.1.0?" where only the components say so; "?" where the log does not say.
[[nodiscard]] std::string ToText(const Version& version);

// What happened, without time and process: "new version seen: 1.0.0 -> 1.1.0?".
[[nodiscard]] std::string InWords(const Event& event);

// The same as a sentence.
[[nodiscard]] std::string AsTale(const Event& event);

}  // namespace devicelog
