// The memory that the system has left: asked before a large body is taken in, given back after it.
#pragma once

#include <cstdint>

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
