// A supervised application in C++: a camera's streamer, without the camera.
//
//   streamer [--busy-file PATH] [--mute]
//
// It sends a heartbeat each second. While PATH exists it says "busy", so an upgrade waits.
// With --mute, or in a release built with APP_MUTE, it sends none: such a release cannot live.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "client/tolvar_heartbeat.h"

namespace {

// The "processname" of the manifest, and the file name of the program on the device.
constexpr char processName[] = "streamer";
constexpr int heartbeatIntervalMs = 1000;

struct Options {
  const char* busyFile = nullptr;
#ifdef APP_MUTE
  bool mute = true;
#else
  bool mute = false;
#endif
};

bool ParseArguments(int count, char** arguments, Options& options) {
  for (int i = 1; i < count; ++i) {
    if (std::strcmp(arguments[i], "--mute") == 0) {
      options.mute = true;
    } else if (std::strcmp(arguments[i], "--busy-file") == 0 && i + 1 < count) {
      options.busyFile = arguments[++i];
    } else {
      return false;
    }
  }
  return true;
}

std::int32_t CurrentStatus(const Options& options) {
  const bool busy = options.busyFile != nullptr && access(options.busyFile, F_OK) == 0;
  return busy ? TOLVAR_STATUS_BUSY : TOLVAR_STATUS_OK;
}

// Returns when the next heartbeat is due: after the interval, or as soon as the clock is set.
void WaitForNext(tolvar_heartbeat& heartbeat) {
  pollfd clock = {tolvar_heartbeat_clock_fd(&heartbeat), POLLIN, 0};
  poll(&clock, 1, heartbeatIntervalMs);
  if (tolvar_heartbeat_clock_stepped(&heartbeat) == 1) std::puts("the clock was set");
}

struct Report {
  std::int32_t status = TOLVAR_STATUS_OK;
  int error = 0;  // the errno of a heartbeat that could not be sent
};

Report SendHeartbeat(const tolvar_heartbeat& heartbeat, const Options& options) {
  Report report;
  report.status = CurrentStatus(options);
  const bool sent = tolvar_heartbeat_send(&heartbeat, processName, report.status) == 0;
  report.error = sent ? 0 : errno;
  return report;
}

const char* SendingText(int error) {
  switch (error) {
    case 0:
      return "sent";
    case ECONNREFUSED:
      return "no supervisor";
    case EAGAIN:
      return "the supervisor does not read";
    default:
      return std::strerror(error);
  }
}

void LogChange(const Report& last, const Report& now) {
  if (now.status != last.status) {
    std::puts(now.status == TOLVAR_STATUS_BUSY ? "busy" : "no longer busy");
  }
  if (now.error != last.error) std::printf("heartbeat: %s\n", SendingText(now.error));
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ParseArguments(argc, argv, options)) {
    std::fprintf(stderr, "usage: %s [--busy-file PATH] [--mute]\n", processName);
    return 2;
  }
  // The output is a file on the device. Without this, SIGKILL would lose lines.
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  std::printf("%s %s started, pid %d\n", processName, APP_VERSION, getpid());

  tolvar_heartbeat heartbeat = TOLVAR_HEARTBEAT_INIT;
  if (tolvar_heartbeat_open(&heartbeat) != 0) return 1;
  Report last;
  for (;;) {
    if (!options.mute) {
      const Report now = SendHeartbeat(heartbeat, options);
      LogChange(last, now);
      last = now;
    }
    WaitForNext(heartbeat);
  }
}
