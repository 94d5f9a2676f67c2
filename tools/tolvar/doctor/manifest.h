// The components of a manifest and how large their files are on this device.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace doctor {

struct ComponentFile {
  std::string path;         // where it belongs
  std::string folder;       // the nearest folder above it that is there already
  std::uint64_t bytes = 0;  // of the largest copy that is here; 0: none is
};

// The manifest in the file `path`, as the product reads it. Nothing when it is not there or is no
// manifest.
[[nodiscard]] std::optional<std::vector<ComponentFile>> ReadManifest(const std::string& path);

// The largest of `files`; null when there is none, or no copy of any is here.
[[nodiscard]] const ComponentFile* LargestOf(const std::vector<ComponentFile>& files);

}  // namespace doctor
