// A check that no kind of build leaves out: what a fuzz target finds must not depend on NDEBUG.
#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the target when `condition` does not hold; the input that led there counts as a finding.
#define CHECK(condition) \
  ((condition) ? static_cast<void>(0) : FailCheck(#condition, __FILE__, __LINE__))

[[noreturn]] inline void FailCheck(const char* condition, const char* file, int line) {
  (void)std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
  std::abort();
}
