// A download is held in memory as a whole before it is written.
#include <algorithm>

#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/manifest.h"
#include "tools/tolvar/doctor/proc.h"
#include "tools/tolvar/doctor/text.h"
#include "tools/tolvar/doctor/volume.h"
#include "tools/tolvar/product/needs.h"

namespace doctor {
namespace {

struct Need {
  std::string words;
  std::uint64_t bytes = 0;
};

Need NeedOf(const ComponentFile& file) {
  const auto volume = VolumeOf(file.folder);
  const bool twice = volume && volume->inMemory;
  const std::uint64_t bytes = product::MemoryNeed(file.bytes, twice);
  return {"fetching " + file.path + (twice ? " into memory" : "") + " takes " + Megabytes(bytes),
          bytes};
}

Need LargestNeed(const std::vector<ComponentFile>& files) {
  Need largest;
  for (const ComponentFile& file : files) {
    if (file.bytes == 0) continue;
    const Need need = NeedOf(file);
    if (need.bytes > largest.bytes) largest = need;
  }
  return largest;
}

// "" when the size of each is known.
std::string Unknown(const std::vector<ComponentFile>& files) {
  const auto count = std::count_if(files.begin(), files.end(),
                                   [](const ComponentFile& file) { return file.bytes == 0; });
  if (count == 0) return "";
  return " (" + std::to_string(count) + " of " + std::to_string(files.size()) +
         " files: size not known here)";
}

Finding Judge(const std::vector<ComponentFile>& files, std::uint64_t freeBytes) {
  const std::string available = Megabytes(freeBytes) + " free";
  const Need need = LargestNeed(files);
  if (need.bytes == 0) {
    return Warning(available + ", but none of the manifest's files is here yet",
                   "compare with the largest file's size plus " + Megabytes(product::hostBytes));
  }
  const std::string found = available + ", " + need.words + Unknown(files);
  if (freeBytes >= need.bytes) return Ok(found);
  return Bad(found, "stop something, split the file, or put it on flash");
}

}  // namespace

Finding CheckMemory(const Options& options) {
  const auto kilobytes = NumberAt("/proc/meminfo", "MemAvailable:", 10);
  if (!kilobytes) {
    return Warning("not told: no MemAvailable in /proc/meminfo", "mount /proc");
  }
  const std::uint64_t freeBytes = *kilobytes * 1024;
  if (options.manifest.empty()) {
    return Skipped(Megabytes(freeBytes) + " free; --manifest FILE says for what");
  }
  const auto files = ReadManifest(options.manifest);
  if (!files) {
    return Bad(Quoted(options.manifest) + " is not there or no manifest",
               "give the manifest as the cloud sends it");
  }
  return Judge(*files, freeBytes);
}

}  // namespace doctor
