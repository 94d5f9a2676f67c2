// The device's files.
#pragma once

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

// By path what is there: a file's bytes, or one of these.
using Files = std::map<std::string, std::string>;
inline const std::string absent = "(absent)", folder = "(folder)";

[[nodiscard]] inline Files FilesUnder(const std::string& root) {
  Files found;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    found[entry.path()] = entry.is_directory() ? folder : ReadText(entry.path());
  }
  return found;
}
