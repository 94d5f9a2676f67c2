// The device's files.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

inline void WriteText(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

// "" when it is not there.
[[nodiscard]] inline std::string ReadText(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

[[nodiscard]] inline bool Exists(const std::string& path) { return std::filesystem::exists(path); }
inline void Remove(const std::string& path) { std::filesystem::remove_all(path); }

// By path what is there: one of these, or a file with such bytes.
using Files = std::map<std::string, std::string>;
inline const std::string absent = "(absent)", unreadable = "(unreadable)", folder = "(folder)";

[[nodiscard]] inline Files FilesUnder(const std::string& root) {
  Files found;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    const std::string path = entry.path(), bytes = entry.is_directory() ? folder : ReadText(path);
    found[path] = access(path.c_str(), R_OK) == 0 ? bytes : unreadable;
  }
  return found;
}

// Has `files` lie under `root` and nothing else, and tells what then is there.
inline Files LayFiles(const std::string& root, const Files& files) {
  for (const auto& entry : std::filesystem::directory_iterator(root)) Remove(entry.path());
  for (const auto& [path, bytes] : files) {
    if (bytes == folder) std::filesystem::create_directories(path);
    if (bytes != folder && bytes != absent) WriteText(path, bytes);
    if (bytes == unreadable) std::filesystem::permissions(path, std::filesystem::perms::none);
  }
  return FilesUnder(root);
}
