// What a label would list, with the check's verdict on it. What throws, throws std::runtime_error.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/cloud/manifest.h"
#include "tools/tolvar/check/finding.h"

struct Judged {
  std::string label;
  std::string text;  // the manifest
  std::vector<check::Finding> findings;

  [[nodiscard]] bool IsRefused() const { return CountOf(findings, check::Severity::Error) > 0; }
};

// Judges `manifest` for `label` beside what the folder holds; of the other processes than `process`
// only errors are of interest. `source` names the file on this
// machine that is to be the component FILENAME of VERSION; "": the one in the folder. With
// `replaces`, what is published under a version may become something else. Throws.
[[nodiscard]] Judged Judge(
    const ReleaseFolder& folder, const std::string& label, const Manifest& manifest,
    const std::string& process,
    const std::function<std::string(const std::string&, const std::string&)>& source,
    bool replaces);

// Has "lastknowngood" list the process as "latest" does. Nothing is written when it is refused.
// Throws, also when "latest" does not list it.
[[nodiscard]] Judged Promote(const ReleaseFolder& folder, const std::string& process);

// What is wrong with the files that the labels list: not there, or other than their checksums.
[[nodiscard]] std::vector<check::Finding> Verify(const ReleaseFolder& folder);
