// What a device needs for a component. Any thread.
#pragma once

#include <cstdint>

namespace product {

// A host with the plug-in and its three libraries.
inline constexpr std::uint64_t hostBytes = 9000000;

// The memory that fetching a file of `bytes` takes: the file, a second time where its place is in
// memory as well, and the host.
[[nodiscard]] constexpr std::uint64_t MemoryNeed(std::uint64_t bytes, bool placeIsInMemory) {
  return bytes * (placeIsInMemory ? 2 : 1) + hostBytes;
}

}  // namespace product
