// How a supervised application tells the supervisor that it is alive: one datagram of 144 bytes.
//
// The least that an application does:
//
//   struct tolvar_heartbeat heartbeat = TOLVAR_HEARTBEAT_INIT;
//   if (tolvar_heartbeat_open(&heartbeat) != 0) return 1;
//   for (;;) {
//     tolvar_heartbeat_send(&heartbeat, "streamer", TOLVAR_STATUS_OK);
//     sleep(1);
//   }
//
// How often. Send every second. The supervisor kills and restarts a process whose newest heartbeat
// is too old: 6 seconds unless the device configures another limit. An application cannot ask for
// the limit.
//
// The clock. Heartbeats carry the wall clock. When the clock is set forward, the newest heartbeat
// is old at once. An application that does not want to be restarted for that watches the clock and
// sends the next heartbeat right away. In place of the sleep:
//
//   struct pollfd clock = {tolvar_heartbeat_clock_fd(&heartbeat), POLLIN, 0};
//   ...
//     poll(&clock, 1, 1000);
//     tolvar_heartbeat_clock_stepped(&heartbeat);
//
// The second call takes the notice. Never leave it out: with a notice that nobody takes, each poll
// returns at once, for ever, and the loop spins.
//
// Results. Every function that can fail returns -1 and sets errno. None waits, allocates, logs,
// starts a thread or keeps global state. All state is in a struct that the caller owns. Use one
// struct from one thread at a time, or lock it; separate structs are independent. The descriptors
// close on exec. After fork the child shares them: let it close its copy with
// tolvar_heartbeat_close, which leaves the parent's open.
//
// Needs Linux 3.0 and POSIX.1-2008 names: with -std=c99 define _POSIX_C_SOURCE as 200809L before
// the first system header. (g++ and clang++ define _GNU_SOURCE, which includes it.) Before glibc
// 2.17, link with -lrt. Valid C99 and C++98 and later.
#ifndef TOLVAR_CLIENT_TOLVAR_HEARTBEAT_H_
#define TOLVAR_CLIENT_TOLVAR_HEARTBEAT_H_

#include <errno.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#ifndef CLOCK_REALTIME
#error "tolvar_heartbeat.h: define _POSIX_C_SOURCE as 200809L before the first system header"
#endif

// The status word of a heartbeat. Only "busy" means anything to the supervisor. Every other value,
// also a negative one, means "not busy".
//
// Busy asks the supervisor not to kill this process for a new version of it. The last status
// received counts, so:
// - Send the status with every heartbeat, and the first heartbeat right after the start. Until then
//   the status of an earlier instance counts.
// - Busy holds only while the process runs. A busy process that falls silent has failed like any
//   other. If an upgrade waits, the new version takes its place at once; the launch kills what is
//   left of the old instance.
// - It is a request, not a lock. It does not help a process that is no longer in the device's
//   process set. It comes too late once the supervisor has begun to fetch the new version.
enum { TOLVAR_STATUS_OK = 0, TOLVAR_STATUS_BUSY = 2 };

// Longest process name, in bytes without its terminator.
enum { TOLVAR_HEARTBEAT_NAME_MAX = 131 };

// The datagram, in the device's own byte order.
struct tolvar_heartbeat_record {
  int64_t timestampMs;  // wall clock of the sender, milliseconds since the epoch
  int32_t status;       // TOLVAR_STATUS_...
  char name[TOLVAR_HEARTBEAT_NAME_MAX + 1];  // "processname" of the manifest, zero-padded
};

// An array of negative size where the condition is false.
#define TOLVAR_HEARTBEAT_ASSERT_(what, condition) \
  typedef char tolvar_heartbeat_assert_##what[(condition) ? 1 : -1]
TOLVAR_HEARTBEAT_ASSERT_(size, sizeof(struct tolvar_heartbeat_record) == 144);
TOLVAR_HEARTBEAT_ASSERT_(timestamp, offsetof(struct tolvar_heartbeat_record, timestampMs) == 0);
TOLVAR_HEARTBEAT_ASSERT_(status, offsetof(struct tolvar_heartbeat_record, status) == 8);
TOLVAR_HEARTBEAT_ASSERT_(name, offsetof(struct tolvar_heartbeat_record, name) == 12);
TOLVAR_HEARTBEAT_ASSERT_(address, sizeof(struct sockaddr_un) == 110);
#undef TOLVAR_HEARTBEAT_ASSERT_

// Owned by the caller. The fields are private. A struct of zeros is closed, and safe to pass to
// every function.
struct tolvar_heartbeat {
  int socketPlusOne;  // the descriptor plus one; 0: closed
  int clockPlusOne;   // the same; 0 also where this kernel does not report clock steps
};

// What a struct starts as: struct tolvar_heartbeat heartbeat = TOLVAR_HEARTBEAT_INIT;
#define TOLVAR_HEARTBEAT_INIT \
  { 0, 0 }

// Private: arms the timer whose cancellation tells of a clock step. Returns 0 or -1 with errno.
static inline int tolvar_heartbeat_arm_clock_(int clockFd, time_t expirySec) {
  // TFD_TIMER_CANCEL_ON_SET, whose name older libc headers lack.
  const int cancelOnSet = 1 << 1;
  struct itimerspec expiry, before;
  memset(&expiry, 0, sizeof(expiry));
  expiry.it_value.tv_sec = expirySec;
  // Asks for the timer before, since no spelling of a null pointer suits C and every C++.
  if (timerfd_settime(clockFd, TFD_TIMER_ABSTIME | cancelOnSet, &expiry, &before) == 0) return 0;
  // Armed, but the clock was set meanwhile.
  return errno == ECANCELED ? 0 : -1;
}

// Private: asks for a notice when the wall clock is set. Returns 0 or -1 with errno.
static inline int tolvar_heartbeat_watch_clock_(int clockFd) {
  // The timer is not meant to expire, so it lies in 2106, or in 2038 where the seconds of the
  // program or of the kernel have 32 bits. Steps are still told after an expiry.
  time_t expirySec = 0x7fffffff;
  if (sizeof(expirySec) > 4) expirySec *= 2;
  if (tolvar_heartbeat_arm_clock_(clockFd, expirySec) == 0) return 0;
  return tolvar_heartbeat_arm_clock_(clockFd, 0x7fffffff);
}

// Private: a descriptor that tells of clock steps, or -1 with errno.
static inline int tolvar_heartbeat_open_clock_(void) {
  const int clockFd = timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK);
  if (clockFd < 0 || tolvar_heartbeat_watch_clock_(clockFd) == 0) return clockFd;
  close(clockFd);
  return -1;
}

// Opens `heartbeat`, whatever it held before; close it first if it is open. The supervisor need not
// run yet. Returns 0, or -1 with errno when there is no socket to be had (EMFILE, for example);
// `heartbeat` is then closed. Where clock steps cannot be watched, heartbeats work all the same.
static inline int tolvar_heartbeat_open(struct tolvar_heartbeat* heartbeat) {
  heartbeat->clockPlusOne = 0;
  heartbeat->socketPlusOne = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0) + 1;
  if (heartbeat->socketPlusOne == 0) return -1;
  heartbeat->clockPlusOne = tolvar_heartbeat_open_clock_() + 1;
  return 0;
}

// Closes `heartbeat`. A closed one stays closed; so a second call does nothing.
static inline void tolvar_heartbeat_close(struct tolvar_heartbeat* heartbeat) {
  if (heartbeat->socketPlusOne > 0) close(heartbeat->socketPlusOne - 1);
  if (heartbeat->clockPlusOne > 0) close(heartbeat->clockPlusOne - 1);
  heartbeat->socketPlusOne = 0;
  heartbeat->clockPlusOne = 0;
}

// Private: fills the record with the time of now. Returns 0, or -1 with errno.
static inline int tolvar_heartbeat_fill_(struct tolvar_heartbeat_record* record, const char* name,
                                         size_t nameLength, int32_t status) {
  struct timespec now;
  memset(record, 0, sizeof(*record));
  if (clock_gettime(CLOCK_REALTIME, &now) != 0) return -1;
  // The field is 64 bits wide, so nothing is multiplied in a 32-bit time_t.
  record->timestampMs = now.tv_sec;
  record->timestampMs *= 1000;
  record->timestampMs += now.tv_nsec / 1000000;
  record->status = status;
  memcpy(record->name, name, nameLength);
  return 0;
}

// Private: hands the record to the supervisor's socket. Returns 0, or -1 with errno.
static inline int tolvar_heartbeat_transmit_(int socketFd,
                                             const struct tolvar_heartbeat_record* record) {
  static const char abstractName[] = "AppHeartbeat";
  union {
    struct sockaddr any;
    struct sockaddr_un local;
  } address;
  memset(&address, 0, sizeof(address));
  address.local.sun_family = AF_UNIX;
  memcpy(address.local.sun_path + 1, abstractName, sizeof(abstractName) - 1);
  // The whole structure: a shorter length is another name in the abstract namespace. Addressed
  // each time instead of connected, so that a restarted supervisor is reached.
  return sendto(socketFd, record, sizeof(*record), MSG_DONTWAIT | MSG_NOSIGNAL, &address.any,
                sizeof(address.local)) < 0
             ? -1
             : 0;
}

// Sends one heartbeat with the wall clock of now.
// `name`: the "processname" of the manifest, byte for byte. The supervisor drops a heartbeat under
// a name that it does not know, without a word. `status`: TOLVAR_STATUS_OK or TOLVAR_STATUS_BUSY.
// Returns 0, or -1 with errno; that heartbeat is then lost. Just send the next one in time: a
// supervisor that comes back is reached by the same struct.
//   ECONNREFUSED  no supervisor listens in this network namespace now
//   EAGAIN        the supervisor has as many unread heartbeats as it may; it reads none while it
//                 waits for its first process set after a start
//   EINVAL        `name` is null, empty or longer than TOLVAR_HEARTBEAT_NAME_MAX
//   EBADF         `heartbeat` is closed
static inline int tolvar_heartbeat_send(const struct tolvar_heartbeat* heartbeat, const char* name,
                                        int32_t status) {
  struct tolvar_heartbeat_record record;
  const size_t nameLength = name ? strlen(name) : 0;
  if (nameLength == 0 || nameLength > TOLVAR_HEARTBEAT_NAME_MAX) {
    errno = EINVAL;
    return -1;
  }
  if (tolvar_heartbeat_fill_(&record, name, nameLength, status) != 0) return -1;
  return tolvar_heartbeat_transmit_(heartbeat->socketPlusOne - 1, &record);
}

// A descriptor for poll. It becomes readable (POLLIN) when the wall clock is set: by hand, by a
// time service or by a resume from suspend. Slewing does not count. Call
// tolvar_heartbeat_clock_stepped after each poll, or the next one returns at once. Returns -1 with
// errno EBADF where the kernel cannot tell and where `heartbeat` is closed. poll skips a negative
// descriptor, so it can be passed on unseen.
static inline int tolvar_heartbeat_clock_fd(const struct tolvar_heartbeat* heartbeat) {
  if (heartbeat->clockPlusOne > 0) return heartbeat->clockPlusOne - 1;
  errno = EBADF;
  return -1;
}

// Tells whether the wall clock was set since the last call or the open, takes the notice and
// watches on. Returns 1 if it was, 0 if not, -1 with errno if it cannot be told (EBADF: the clock
// is not watched).
static inline int tolvar_heartbeat_clock_stepped(struct tolvar_heartbeat* heartbeat) {
  uint64_t expirations;
  const int clockFd = heartbeat->clockPlusOne - 1;
  if (read(clockFd, &expirations, sizeof(expirations)) >= 0) return 0;
  if (errno == EAGAIN) return 0;
  if (errno != ECANCELED) return -1;
  return tolvar_heartbeat_watch_clock_(clockFd) == 0 ? 1 : -1;
}

#endif  // TOLVAR_CLIENT_TOLVAR_HEARTBEAT_H_
