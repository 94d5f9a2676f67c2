#include "tools/tolvar/doctor/manifest.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "tools/tolvar/doctor/product.h"
#include "tools/tolvar/product/read_manifest.h"

namespace doctor {
namespace {

std::uint64_t SizeOf(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  return static_cast<std::uint64_t>(status.st_size);
}

std::string NearestFolder(std::string path) {
  while (!path.empty() && path != "." && !DirExists(path)) path = ParentPath(path);
  return path.empty() ? "/" : path;
}

ComponentFile FileOf(const Component& component) {
  const std::string& path = component.localpath;
  return {path, NearestFolder(ParentPath(path)),
          std::max({SizeOf(path), SizeOf(PreDownloadPath(path)), SizeOf(CachedPath(path))})};
}

}  // namespace

std::optional<std::vector<ComponentFile>> ReadManifest(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  const auto processes = product::ReadManifest(text.str());
  if (!processes) return std::nullopt;
  std::vector<ComponentFile> files;
  for (const Process& process : *processes) {
    for (const Component& component : process.components) files.push_back(FileOf(component));
  }
  return files;
}

const ComponentFile* LargestOf(const std::vector<ComponentFile>& files) {
  const auto isSmaller = [](const ComponentFile& a, const ComponentFile& b) {
    return a.bytes < b.bytes;
  };
  const auto largest = std::max_element(files.begin(), files.end(), isSmaller);
  return largest == files.end() || largest->bytes == 0 ? nullptr : &*largest;
}

}  // namespace doctor
