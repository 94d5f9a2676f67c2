// The socket at which the supervised processes' heartbeats arrive, and the thread that takes them.
#pragma once

#include <atomic>
#include <deque>
#include <mutex>
#include <queue>

#include "health/heartbeat.h"

// Received and not yet taken in, oldest first; not bounded. Guarded by a mutex beside it.
using HeartbeatQueue = std::queue<Heartbeat, std::deque<Heartbeat>>;

// Opens the socket, binds it to its name and limits each wait for a datagram to a second: 0 with
// the socket in `descriptor`, or 1 with a message, -1 there and nothing left open.
[[nodiscard]] int OpenHeartbeatSocket(int& descriptor);

// The receiver thread's work: appends each datagram of at least a record's length to `queue`, under
// `mutex`, until `stopRequested`, which it notices within about a second. Logs nothing. A heartbeat
// for which memory is missing is lost.
void ReceiveHeartbeats(int socket, HeartbeatQueue& queue, std::mutex& mutex,
                       const std::atomic<bool>& stopRequested);
