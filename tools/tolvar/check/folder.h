// A release folder as the surroundings of what is judged. What throws, throws std::runtime_error.
#pragma once

#include "tools/cloud/release_folder.h"
#include "tools/tolvar/check/judge.h"

namespace check {

// What the folder has beside a manifest for `label`.
[[nodiscard]] Surroundings SurroundingsOf(const ReleaseFolder& folder, const std::string& label,
                                          const Limits& limits);

// Every finding about what `label` lists, or every label when that is empty. Throws.
[[nodiscard]] std::vector<Finding> JudgeFolder(const ReleaseFolder& folder,
                                               const std::string& label, const Limits& limits);

// The processes and versions that "latest" went back from. Throws.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> TakenBack(
    const ReleaseFolder& folder);

// Remembers the versions that "latest" goes back from when it gets the manifest `text`: those of
// which "lastknowngood" lists what comes instead. Throws.
void NoteTakenBack(const ReleaseFolder& folder, const std::string& text);

// What `label` lists, as the product reads it; nothing where it has no manifest or none that is
// one. Throws when the file cannot be read.
[[nodiscard]] std::vector<Process> ProcessesUnder(const ReleaseFolder& folder,
                                                  const std::string& label);

// The whole of the file `path`. Throws.
[[nodiscard]] std::string TextOf(const std::filesystem::path& path);

}  // namespace check
