#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <cerrno>

#include "platform/clock.h"
#include "platform/log.h"
#include "platform/memory.h"
#include "platform/shell.h"
#include "platform/shell_word.h"

namespace {

// Neither to be passed on to commands nor to wait for the other end, should the path be a pipe's.
constexpr int carefully = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

// What lies at `path`, symbolic links followed; zeros when it is nothing.
struct stat StatusOf(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) status = {};
  return status;
}
mode_t ModeOf(const std::string& path) { return StatusOf(path).st_mode; }

[[nodiscard]] bool IsBusy(const std::string& path) {
  if (!S_ISREG(ModeOf(path))) return false;
  const Descriptor file(open(path.c_str(), O_WRONLY | carefully));
  return !file.IsOpen() && errno == ETXTBSY;
}

// A program that was just killed holds its file for a moment more, since SIGKILL is asynchronous.
// The copy over it would fail, which nobody looks at, and the old program would run as the new
// version.
void WaitWhileBusy(const std::string& path) {
  constexpr std::int64_t limitMs = 2000;
  constexpr unsigned stepMs = 10;
  if (!IsBusy(path)) return;
  const std::int64_t startMs = UptimeMillis();
  do {
    SleepMillis(stepMs);
  } while (UptimeMillis() - startMs < limitMs && IsBusy(path));
}

// For a file in memory the kernel finds room at any price, and that is the host's life. So a file
// system of this kind counts as full before.
[[nodiscard]] bool TakesTooMuchMemory(const std::string& place, std::uint64_t bytes) {
  constexpr std::uint64_t smallBytes = 1U << 20U;
  constexpr std::uint32_t tmpfs = 0x01021994;
  constexpr std::uint32_t ramfs = 0x858458f6;
  struct statfs status = {};
  if (bytes <= smallBytes || statfs(place.c_str(), &status) != 0) return false;
  const auto kind = static_cast<std::uint32_t>(status.f_type);
  return (kind == tmpfs || kind == ramfs) && !MemoryHolds(bytes);
}

// By how much a copy of `src` over `dst` grows the latter: "cp" empties it first.
std::uint64_t GrowthBy(const std::string& src, const std::string& dst) {
  const auto growth = StatusOf(src).st_size - StatusOf(dst).st_size;
  return growth > 0 ? static_cast<std::uint64_t>(growth) : 0;
}

int EnsureDir(const std::string& path) {
  if (DirExists(path)) return 0;
  return CreateDir(path);
}

// As far as it goes: a short file is caught by the check after every download.
void WriteAll(int descriptor, const std::vector<char>& data) {
  std::size_t written = 0;
  while (written < data.size()) {
    const ssize_t count = Uninterrupted(
        [&] { return write(descriptor, data.data() + written, data.size() - written); });
    if (count <= 0) return;
    written += static_cast<std::size_t>(count);
  }
}

}  // namespace

std::string ParentPath(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return path.substr(0, slash);
}

bool DirExists(const std::string& path) { return S_ISDIR(ModeOf(path)); }

int CreateDir(const std::string& path) {
  const std::string parent = ParentPath(path);
  if (!DirExists(parent) && CreateDir(parent) != 0) return 1;
  return mkdir(path.c_str(), S_IRWXU) == 0 ? 0 : 1;
}

bool FileExists(const std::string& path) { return access(path.c_str(), R_OK) == 0; }

Descriptor OpenForReading(const std::string& path) {
  Descriptor file(open(path.c_str(), O_RDONLY | carefully));
  struct stat status = {};
  if (fstat(file.Get(), &status) != 0) return Descriptor(-1);
  if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) return Descriptor(-1);
  return file;
}

int RemovePath(const std::string& path) { return RunShell("rm -f " + ShellWord(path)) ? 0 : 1; }

int CopyToPath(const std::string& dst, const std::string& src) {
  if (EnsureDir(ParentPath(dst)) != 0) return 1;
  if (S_ISFIFO(ModeOf(dst))) return 1;  // "cp" would wait for a reader, and supervision with it
  if (TakesTooMuchMemory(ParentPath(dst), GrowthBy(src, dst))) return 1;
  WaitWhileBusy(dst);
  return RunShell("cp -a " + ShellWord(src) + " " + ShellWord(dst)) ? 0 : 1;
}

int WriteFile(const std::string& path, const std::vector<char>& data) {
  constexpr mode_t readWriteForAll = 0666;  // less what the host's mask takes away
  WaitWhileBusy(path);
  const Descriptor file(
      open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | carefully, readWriteForAll));
  if (!file.IsOpen()) {
    Log("Failed to open file " + path);
    return 1;
  }
  if (!TakesTooMuchMemory(path, data.size())) WriteAll(file.Get(), data);
  return 0;
}

int WriteToPath(const std::string& path, const std::vector<char>& data) {
  const std::string parent = ParentPath(path);
  if (EnsureDir(parent) != 0) {
    Log("Failed to create dir " + parent);
    return 1;
  }
  return WriteFile(path, data);
}
