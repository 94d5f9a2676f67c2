#include "tools/tolvar/log/source.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace devicelog {
namespace {

struct stat StatusOf(int descriptor) {
  struct stat status = {};
  (void)fstat(descriptor, &status);  // zeros where it fails
  return status;
}

}  // namespace

Source::Source(std::string path) : path_(std::move(path)), lines_(-1) {}

Source::~Source() {
  if (descriptor_ > STDERR_FILENO) (void)close(descriptor_);  // nothing was written
}

bool Source::Open(std::string& error) {
  descriptor_ = path_ == "-" ? STDIN_FILENO : open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  const bool isFolder = descriptor_ >= 0 && S_ISDIR(StatusOf(descriptor_).st_mode);
  if (descriptor_ < 0 || isFolder) {
    error = "cannot read " + path_ + ": " + std::strerror(isFolder ? EISDIR : errno);
    return false;
  }
  lines_.Restart(descriptor_);
  return true;
}

bool Source::IsFile() const { return S_ISREG(StatusOf(descriptor_).st_mode); }

std::uint64_t Source::Size() const {
  return static_cast<std::uint64_t>(StatusOf(descriptor_).st_size);
}

bool Source::GoOn() {
  const struct stat held = StatusOf(descriptor_);
  if (!S_ISREG(held.st_mode)) return false;
  if (lseek(descriptor_, 0, SEEK_CUR) > held.st_size) {
    (void)lseek(descriptor_, 0, SEEK_SET);  // a file can be read from its beginning
    lines_.Restart(descriptor_);
    return true;
  }
  struct stat named = {};
  if (stat(path_.c_str(), &named) != 0) return false;
  if (named.st_ino == held.st_ino && named.st_dev == held.st_dev) return false;
  const int newer = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (newer < 0) return false;
  (void)close(descriptor_);  // nothing was written
  descriptor_ = newer;
  lines_.Restart(descriptor_);
  return true;
}

}  // namespace devicelog
