// The least that taking in heartbeats can cost: the shape of the plug-in's receiver and nothing
// else. One thread receives each, with a time-out of a second, and queues it under a lock; another
// wakes up once a second and drops the queue. What the plug-in is compared with: a blocked thread's
// wake-up costs several times more on one machine than on another. Runs until it is killed, in
// place of a supervisor.
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <mutex>
#include <queue>
#include <thread>

#include "client/tolvar_heartbeat.h"

namespace {

std::mutex mutex;
std::queue<tolvar_heartbeat_record> received;

void Receive(int descriptor) {
  for (;;) {
    tolvar_heartbeat_record record;
    if (recv(descriptor, &record, sizeof record, 0) != sizeof record) continue;
    const std::lock_guard<std::mutex> lock(mutex);
    received.push(record);
  }
}

}  // namespace

int main() {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path + 1, "AppHeartbeat");
  const timeval limit = {1, 0};
  const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return 1;
  if (setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) != 0) return 1;
  std::thread(&Receive, descriptor).detach();
  for (;;) {
    (void)sleep(1);
    const std::lock_guard<std::mutex> lock(mutex);
    received = {};
  }
}
