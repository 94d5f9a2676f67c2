#include "tools/tolvar/doctor/heartbeat_holder.h"

#include <sys/un.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "tools/tolvar/doctor/proc.h"
#include "tools/tolvar/doctor/product.h"

namespace doctor {
namespace {

// As the kernel lists the name, which has the whole length of an address: "@" for each zero.
std::string ListedName() {
  std::string name = "@" + std::string(heartbeatName);
  name.resize(sizeof(sockaddr_un::sun_path), '@');
  return name;
}

// The inode of the socket of that name in the kernel's list `file`, or "".
std::string FindInode(std::istream& file) {
  const std::string wanted = ListedName();
  for (std::string line; std::getline(file, line);) {
    // Kernels before 4.13 print the zeros as they are.
    std::replace(line.begin(), line.end(), '\0', '@');
    std::istringstream fields(line);
    std::string skipped, inode, name;
    for (int i = 0; i < 6; ++i) fields >> skipped;
    if (fields >> inode >> name && name == wanted) return inode;
  }
  return "";
}

}  // namespace

HeartbeatHolder FindHeartbeatHolder() {
  HeartbeatHolder holder;
  std::ifstream file("/proc/net/unix");
  holder.known = file.is_open();
  const std::string inode = FindInode(file);
  holder.taken = !inode.empty();
  if (!holder.taken) return holder;
  holder.pid = HolderOfSocket(inode);
  holder.supervises = holder.pid != 0 && HasMapped(holder.pid, libraryName);
  return holder;
}

}  // namespace doctor
