#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>

#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/manifest.h"
#include "tools/tolvar/doctor/product.h"
#include "tools/tolvar/doctor/text.h"
#include "tools/tolvar/doctor/volume.h"

namespace doctor {
namespace {

constexpr std::uint64_t megabyte = 1000000;

struct MemoryFree {
  void operator()(char* memory) const noexcept { std::free(memory); }
};

std::string RealPath(const std::string& path) {
  const std::unique_ptr<char, MemoryFree> real(realpath(path.c_str(), nullptr));
  return real ? real.get() : path;
}

// Whether `path` is where a file system is mounted, by the mounts that `file` lists.
bool IsMountPoint(std::istream& file, const std::string& path) {
  for (std::string line; std::getline(file, line);) {
    std::istringstream fields(line);
    std::string skipped, point;
    for (int i = 0; i < 4; ++i) fields >> skipped;
    if (fields >> point && point == path) return true;
  }
  return false;
}

std::uint64_t NeededBytes(const Options& options) {
  const auto files = ReadManifest(options.manifest);
  const ComponentFile* largest = files ? LargestOf(*files) : nullptr;
  return largest != nullptr ? largest->bytes : megabyte;
}

Finding JudgeVolume(const Volume& volume, const Options& options) {
  if (volume.readOnly) {
    return Warning("a card, but read-only: no file is kept on it",
                   "mount it writable; check its file system, replace a worn card");
  }
  const std::string found = "a card, " + Megabytes(volume.freeBytes) + " free";
  if (volume.freeBytes >= NeededBytes(options)) return Ok(found);
  return Warning(found + ": no room for another file",
                 "remove what does not belong there; " + sdCardRoot + ".ota may go as well");
}

}  // namespace

Finding CheckCard(const Options& options) {
  if (!SDCardMounted()) {
    return Ok("no " + sdCardRoot + ": files are kept where they belong, and only there");
  }
  std::ifstream mounts("/proc/self/mountinfo");
  const auto volume = VolumeOf(sdCardRoot);
  if (!mounts || !volume) {
    return Warning("what " + sdCardRoot + " is cannot be seen: no /proc/self/mountinfo",
                   "mount /proc");
  }
  if (IsMountPoint(mounts, RealPath(sdCardRoot))) return JudgeVolume(*volume, options);
  return Warning("no card, but a folder: it counts as one, each file takes its room twice",
                 "mount the card there, or remove " + sdCardRoot);
}

}  // namespace doctor
