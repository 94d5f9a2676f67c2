// The folder that a stand-in cloud serves:
//
//   ROOT/<label>/manifest.json        what a device gets that asks for the label
//   ROOT/files/<filename>/<version>   the bytes of a component
//
// A server reads it afresh for every request, so files are put into place whole: written beside
// their place under a temporary name, then renamed. One publisher at a time: two that edit the same
// manifest at once would lose one of the edits.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace standin {

// Whether `text` names an entry of a folder and nothing else: no way up, down or aside.
[[nodiscard]] bool IsPathElement(std::string_view text);
// A path element, and not the folder of the components.
[[nodiscard]] bool IsLabel(std::string_view text);

struct ReleaseFolder {
  std::filesystem::path root;

  // `label` must be a label, `filename` and `version` path elements: nothing is checked here.
  [[nodiscard]] std::filesystem::path ManifestPath(const std::string& label) const;
  [[nodiscard]] std::filesystem::path ComponentPath(const std::string& filename,
                                                    const std::string& version) const;
};

// Nothing when it is no readable regular file.
[[nodiscard]] std::optional<std::string> ReadText(const std::filesystem::path& path);

// Both make the parent folders that are missing. On false `error` says what failed, and `target` is
// as it was.
[[nodiscard]] bool PutText(const std::filesystem::path& target, const std::string& text,
                           std::string& error);
[[nodiscard]] bool PutCopy(const std::filesystem::path& target, const std::filesystem::path& source,
                           std::string& error);

}  // namespace standin
