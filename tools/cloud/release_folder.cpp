#include "tools/cloud/release_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace {

namespace fs = std::filesystem;

// `make` gets a temporary name in the same folder, where a rename is atomic.
template <typename Make>
void PutInPlace(const fs::path& target, const Make& make) {
  const fs::path temporary = target.string() + ".new." + std::to_string(getpid());
  try {
    fs::create_directories(target.parent_path());
    make(temporary);
    fs::rename(temporary, target);
  } catch (const std::system_error& error) {
    std::error_code ignored;
    fs::remove(temporary, ignored);
    throw std::runtime_error("cannot write " + target.string() + ": " + error.code().message());
  }
}

}  // namespace

void ReleaseFolder::RequireRoot() const {
  if (!fs::is_directory(root)) throw std::runtime_error("no such root: " + root.string());
}

std::vector<std::string> ReleaseFolder::Labels() const {
  RequireRoot();
  std::vector<std::string> labels;
  for (const auto& entry : fs::directory_iterator(root)) {
    const std::string label = entry.path().filename();
    if (IsLabel(label) && fs::is_regular_file(ManifestPath(label))) labels.push_back(label);
  }
  std::sort(labels.begin(), labels.end());
  return labels;
}

Descriptor ReleaseFolder::Lock() const {
  Descriptor folder(open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.IsOpen() && Uninterrupted([&] { return flock(folder.Get(), LOCK_EX); }) == 0) {
    return folder;
  }
  throw std::system_error(errno, std::generic_category(), "cannot lock " + root.string());
}

bool IsPathElement(const std::string& text) {
  return !text.empty() && text != "." && text != ".." &&
         text.find_first_of("/\0", 0, 2) == std::string_view::npos;
}

bool IsLabel(const std::string& text) { return IsPathElement(text) && text != "files"; }

std::ifstream OpenFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (file && !fs::is_directory(path)) return file;
  throw std::system_error(file ? EISDIR : errno, std::generic_category(),
                          "cannot read " + path.string());
}

void PutText(const fs::path& target, const std::string& text) {
  PutInPlace(target, [&](const fs::path& temporary) {
    std::ofstream output(temporary, std::ios::binary);
    output << text;
    output.close();
    if (!output) throw std::system_error(errno, std::generic_category());
  });
}

void PutCopy(const fs::path& target, const fs::path& source) {
  PutInPlace(target, [&](const fs::path& temporary) {
    fs::copy_file(source, temporary, fs::copy_options::overwrite_existing);
  });
}
