// The one way to give a step up: whatever it throws ends with it.
#pragma once

// Does `work` and returns true, or false when it threw. What the product's own code throws says
// that memory (or a thread) is missing; a library that it calls may throw anything. Either way the
// step is given up, what it was for comes round again in a later pass, and whoever comes after it
// has its turn. Any thread.
template <typename Work>
[[nodiscard]] bool Attempt(const Work& work) noexcept {
  try {
    work();
    return true;
  } catch (...) {
    return false;
  }
}
