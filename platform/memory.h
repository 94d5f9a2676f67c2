// The memory that the system has left: asked before a large body is taken in, given back after it.
#pragma once

#include <cstdint>
#include <vector>

// Whether `bytes` more fit into memory and leave the libraries' pages where they are: without those
// the code itself is thrown out and read again, and the kernel in the end kills the host. True as
// well where the kernel does not tell. Any thread; allocates nothing.
[[nodiscard]] bool MemoryHolds(std::uint64_t bytes) noexcept;

// Gives the system back, as it is destroyed, what the C library holds of freed memory: once a large
// block was freed, the next one comes from the heap and stays there. Any thread.
class FreedMemoryReturned {
 public:
  FreedMemoryReturned() = default;
  FreedMemoryReturned(const FreedMemoryReturned&) = delete;
  FreedMemoryReturned& operator=(const FreedMemoryReturned&) = delete;
  ~FreedMemoryReturned();
};

// Gives the system back, as it is destroyed, the pages of a block that is about to be freed: the C
// library trims only the heap of a program's first thread, and hosts launch the supervisor in
// another. With 32 bits it maps each large block for itself, and nothing is to be done. Any thread.
class PagesReturned {
 public:
  explicit PagesReturned(std::vector<char>& block) : block_(block) {}
  PagesReturned(const PagesReturned&) = delete;
  PagesReturned& operator=(const PagesReturned&) = delete;
  ~PagesReturned() {
    if constexpr (sizeof(void*) > 4) Return();
  }

 private:
  void Return() noexcept;

  std::vector<char>& block_;
};
