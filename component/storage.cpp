#include "component/storage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <fstream>

#include "platform/clock.h"
#include "platform/log.h"
#include "platform/shell.h"

const std::string sdCardRoot = "/media/mmc/";

namespace {

constexpr char hexDigits[] = "0123456789abcdef";

std::uint32_t ByteAt(const std::string& text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

std::uint32_t LittleEndianWordAt(const std::string& text, std::size_t index) {
  return ByteAt(text, index) | ByteAt(text, index + 1) << 8 | ByteAt(text, index + 2) << 16 |
         ByteAt(text, index + 3) << 24;
}

// The 32-bit target's own string hash (MurmurHash2), spelled out so that a slot keeps its name
// wherever and with whatever library the supervisor is built.
std::uint32_t SlotHash(const std::string& path) {
  constexpr std::uint32_t multiplier = 0x5bd1e995;
  std::size_t left = path.size();
  std::size_t at = 0;
  std::uint32_t hash = 0xc70f6907U ^ static_cast<std::uint32_t>(left);
  for (; left >= 4; left -= 4, at += 4) {
    std::uint32_t word = LittleEndianWordAt(path, at) * multiplier;
    word ^= word >> 24;
    hash = hash * multiplier ^ word * multiplier;
  }
  if (left >= 3) hash ^= ByteAt(path, at + 2) << 16;
  if (left >= 2) hash ^= ByteAt(path, at + 1) << 8;
  if (left >= 1) hash = (hash ^ ByteAt(path, at)) * multiplier;
  hash ^= hash >> 13;
  hash *= multiplier;
  return hash ^ hash >> 15;
}

std::string Hexadecimal(std::uint32_t value) {
  std::string text;
  do {
    text.insert(text.begin(), hexDigits[value % 16]);
    value /= 16;
  } while (value != 0);
  return text;
}

// `path` as one word of a shell command line. Plain paths stay as they are, since command lines are
// seen from outside; a single quote inside is closed, escaped and opened again.
std::string ShellWord(const std::string& path) {
  constexpr char plain[] =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./@%+=:,-";
  if (path.find_first_not_of(plain) == std::string::npos) return path;
  std::string word = "'";
  for (const char c : path) {
    if (c == '\'') {
      word += "'\\''";
    } else {
      word += c;
    }
  }
  return word + "'";
}

[[nodiscard]] bool IsBusy(const std::string& path) {
  // Without waiting for the other end, should the path be that of a pipe.
  const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return errno == ETXTBSY;
  (void)close(descriptor);  // nothing was written
  return false;
}

// A program that was just killed holds its file for a moment more, since SIGKILL is asynchronous.
// The copy over it would fail, which nobody looks at, and the old program would run as the new
// version.
void WaitWhileBusy(const std::string& path) {
  constexpr unsigned limitMs = 2000;
  constexpr unsigned stepMs = 10;
  for (unsigned waitedMs = 0; waitedMs < limitMs && IsBusy(path); waitedMs += stepMs) {
    SleepMillis(stepMs);
  }
}

int EnsureDir(const std::string& path) {
  if (DirExists(path)) return 0;
  return CreateDir(path);
}

}  // namespace

std::string ParentPath(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return path.substr(0, slash);
}

bool DirExists(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

int CreateDir(const std::string& path) {
  const std::string parent = ParentPath(path);
  if (!DirExists(parent) && CreateDir(parent) != 0) return 1;
  return mkdir(path.c_str(), S_IRWXU) == 0 ? 0 : 1;
}

bool FileExists(const std::string& path) { return access(path.c_str(), R_OK) == 0; }

bool SDCardMounted() { return DirExists(sdCardRoot); }

std::string PreDownloadPath(const std::string& path) { return path + ".predownload"; }

std::string CachedPath(const std::string& path) {
  return sdCardRoot + ".ota/" + Hexadecimal(SlotHash(path));
}

int RemovePath(const std::string& path) { return RunShell("rm -f " + ShellWord(path)) ? 0 : 1; }

int CopyToPath(const std::string& dst, const std::string& src) {
  if (EnsureDir(ParentPath(dst)) != 0) return 1;
  WaitWhileBusy(dst);
  return RunShell("cp -a " + ShellWord(src) + " " + ShellWord(dst)) ? 0 : 1;
}

int WriteFile(const std::string& path, const std::vector<char>& data) {
  WaitWhileBusy(path);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) {
    Log("Failed to open file " + path);
    return 1;
  }
  // A write or close that fails leaves a short file, which the check after every download catches.
  file.write(data.data(), static_cast<std::streamsize>(data.size()));
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
