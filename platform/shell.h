// The shell through which processes are started and killed and files are copied and removed: the
// seam at which tests record command lines.
#pragma once

#include <string>

// Runs `commandLine` through `system` and blocks until the shell has ended. Returns false only when
// the shell itself could not be run (`system` answered -1), which is also what every call gets in a
// host that ignores SIGCHLD; the exit status of the command is not looked at.
[[nodiscard]] bool RunShell(const std::string& commandLine);
