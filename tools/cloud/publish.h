// Putting a process and its files under a label. What throws, throws std::runtime_error.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/cloud/judged.h"

struct PublishRequest {
  std::string label;  // must be one
  std::string process;
  std::string version;
  std::string entrypoint;                       // a shell command line
  std::optional<std::uint32_t> maxstartuptime;  // seconds; absent: the device's default
  std::optional<std::uint32_t> maxretries;      // absent: the device's default
  std::vector<std::string> components;          // each FILE,FILENAME,LOCALPATH[,VERSION]
  bool replace = false;  // what is published under a version may become something else
  bool dryRun = false;   // judge, and write nothing
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
// The MD5 of a file that can be read. Throws.
[[nodiscard]] std::string ChecksumOf(const std::string& path);

struct Published {
  std::vector<ComponentRelease> components;
  Judged judged;  // the label's new list
};
// The files first, the manifest last: what a manifest names can always be fetched. Nothing is
// written when it is refused. Throws, also when a file name and version stand for other bytes
// already.
[[nodiscard]] Published Publish(const ReleaseFolder& folder, const PublishRequest& request);
