// A supervised application in C, as small as it gets: one heartbeat a second, and one more as soon
// as the clock is set.
#define _POSIX_C_SOURCE 200809L

#include <poll.h>
#include <stdio.h>
#include <unistd.h>

#include "client/tolvar_heartbeat.h"

int main(void) {
  struct tolvar_heartbeat heartbeat = TOLVAR_HEARTBEAT_INIT;
  struct pollfd clock = {-1, POLLIN, 0};

  // The output is a file on the device. Without this, SIGKILL would lose lines.
  setvbuf(stdout, NULL, _IOLBF, 0);
  printf("recorder %s started, pid %d\n", APP_VERSION, (int)getpid());

  if (tolvar_heartbeat_open(&heartbeat) != 0) return 1;
  clock.fd = tolvar_heartbeat_clock_fd(&heartbeat);
  for (;;) {
    // The next heartbeat makes good for one that did not go out.
    (void)tolvar_heartbeat_send(&heartbeat, "recorder", TOLVAR_STATUS_OK);
    poll(&clock, 1, 1000);
    // Takes the notice of a clock step: without this, poll would never wait again.
    (void)tolvar_heartbeat_clock_stepped(&heartbeat);
  }
}
