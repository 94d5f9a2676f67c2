// How a supervised application tells the supervisor that it is alive: one datagram of 144 bytes.
//
//   struct tolvar_heartbeat heartbeat;
//   if (tolvar_heartbeat_open(&heartbeat) != 0) ...
//   struct pollfd clock = {tolvar_heartbeat_clock_fd(&heartbeat), POLLIN, 0};
//   for (;;) {
//     tolvar_heartbeat_send(&heartbeat, "streamer", TOLVAR_STATUS_OK);
//     poll(&clock, 1, 1000);
//     tolvar_heartbeat_clock_stepped(&heartbeat);
//   }
//
// How often. The supervisor declares a process failed, kills and restarts it once its newest
// heartbeat is 6 seconds old (max_heartbeat_interval, 5 unless the device configures another, plus
// one). Send at no more than half of that limit, so that one lost datagram costs nothing: every
// second or two.
//
// Nothing here waits, allocates, logs, starts a thread or keeps global state. All state is in a
// struct that the caller owns; use one struct from one thread at a time (or lock it), separate
// structs are independent. Both descriptors close on exec. After fork the child shares them: it
// should tolvar_heartbeat_close its copy, which leaves the parent's open.
//
// Needs Linux 3.0 and POSIX.1-2008 names: with -std=c99 define _POSIX_C_SOURCE as 200809L (or
// _GNU_SOURCE, which g++ and clang++ define by themselves) before the first system header. Valid
// C99 and C++98 and later.
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

// The status word of a heartbeat. Only "busy" means anything to the supervisor; it takes every
// other value, negative ones too, as "not busy".
//
// Busy asks that this process not be killed for a new version of it. The supervisor goes by the
// last status it received, so:
// - Send the status with every heartbeat, and a first heartbeat right after the start: until then
//   the status that an earlier instance left behind still counts.
// - Busy holds only while the process is running. One that sends busy and then falls silent is
//   declared failed like any other, and with an upgrade waiting the new version takes its place at
//   once: the old instance, if only hung, is killed as the new one is launched.
// - It is a request, not a lock. It does not protect from being taken out of the device's process
//   set, and it comes too late once the supervisor has begun to fetch the new version.
enum { TOLVAR_STATUS_OK = 0, TOLVAR_STATUS_BUSY = 2 };

// What became of a heartbeat. With no supervisor or a full buffer, just send the next one in time:
// a supervisor that comes back is reached by the same struct.
enum tolvar_heartbeat_result {
  TOLVAR_HEARTBEAT_SENT = 0,
  // No supervisor listens in this network namespace now.
  TOLVAR_HEARTBEAT_NO_SUPERVISOR = 1,
  // The supervisor has unread heartbeats up to its limit, as while it waits for its first process
  // set after a start. This one is dropped.
  TOLVAR_HEARTBEAT_BUFFER_FULL = 2,
  // The name is null, empty or longer than TOLVAR_HEARTBEAT_NAME_MAX. Nothing was sent.
  TOLVAR_HEARTBEAT_BAD_NAME = 3,
  // Anything else; errno tells (EBADF: not open).
  TOLVAR_HEARTBEAT_ERROR = 4
};

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

// Owned by the caller, filled by tolvar_heartbeat_open. The fields are private.
struct tolvar_heartbeat {
  int socketFd;  // -1: closed
  int clockFd;   // -1: closed, or this kernel does not report clock steps
};

// Private: arms the timer whose cancellation tells of a clock step. Returns 0 or -1 with errno.
static inline int tolvar_heartbeat_arm_clock_(int clockFd, time_t expirySec) {
  // TFD_TIMER_CANCEL_ON_SET, whose name older libc headers lack.
  const int cancelOnSet = 1 << 1;
  struct itimerspec expiry;
  memset(&expiry, 0, sizeof(expiry));
  expiry.it_value.tv_sec = expirySec;
  if (timerfd_settime(clockFd, TFD_TIMER_ABSTIME | cancelOnSet, &expiry, NULL) == 0) return 0;
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

// Private: a descriptor that tells of clock steps, or -1.
static inline int tolvar_heartbeat_open_clock_(void) {
  const int clockFd = timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK);
  if (clockFd < 0 || tolvar_heartbeat_watch_clock_(clockFd) == 0) return clockFd;
  close(clockFd);
  return -1;
}

// Opens `heartbeat`, whatever it held before: close it first if it was open. The supervisor need
// not be running. Returns 0, or an errno value when no socket could be had; `heartbeat` is then
// closed. Where clock steps cannot be watched, heartbeats work all the same.
static inline int tolvar_heartbeat_open(struct tolvar_heartbeat* heartbeat) {
  heartbeat->clockFd = -1;
  heartbeat->socketFd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (heartbeat->socketFd < 0) return errno;
  heartbeat->clockFd = tolvar_heartbeat_open_clock_();
  return 0;
}

// Closes `heartbeat`. More calls do nothing; the first one needs a tolvar_heartbeat_open before it,
// successful or not.
static inline void tolvar_heartbeat_close(struct tolvar_heartbeat* heartbeat) {
  if (heartbeat->socketFd >= 0) close(heartbeat->socketFd);
  if (heartbeat->clockFd >= 0) close(heartbeat->clockFd);
  heartbeat->socketFd = -1;
  heartbeat->clockFd = -1;
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

// Sends one heartbeat that carries the wall clock of now. Never waits.
// `name`: the "processname" of the manifest, byte for byte; a heartbeat under a name that the
// supervisor does not know is dropped there without a word. `status`: TOLVAR_STATUS_OK or
// TOLVAR_STATUS_BUSY.
static inline enum tolvar_heartbeat_result tolvar_heartbeat_send(
    const struct tolvar_heartbeat* heartbeat, const char* name, int32_t status) {
  struct tolvar_heartbeat_record record;
  const size_t nameLength = name == NULL ? 0 : strlen(name);
  if (nameLength == 0 || nameLength > TOLVAR_HEARTBEAT_NAME_MAX) return TOLVAR_HEARTBEAT_BAD_NAME;
  if (tolvar_heartbeat_fill_(&record, name, nameLength, status) != 0) return TOLVAR_HEARTBEAT_ERROR;
  if (tolvar_heartbeat_transmit_(heartbeat->socketFd, &record) == 0) return TOLVAR_HEARTBEAT_SENT;
  if (errno == ECONNREFUSED || errno == ENOENT) return TOLVAR_HEARTBEAT_NO_SUPERVISOR;
  if (errno == EAGAIN || errno == ENOBUFS) return TOLVAR_HEARTBEAT_BUFFER_FULL;
  return TOLVAR_HEARTBEAT_ERROR;
}

// A descriptor for poll, readable (POLLIN) once the wall clock has been set, by hand, by a time
// service or by a resume from suspend; slewing does not count. -1 where the kernel cannot tell:
// poll skips a negative descriptor, so it can be passed on unseen.
//
// Why it matters: heartbeats carry the wall clock. After a step forward the newest heartbeat looks
// old at once, and the supervisor checks every second. Send the next one right away.
static inline int tolvar_heartbeat_clock_fd(const struct tolvar_heartbeat* heartbeat) {
  return heartbeat->clockFd;
}

// Asks whether the wall clock was set since the last call (or since the open), and watches on.
// Returns 1 if it was, 0 if not, -1 with errno if it cannot be told (EBADF: not watched, or not
// open). Never waits.
static inline int tolvar_heartbeat_clock_stepped(struct tolvar_heartbeat* heartbeat) {
  uint64_t expirations;
  if (read(heartbeat->clockFd, &expirations, sizeof(expirations)) >= 0) return 0;
  if (errno == EAGAIN) return 0;
  if (errno != ECANCELED) return -1;
  return tolvar_heartbeat_watch_clock_(heartbeat->clockFd) == 0 ? 1 : -1;
}

#endif  // TOLVAR_CLIENT_TOLVAR_HEARTBEAT_H_
