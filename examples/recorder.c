// A supervised application in C, as small as it gets: a heartbeat each second, and one more as soon
// as the clock was set.
#define _POSIX_C_SOURCE 200809L

#include <poll.h>
#include <stdio.h>
#include <unistd.h>

#include "client/tolvar_heartbeat.h"

int main(void) {
  struct tolvar_heartbeat heartbeat;
  struct pollfd clock;

  // The output is a file on the device: without this, lines would be lost to SIGKILL.
  setvbuf(stdout, NULL, _IOLBF, 0);
  printf("recorder %s started, pid %d\n", APP_VERSION, (int)getpid());

  if (tolvar_heartbeat_open(&heartbeat) != 0) return 1;
  clock.fd = tolvar_heartbeat_clock_fd(&heartbeat);
  clock.events = POLLIN;
  for (;;) {
    // A heartbeat that did not go out is made good by the next one.
    (void)tolvar_heartbeat_send(&heartbeat, "recorder", TOLVAR_STATUS_OK);
    poll(&clock, 1, 1000);
    (void)tolvar_heartbeat_clock_stepped(&heartbeat);
  }
}
