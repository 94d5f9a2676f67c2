// The header as a C99 program sees it; linked into the tests for what it does there.
#define _POSIX_C_SOURCE 200809L

#include "client/tolvar_heartbeat.h"

int SendFromC99(const char* name, int32_t status);

int SendFromC99(const char* name, int32_t status) {
  struct tolvar_heartbeat heartbeat;
  int result = tolvar_heartbeat_open(&heartbeat);
  if (result != 0) return -result;
  result = (int)tolvar_heartbeat_send(&heartbeat, name, status);
  tolvar_heartbeat_close(&heartbeat);
  return result;
}
