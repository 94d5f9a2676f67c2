// The datagram by which a supervised process says that it is alive, as raw bytes in the device's
// own byte order; also what the receiver queues. client/tolvar_heartbeat.h is the sender's side.
#pragma once

#include <cstddef>
#include <cstdint>

struct Heartbeat {
  std::int64_t timestampMs;  // the sender's wall clock, milliseconds since the epoch
  std::int32_t status;       // 2: do not stop me for an upgrade; any other: no such wish
  char name[132];            // the process's name in the manifest, NUL-terminated and zero-padded
};

static_assert(sizeof(Heartbeat) == 144, "applications send exactly this record");
static_assert(offsetof(Heartbeat, timestampMs) == 0, "applications send exactly this record");
static_assert(offsetof(Heartbeat, status) == 8, "applications send exactly this record");
static_assert(offsetof(Heartbeat, name) == 12, "applications send exactly this record");
