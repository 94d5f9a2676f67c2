#include "health/heartbeat_channel.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/attempt.h"
#include "platform/log.h"

namespace {

// Bound with its whole length, zeros included: in the abstract namespace the length is part of the
// name, and senders must use the same 110 bytes.
sockaddr_un HeartbeatAddress() {
  static_assert(sizeof(sockaddr_un) == 110, "senders address the whole structure");
  constexpr char name[] = "AppHeartbeat";
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path + 1, name, sizeof name);
  return address;
}

[[nodiscard]] bool BindToName(int descriptor) {
  const sockaddr_un address = HeartbeatAddress();
  return bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

[[nodiscard]] bool LimitReceiveTime(int descriptor) {
  timeval limit = {};
  limit.tv_sec = 1;
  return setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) == 0;
}

// Without memory of its own, which may be what is missing.
void LogBindFailure(const char* reason) {
  std::array<char, 128> line = {};
  (void)std::snprintf(line.data(), line.size(), "bind heartbeat socket failed with error: %s",
                      reason);
  Log(line.data());
}

}  // namespace

int OpenHeartbeatSocket(int& descriptor) {
  descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) {
    Log("Failed to create heartbeat socket");
    return 1;
  }
  if (!BindToName(descriptor)) {
    LogBindFailure(std::strerror(errno));
  } else if (!LimitReceiveTime(descriptor)) {
    Log("Failed to setsockopt SO_RCVTIMEO");
  } else {
    return 0;
  }
  (void)close(descriptor);  // nothing was written to it
  descriptor = -1;
  return 1;
}

void ReceiveHeartbeats(int socket, HeartbeatQueue& queue, std::mutex& mutex,
                       const std::atomic<bool>& stopRequested) {
  while (!stopRequested.load()) {
    Heartbeat heartbeat = {};
    const ssize_t received = recv(socket, &heartbeat, sizeof heartbeat, 0);
    // The time-out of a second without traffic, an error or too short a datagram.
    if (received != static_cast<ssize_t>(sizeof heartbeat)) continue;
    const std::lock_guard<std::mutex> lock(mutex);
    // One that is lost for want of memory is made up for by the sender's next.
    (void)Attempt([&] { queue.push(heartbeat); });
  }
}
