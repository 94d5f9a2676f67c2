// Records of managed processes.
#pragma once

#include <ostream>
#include <string>

#include "process/process.h"

// How a failed expectation shows a state.
inline void PrintTo(Process::State state, std::ostream* out) {
  *out << "state " << static_cast<int>(state);
}

[[nodiscard]] inline Process MakeProcess(const std::string& name, const std::string& version) {
  Process made;
  made.name = name;
  made.version = version;
  made.entrypoint = "start " + name + " " + version;
  return made;
}
