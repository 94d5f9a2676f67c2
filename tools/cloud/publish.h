// Putting a process and its component files under a label.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/cloud/manifest.h"
#include "tools/cloud/release_folder.h"

namespace standin {

// As given by people: nothing is checked yet.
struct PublishRequest {
  std::string label;
  std::string name;
  std::string version;
  std::string entrypoint;
  std::optional<std::string> maxstartuptime;
  std::optional<std::string> maxretries;
  std::vector<std::string> components;  // each FILE,FILENAME,LOCALPATH[,VERSION]
};

struct PublishedFile {
  std::filesystem::path source;
  std::uintmax_t bytes = 0;
};

// Checked, with nothing written yet.
struct PublishPlan {
  std::string label;
  ProcessRelease process;
  std::vector<PublishedFile> files;  // of process.components, in their order
  Manifest manifest;                 // with the process in it
};

// Nothing, and `error` says why, when the request or the label's present manifest is at fault.
[[nodiscard]] std::optional<PublishPlan> PlanPublish(const ReleaseFolder& folder,
                                                     const PublishRequest& request,
                                                     std::string& error);

// The files first, the manifest last: what a manifest names can always be fetched.
[[nodiscard]] bool CarryOut(const ReleaseFolder& folder, const PublishPlan& plan,
                            std::string& error);

// What a device will accept and yet not do well; one text each, empty when all is well.
[[nodiscard]] std::vector<std::string> PublishWarnings(const PublishPlan& plan);

}  // namespace standin
