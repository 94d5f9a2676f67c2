// The one fixture: a device with its identity, files and log.
#pragma once

#include <gmock/gmock.h>
#include <linux/capability.h>
#include <linux/securebits.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/fakes/fakes.h"
#include "tests/kit/cloud.h"

// What standard output has received since the construction.
class LogCapture {
 public:
  ~LogCapture() {
    (void)std::fflush(stdout);
    (void)dup2(output_, STDOUT_FILENO);
    file_.seekg(0);
    // What went wrong was written there, too.
    if (testing::Test::HasFailure()) std::cout << file_.rdbuf() << std::flush;
  }
  // What has come since the last call.
  [[nodiscard]] std::string Text() { return {std::istreambuf_iterator<char>(file_), {}}; }
  [[nodiscard]] std::vector<std::string> Lines() {
    std::istringstream text(Text());
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }

 private:
  int output_ = dup(STDOUT_FILENO);
  std::FILE* captured_ = std::freopen("/run/standard_output", "a", stdout);
  std::ifstream file_{"/run/standard_output"};
};

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

// Makes root one like any other, here and in the commands that it runs.
inline void DropCapabilities() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
  EXPECT_EQ(prctl(PR_SET_SECUREBITS, SECBIT_NOROOT) + syscall(SYS_capset, &header, none), 0);
}

// Refuses to run outside the bench device, where the device's paths would be this machine's.
class DeviceTest : public testing::Test {
 protected:
  DeviceTest() {
    if (std::getenv("TOLVAR_BENCH") != nullptr) return;
    (void)std::fputs("run me through device/bench\n", stderr);
    std::exit(1);
  }

  LogCapture log;
};
