#include "tools/tolvar/doctor/volume.h"

#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>

namespace doctor {

std::optional<Volume> VolumeOf(const std::string& path) {
  struct statvfs room = {};
  struct statfs kind = {};
  if (statvfs(path.c_str(), &room) != 0 || statfs(path.c_str(), &kind) != 0) return std::nullopt;
  const auto type = static_cast<unsigned long>(kind.f_type);  // signed on some machines
  Volume volume;
  volume.readOnly = (room.f_flag & ST_RDONLY) != 0;
  volume.inMemory = type == TMPFS_MAGIC || type == RAMFS_MAGIC;
  volume.freeBytes = std::uint64_t{room.f_bavail} * room.f_frsize;
  return volume;
}

}  // namespace doctor
