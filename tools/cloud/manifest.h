// A process manifest: {"data":{"processes":[...]}}, read, edited and written as one document. What
// is not edited stays as it was read, unknown keys and entries included.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/json.h"
#include "tools/cloud/release_folder.h"

namespace standin {

struct ComponentRelease {
  std::string filename;
  std::string localpath;  // absolute, on the device
  std::string version;
  std::string checksum;  // MD5, 32 lowercase hexadecimal digits
};

struct ProcessRelease {
  std::string name;
  std::string version;
  std::string entrypoint;                      // a shell command line
  std::optional<std::uint32_t> startupSec;     // absent: the device's default
  std::optional<std::uint32_t> launchRetries;  // absent: the device's default
  std::vector<ComponentRelease> components;
};

class Manifest {
 public:
  Manifest();  // lists no process

  // Nothing when `text` is not JSON of the shape above. The entries are not looked into: a
  // developer may want to see what a device makes of a broken one.
  [[nodiscard]] static std::optional<Manifest> Parse(const std::string& text);

  [[nodiscard]] std::vector<std::string> ProcessNames() const;
  // Takes the place of the first process of that name, else the last place.
  void Put(const ProcessRelease& process);
  // Removes every process of that name; false when there is none.
  [[nodiscard]] bool Remove(const std::string& name);
  // Removes every other process.
  void KeepOnly(const std::string& name);

  [[nodiscard]] std::string Compact() const;
  [[nodiscard]] std::string Readable() const;

 private:
  explicit Manifest(CJsonOwner document);
  [[nodiscard]] cJSON* Processes() const;

  CJsonOwner tree;
};

struct ManifestFile {
  enum class State { Loaded, Missing, Broken };
  State state = State::Missing;
  std::string text;   // as it lies on the disk, when loaded
  Manifest manifest;  // lists no process unless loaded
  std::string error;  // what to tell people, unless loaded
};
// `label` must be a label.
[[nodiscard]] ManifestFile LoadManifest(const ReleaseFolder& folder, const std::string& label);

}  // namespace standin
