// A file system, as far as it matters to who writes to it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace doctor {

struct Volume {
  bool readOnly = false;
  bool inMemory = false;        // what lies in it takes the device's memory
  std::uint64_t freeBytes = 0;  // for ordinary users
};

// The one that `path` lies in; nothing when that is not there.
[[nodiscard]] std::optional<Volume> VolumeOf(const std::string& path);

}  // namespace doctor
