// Makes allocations, and starts of threads, fail on request.
#pragma once

#include <atomic>
#include <cstddef>

struct Scarcity {
  std::atomic<long> toComeFirst{0}, toFail{0};  // allocations
  std::atomic<long> inUse{0};                   // blocks that `new` gave
  std::atomic<int> threadsToRefuse{0}, threadsAskedFor{0};
};
extern Scarcity scarcity;

// What `new` takes its memory from, and cJSON where it is told so; null when it fails.
void* Allocate(std::size_t size);

// While one lives, no allocation of its thread counts.
struct Spared {
  static inline thread_local bool now = false;
  bool before = now;
  Spared() { now = true; }
  ~Spared() { now = before; }
};
