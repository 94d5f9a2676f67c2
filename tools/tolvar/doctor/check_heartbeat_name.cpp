#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/heartbeat_holder.h"
#include "tools/tolvar/doctor/proc.h"

namespace doctor {

Finding CheckHeartbeatName(const Options& /*options*/) {
  const HeartbeatHolder holder = FindHeartbeatHolder();
  if (!holder.known) {
    return Warning("who has the socket's name cannot be seen: no /proc/net/unix", "mount /proc");
  }
  if (!holder.taken) return Ok("the socket's name is free: no supervisor runs");
  if (holder.pid == 0) {
    return Warning("the socket's name is taken, it cannot be seen by whom", "run it as root");
  }
  if (holder.supervises) return Ok("received by the supervisor in " + NameOf(holder.pid));
  return Bad(
      "the socket's name is taken by " + NameOf(holder.pid) + ", which has no supervisor loaded",
      "end that process, then restart the host");
}

}  // namespace doctor
