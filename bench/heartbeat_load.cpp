// Sends heartbeats for COUNT processes named PREFIX0, PREFIX1, ... once a second each, spread over
// the second, until it is killed: heartbeat_load PREFIX COUNT
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "client/tolvar_heartbeat.h"

int main(int argc, char** argv) {
  tolvar_heartbeat heartbeat = TOLVAR_HEARTBEAT_INIT;
  if (argc != 3 || tolvar_heartbeat_open(&heartbeat) != 0) return 1;
  const int processes = std::atoi(argv[2]);
  if (processes < 1) return 1;
  for (int i = 0;; i = (i + 1) % processes) {
    const std::string name = argv[1] + std::to_string(i);
    // One that does not go out is made good in a second.
    (void)tolvar_heartbeat_send(&heartbeat, name.c_str(), TOLVAR_STATUS_OK);
    (void)usleep(static_cast<useconds_t>(1'000'000 / processes));
  }
}
