// What a component's copies may look like, and a model of what a start and a pre-download make of
// them: results, files, and the log with the command lines.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <ostream>
#include <string>

#include "tests/kit/device.h"

// What may lie at a path besides a file that can be read.
namespace kind {
inline const std::string nothing = "(nothing)";
inline const std::string unreadable = "(unreadable)";
inline const std::string folder = "(folder)";
inline const std::string pipe = "(pipe)";
}  // namespace kind

// By path what lies there: one of these kinds, else a file with such bytes.
using Tree = std::map<std::string, std::string>;

[[nodiscard]] inline std::string LiesAt(const std::string& path) {
  if (std::filesystem::is_directory(path)) return kind::folder;
  if (std::filesystem::is_fifo(path)) return kind::pipe;
  return access(path.c_str(), R_OK) == 0 ? ReadText(path) : kind::unreadable;
}

[[nodiscard]] inline Tree TreeUnder(const std::string& root) {
  Tree tree;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    tree[entry.path()] = LiesAt(entry.path());
  }
  return tree;
}

// Has `tree` lie under `root` and nothing else, and tells what then is there.
inline Tree Lay(const std::string& root, const Tree& tree) {
  for (const auto& entry : std::filesystem::directory_iterator(root)) Remove(entry.path());
  for (const auto& [path, what] : tree) {
    if (what == kind::nothing) continue;
    WriteText(path, what);
    if (what == kind::unreadable) std::filesystem::permissions(path, {});
    if (what != kind::folder && what != kind::pipe) continue;
    Remove(path);
    const mode_t type = what == kind::folder ? S_IFDIR : S_IFIFO;
    EXPECT_EQ(type == S_IFDIR ? mkdir(path.c_str(), 0700) : mkfifo(path.c_str(), 0600), 0) << path;
  }
  return TreeUnder(root);
}

// The process "app" of one component, "file" in version "1".
inline const std::string right = "the right bytes";
inline const std::string checksum = Md5(right);
inline const std::string url = "https://cloud.test:8443/f";
inline const std::string location =
    R"({"data":{"filename":"file","version":"1","url":")" + url + R"("}})";
inline const std::string live = "/media/app/file";
inline const std::string slot = "/media/app/file.predownload";
inline const std::string card = "/media/mmc";
inline const std::string cache = "/media/mmc/.ota/2368f511";

// How a cloud and a shell behave.
struct Surroundings {
  const char* name;
  CurlAnswer location;
  CurlAnswer file;
  std::string notStarted;  // the command that the shell cannot start
};
inline void PrintTo(const Surroundings& around, std::ostream* out) { *out << around.name; }

// Each step appends its lines to the log and says whether it succeeded.
struct Model {
  const Surroundings& around;
  Tree files;
  std::string log;

  bool Say(const std::string& line) {
    log += line + "\n";
    return true;
  }
  bool Fail(const std::string& line) { return !Say(line); }
  bool Run(const std::string& command) {
    return Say("$ " + command) && command.substr(0, command.find(' ')) != around.notStarted;
  }
  std::string At(const std::string& path) const {
    const auto known = files.find(path);
    return known == files.end() ? kind::nothing : known->second;
  }
  void MakeParent(const std::string& path) {
    files[std::filesystem::path(path).parent_path()] = kind::folder;
  }
  bool Write(const std::string& path, const std::string& bytes) {
    const std::string there = At(path);
    if (there == kind::folder || there == kind::unreadable || there == kind::pipe) return false;
    files[path] = bytes;
    return true;
  }
  bool IsValid(const std::string& path) {
    const std::string there = At(path);
    if (there == kind::nothing || there == kind::unreadable) return false;
    if (there == kind::pipe) return Fail("Failed to open file " + path);
    const std::string read = there == kind::folder ? "" : there;
    return Say("CheckIntegrity " + Md5(read) + " vs. " + checksum) && there == right;
  }
  // A copy that was started counts: whether it succeeded shows only in the next check.
  bool Copy(const std::string& from, const std::string& to) {
    MakeParent(to);
    if (At(to) == kind::pipe || !Run("cp -a " + from + " " + to)) return false;
    const std::string inside = At(to) == kind::folder ? from.substr(from.rfind('/')) : "";
    (void)Write(to + inside, At(from));
    return true;
  }
  bool Transfer(const std::string& what, const CurlAnswer& answer) {
    if (answer.code == CURLE_OK) return Say(what + ", status 0");
    return Fail("Curl return code " + std::to_string(answer.code) + "\n" + what + ", status 2");
  }
  bool Fetch(const std::string& path) {
    const std::string& answer = around.location.body;
    if (!Transfer("Get download location from domain https://cloud.test:8443", around.location))
      return Fail("GetDownloadLocation failed for component file of process app");
    if (answer != location)
      return Fail("Parse download url failed for component file, response " + answer);
    (void)Say("Parsed component info: name file, version 1, url " + url);
    if (!Transfer("Get response from url " + url, around.file))
      return Fail("GetResponse failed for component file");
    MakeParent(path);
    if (!Write(path, around.file.body))
      return Fail("Failed to open file " + path + "\nWriteToPath failed for path " + path);
    if (!IsValid(path))
      return Fail("CheckIntegrity failed for path " + path + ", checksum " + checksum);
    return Say("Downloaded component: name file, version 1");
  }
  bool Download() {
    if (IsValid(live) || (IsValid(cache) && Copy(cache, live)))
      return Say("Found cached component: name file, version 1");
    if (IsValid(slot) && Copy(slot, live)) {
      (void)Say("Found pre-downloaded component: name file, version 1");
      if (Run("rm -f " + slot)) (void)files.erase(slot);
      return true;
    }
    if (!Fetch(live)) return false;
    if (At(card) == kind::folder) (void)Copy(live, cache);
    return true;
  }
  bool Launch() {
    (void)Run("pkill -9 app");
    if (!Download()) return Fail("Failed to get components for process app");
    return Run("true") && Say("Launched process app");
  }
  bool PreDownload() {
    if (IsValid(live) || IsValid(cache) || Fetch(slot))
      return Say("Pre-download all components for process app");
    return Fail("Failed to pre-download components for process app");
  }
};
