#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/trial.h"

namespace doctor {

Finding CheckShell(const Options& /*options*/) {
  constexpr int asked = 42;
  const Quiet quiet;
  if (ShellStatus("exit 42") == asked) return Ok("/bin/sh runs command lines");
  return Bad("/bin/sh does not run command lines: nothing can be launched, killed or copied",
             "install a POSIX shell as /bin/sh");
}

}  // namespace doctor
