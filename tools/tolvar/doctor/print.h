// The findings as a person and as a program reads them.
#pragma once

#include <string>
#include <vector>

#include "tools/tolvar/doctor/check.h"

namespace doctor {

struct Paper {
  bool coloured = false;
  unsigned width = 0;  // columns to fold lines into; 0: never fold
};

// What standard output is. Colours only on a terminal, and not where NO_COLOR says so.
[[nodiscard]] Paper StandardOutput();

// A line for each result and one with the sums.
[[nodiscard]] std::string AsText(const std::vector<Result>& results, const Paper& paper);

// {"checks":[{"name","level","found","cure"}...],"bad":N,"warnings":N}, with "level" one of "ok",
// "skipped", "warning", "bad".
[[nodiscard]] std::string AsJson(const std::vector<Result>& results);

[[nodiscard]] long CountOf(const std::vector<Result>& results, Level level);

}  // namespace doctor
