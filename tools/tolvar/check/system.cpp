#include "tools/tolvar/check/system.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "component/slots.h"

namespace check {
namespace {

[[nodiscard]] bool IsBelow(const std::string& path, std::initializer_list<std::string_view> list) {
  return std::any_of(list.begin(), list.end(),
                     [&path](std::string_view folder) { return path.rfind(folder, 0) == 0; });
}

}  // namespace

const std::vector<std::string>& SystemPrograms() {
  static const std::vector<std::string> names = {
      "init",    "sh",        "ash",     "bash",           "busybox",    "systemd",  "udevd",
      "syslogd", "klogd",     "crond",   "getty",          "login",      "sshd",     "dropbear",
      "udhcpc",  "dhcpcd",    "ntpd",    "wpa_supplicant", "hostapd",    "watchdog", "kthreadd",
      "kworker", "ksoftirqd", "kswapd0", "pkill",          "tolvar-host"};
  return names;
}

bool IsSystemFile(const std::string& path) {
  static const std::vector<std::string> files = {"/bin/sh",
                                                 "/bin/busybox",
                                                 "/sbin/init",
                                                 "/usr/bin/pkill",
                                                 "/bin/pkill",
                                                 "/bin/cp",
                                                 "/bin/rm",
                                                 "/etc/passwd",
                                                 "/etc/shadow",
                                                 "/etc/fstab",
                                                 "/etc/inittab",
                                                 "/tmp/cacert.pem",
                                                 "/config/.user_config",
                                                 "/etc/config/.user_config",
                                                 "/etc/config/.tolvar_config"};
  return IsBelow(path, {"/proc/", "/sys/", "/dev/", "/boot/", sdCardRoot + ".ota/"}) ||
         std::find(files.begin(), files.end(), path) != files.end();
}

bool IsInSystemFolder(const std::string& path) {
  return IsBelow(path, {"/bin/", "/sbin/", "/lib/", "/etc/", "/usr/bin/", "/usr/sbin/", "/usr/lib/",
                        "/root/"});
}

bool IsInMemory(const std::string& path) {
  return IsBelow(path, {"/tmp/", "/run/", "/var/run/", "/dev/shm/"});
}

}  // namespace check
