// The checks, each in the file of its name. Each answers for what it says and leaves the device as
// it found it.
#pragma once

#include "tools/tolvar/doctor/check.h"

namespace doctor {

// /bin/sh runs command lines.
[[nodiscard]] Finding CheckShell(const Options& options);
// A process is found by its name and killed: tried on a child with a name of its own.
[[nodiscard]] Finding CheckPkill(const Options& options);
// A file is copied over another with its mode: tried in a folder of its own.
[[nodiscard]] Finding CheckCopy(const Options& options);
// A file is removed: tried in a folder of its own.
[[nodiscard]] Finding CheckRemove(const Options& options);
// The wireless interface is there, up and has an Ethernet address.
[[nodiscard]] Finding CheckInterface(const Options& options);
// The device token is there and can be sent as it stands.
[[nodiscard]] Finding CheckToken(const Options& options);
// The CA certificates can be loaded, and the clock lies within their dates.
[[nodiscard]] Finding CheckCertificates(const Options& options);
// The configuration means what it says, and no interval is "at once" or "never".
[[nodiscard]] Finding CheckConfiguration(const Options& options);
// The clock is not before the build, nor past what this userland can count.
[[nodiscard]] Finding CheckClock(const Options& options);
// What counts as the SD card is one, writable and with room.
[[nodiscard]] Finding CheckCard(const Options& options);
// The manifest's files can be written where they belong, a new version beside the old one.
[[nodiscard]] Finding CheckRoom(const Options& options);
// The largest file of the manifest can be held in memory.
[[nodiscard]] Finding CheckMemory(const Options& options);
// The heartbeats' address is free or a supervisor's.
[[nodiscard]] Finding CheckHeartbeatName(const Options& options);
// The host does not ignore SIGCHLD.
[[nodiscard]] Finding CheckChildSignal(const Options& options);

}  // namespace doctor
