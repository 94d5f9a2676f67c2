// A process manifest, {"data":{"processes":[...]}}. What is not edited stays as it was read.
// Entries are not looked into: a developer may want to see what a device makes of a broken one.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "tools/cloud/release_folder.h"

using Json = nlohmann::ordered_json;

struct Manifest {
  std::string text;  // as it lies on the disk; empty when it is new
  Json document = {{"data", {{"processes", Json::array()}}}};

  [[nodiscard]] Json::array_t& Processes();
};

// `label` must be a label. Nothing when it has no manifest. Throws std::runtime_error, with the
// reason, when the manifest is unreadable or of another form.
[[nodiscard]] std::optional<Manifest> FindManifest(const ReleaseFolder& folder,
                                                   const std::string& label);
// As above, for people: also throws when the folder or the manifest is missing.
[[nodiscard]] Manifest LoadManifest(const ReleaseFolder& folder, const std::string& label);

// Removes every entry of that name. Throws std::runtime_error, also when there is none.
void Withdraw(const ReleaseFolder& folder, const std::string& label, const std::string& process);
// Makes the second label list what the first lists, byte for byte. Throws std::runtime_error.
void CopyLabel(const ReleaseFolder& folder, const std::string& from, const std::string& to);

// The name of an entry; empty when it has none.
[[nodiscard]] std::string NameOf(const Json& process);
