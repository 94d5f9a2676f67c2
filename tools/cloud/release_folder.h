// The folder that a stand-in cloud serves:
//
//   ROOT/<label>/manifest.json        what a device gets that asks for the label
//   ROOT/latest/taken_back.json       versions from which "latest" went back to the last good one
//   ROOT/files/<filename>/<version>   the bytes of a component
//
// It is read afresh for every request, so files are put into place whole. Publishers take turns.
// What throws, throws std::runtime_error with the reason.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/descriptor.h"

struct ReleaseFolder {
  std::filesystem::path root;

  // `label` must be a label, `filename` and `version` path elements: nothing is checked here.
  [[nodiscard]] auto ManifestPath(const std::string& label) const {
    return root / label / "manifest.json";
  }
  [[nodiscard]] auto ComponentPath(const std::string& filename, const std::string& version) const {
    return root / "files" / filename / version;
  }
  [[nodiscard]] auto TakenBackPath() const { return root / "latest" / "taken_back.json"; }
  // Throws when there is no such folder.
  void RequireRoot() const;
  // The labels that have a manifest, by name.
  [[nodiscard]] std::vector<std::string> Labels() const;
  // Waits until no other publisher is at work; until the result is destroyed, none begins. Throws.
  [[nodiscard]] Descriptor Lock() const;
};

// Whether `text` names an entry of a folder and nothing else: no way up, down or aside.
[[nodiscard]] bool IsPathElement(const std::string& text);
// A path element, and not the folder of the components.
[[nodiscard]] bool IsLabel(const std::string& text);

// Throws when the file cannot be read.
[[nodiscard]] std::ifstream OpenFile(const std::filesystem::path& path);
// Both write beside `target` and rename, and make missing folders. When they throw, it is as
// before.
void PutText(const std::filesystem::path& target, const std::string& text);
void PutCopy(const std::filesystem::path& target, const std::filesystem::path& source);
