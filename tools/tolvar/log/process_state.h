// What the log tells about one managed process. Written by Device alone.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tools/tolvar/log/event.h"

namespace devicelog {

// Between two launches, at least: where the back-off starts anew.
constexpr std::int64_t minBackoffSec = 2;

struct FileVersion {
  std::string file, version;
};

struct ProcessState {
  enum class State : std::uint8_t { Unknown, Stopped, Running, Failed, Dropped };

  State state = State::Unknown;
  Moment since;             // of the state
  Version version;          // that runs, or last ran or was tried
  bool hasPending = false;  // another version waits to replace it
  Version pending;
  bool isFetchedAhead = false;  // the pending version's files are there
  bool isWaiting = false;       // for the process to be no longer busy

  std::uint32_t launches = 0;  // attempts since a report last found it healthy
  std::uint32_t restarts = 0;  // launches after a failure, of the same version
  std::uint32_t rollbacks = 0;
  std::uint32_t failuresInRow = 0;  // of launches
  std::int64_t backoffSec = 0;      // as the supervisor counts it; 0: not known
  Moment lastFailureAt;
  std::string lastFailure;  // in words; empty: none

  std::vector<FileVersion> components;  // as the last launch had them
  bool isFailing = false;               // failed, and not launched since
  bool isFresh = false;                 // the supervisor started anew: nothing is known for sure
  bool isLaunching = false;             // the first of a launch's two lines was seen
  bool wasLaunchedSinceReport = false;
  bool hasMisleadingComponents = false;  // a report contradicted what they made believe
  std::uint64_t reportedIn = 0;          // number of the report that had it last
};

// By name.
using ProcessStates = std::map<std::string, ProcessState, std::less<>>;

[[nodiscard]] const char* StateWord(ProcessState::State state);

}  // namespace devicelog
