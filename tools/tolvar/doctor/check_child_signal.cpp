#include <csignal>

#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/heartbeat_holder.h"
#include "tools/tolvar/doctor/proc.h"

namespace doctor {
namespace {

// The process asked for, or the supervisor that runs; 0 without either.
int HostOf(const Options& options) {
  if (options.hostPid != 0) return options.hostPid;
  const HeartbeatHolder holder = FindHeartbeatHolder();
  return holder.supervises ? holder.pid : 0;
}

}  // namespace

Finding CheckChildSignal(const Options& options) {
  const int pid = HostOf(options);
  if (pid == 0) return Skipped("no supervisor runs; --host PID looks at its host-to-be");
  const auto ignored = NumberAt("/proc/" + std::to_string(pid) + "/status", "SigIgn:", 16);
  if (!ignored) {
    return Bad("process " + std::to_string(pid) + " is not there", "give the host's process id");
  }
  if ((*ignored >> (SIGCHLD - 1) & 1U) == 0) {
    return Ok("not ignored by " + NameOf(pid));
  }
  return Bad("ignored by " + NameOf(pid) + ": every launch fails",
             "have the host set SIGCHLD to SIG_DFL before it loads the plug-in");
}

}  // namespace doctor
