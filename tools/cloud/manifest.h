// A process manifest, {"data":{"processes":[...]}}. What is not edited stays as it was read.
// Entries are not looked into; who publishes has the check do that.
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
  [[nodiscard]] const Json::array_t& Processes() const;
  // Where the first entry of that name is; the number of entries when there is none.
  [[nodiscard]] std::size_t IndexOf(const std::string& process) const;
  // That entry; null when there is none.
  [[nodiscard]] const Json* Find(const std::string& process) const;
  // In the place of the first of its name, else the last.
  void Put(const Json& entry);
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

// The name of an entry, or what else it has under `key`; empty when it has none.
[[nodiscard]] std::string NameOf(const Json& process, const char* key = "processname");

// Puts the manifest in its place, in one step. Throws std::runtime_error.
void PutManifest(const ReleaseFolder& folder, const std::string& label, const std::string& text);

// What lies in the folder, a line for each label and process.
[[nodiscard]] std::string List(const ReleaseFolder& folder);
// What must be done to the first label's list to get the second's, a line for each process.
[[nodiscard]] std::string Diff(const ReleaseFolder& folder, const std::string& from,
                               const std::string& to);
