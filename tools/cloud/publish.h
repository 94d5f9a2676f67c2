// Putting a process and its files under a label. What throws, throws std::runtime_error.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/cloud/manifest.h"

struct PublishRequest {
  std::string label;  // must be one
  std::string process;
  std::string version;
  std::string entrypoint;                       // a shell command line
  std::optional<std::uint32_t> maxstartuptime;  // seconds; absent: the device's default
  std::optional<std::uint32_t> maxretries;      // absent: the device's default
  std::vector<std::string> components;          // each FILE,FILENAME,LOCALPATH[,VERSION]
};

struct ComponentRelease {
  std::string source;  // a file on this machine
  std::string filename;
  std::string localpath;  // absolute, on the device
  std::string version;
  std::string checksum;  // MD5, 32 lowercase hexadecimal digits
};
// Checks `text` and reads the file; without a version it has the process's. Throws.
[[nodiscard]] ComponentRelease ReadComponent(const std::string& text,
                                             const std::string& processVersion);

struct PublishPlan {  // checked, with nothing written yet
  PublishRequest request;
  std::vector<ComponentRelease> components;
  Manifest manifest;  // with the process in the place of the first of its name, else the last
};
// Throws when the request or the label's present manifest is at fault.
[[nodiscard]] PublishPlan PlanPublish(const ReleaseFolder& folder, const PublishRequest& request);

// What a device will accept and yet not do well, one text each.
[[nodiscard]] std::vector<std::string> PublishWarnings(PublishPlan plan);

// The files first, the manifest last: what a manifest names can always be fetched. Throws.
void CarryOut(const ReleaseFolder& folder, const PublishPlan& plan);
