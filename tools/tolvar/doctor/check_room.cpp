#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/manifest.h"
#include "tools/tolvar/doctor/text.h"
#include "tools/tolvar/doctor/volume.h"

namespace doctor {
namespace {

// What keeps a new version of `file` from being laid beside the old one; "" when nothing does.
std::string ObstacleTo(const ComponentFile& file) {
  const auto volume = VolumeOf(file.folder);
  if (!volume) return file.folder + " is not there";
  if (volume->readOnly) return file.path + " lies where nothing can be written";
  if (volume->freeBytes >= file.bytes) return "";
  return file.path + " takes " + Megabytes(file.bytes) + ", and " + Megabytes(volume->freeBytes) +
         " are free";
}

}  // namespace

Finding CheckRoom(const Options& options) {
  if (options.manifest.empty()) return Skipped("--manifest FILE says for what");
  const auto files = ReadManifest(options.manifest);
  if (!files) {
    return Bad(Quoted(options.manifest) + " is not there or no manifest",
               "give the manifest as the cloud sends it");
  }
  std::string obstacles;
  for (const ComponentFile& file : *files) {
    const std::string obstacle = ObstacleTo(file);
    if (!obstacle.empty()) AddToList(obstacles, obstacle);
  }
  if (obstacles.empty()) {
    return Ok("for a new version beside the old, each of " + std::to_string(files->size()) +
              " files");
  }
  return Bad(obstacles, "make room, or mount it writable");
}

}  // namespace doctor
