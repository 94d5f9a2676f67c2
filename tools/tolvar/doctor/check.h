// A check, what it may be told and what it answers.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace doctor {

enum class Level {
  Ok,
  Skipped,  // an option that it needs was not given
  Warning,  // the supervisor works, but not as well as it could; or it could not be looked at
  Bad       // the supervisor, or a process of it, will not work
};

struct Finding {
  Level level = Level::Ok;
  std::string found;  // what is there, in words
  std::string cure;   // what to do; empty for Ok and Skipped
};

// Findings of each level.
[[nodiscard]] Finding Ok(std::string_view found);
[[nodiscard]] Finding Skipped(std::string_view found);
[[nodiscard]] Finding Warning(std::string_view found, std::string_view cure);
[[nodiscard]] Finding Bad(std::string_view found, std::string_view cure);

struct Options {
  std::string manifest;  // file with a process manifest; empty: none given
  int hostPid = 0;       // the process that loads the plug-in; 0: none given
};

struct Check {
  const char* name;
  Finding (*look)(const Options& options);  // blocks for at most a few seconds
};

struct Result {
  const char* name;
  Finding finding;
};

// Every check, in the order in which they are printed.
[[nodiscard]] const std::vector<Check>& Checks();

// Runs every check; one that runs out of memory or the like is a warning.
[[nodiscard]] std::vector<Result> Examine(const Options& options);

}  // namespace doctor
