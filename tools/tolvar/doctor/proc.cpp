#include "tools/tolvar/doctor/proc.h"

#include <dirent.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <memory>

#include "tools/tolvar/doctor/text.h"

namespace doctor {
namespace {

struct FolderClose {
  void operator()(DIR* folder) const noexcept { (void)closedir(folder); }  // it was only read
};
using Folder = std::unique_ptr<DIR, FolderClose>;

std::string PathOf(int pid) { return "/proc/" + std::to_string(pid); }

bool IsLinkTo(const std::string& path, const std::string& target) {
  std::array<char, 64> text = {};
  const ssize_t length = readlink(path.c_str(), text.data(), text.size());
  return length > 0 && target == std::string(text.data(), static_cast<std::size_t>(length));
}

bool Holds(int pid, const std::string& target) {
  const std::string path = PathOf(pid) + "/fd/";
  const Folder folder(opendir(path.c_str()));
  if (!folder) return false;
  while (const dirent* entry = readdir(folder.get())) {
    if (IsLinkTo(path + entry->d_name, target)) return true;
  }
  return false;
}

}  // namespace

std::optional<std::uint64_t> NumberAt(const std::string& path, const std::string& field, int base) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.rfind(field, 0) == 0) return std::strtoull(line.c_str() + field.size(), nullptr, base);
  }
  return std::nullopt;
}

int HolderOfSocket(const std::string& inode) {
  const Folder folder(opendir("/proc"));
  if (!folder) return 0;
  while (const dirent* entry = readdir(folder.get())) {
    const int pid = std::atoi(entry->d_name);
    if (pid > 0 && Holds(pid, "socket:[" + inode + "]")) return pid;
  }
  return 0;
}

bool HasMapped(int pid, const std::string& name) {
  std::ifstream file(PathOf(pid) + "/maps");
  for (std::string line; std::getline(file, line);) {
    if (line.find(name) != std::string::npos) return true;
  }
  return false;
}

std::string NameOf(int pid) {
  std::ifstream file(PathOf(pid) + "/comm");
  std::string name;
  std::getline(file, name);
  return Quoted(name) + " (process " + std::to_string(pid) + ")";
}

}  // namespace doctor
