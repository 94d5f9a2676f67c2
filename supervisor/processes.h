// The supervisor: the set of processes that the device must run, and the loop that keeps them so.
//
// The loop. LaunchAll brings up the metrics client and the device's identity, obtains a first
// process set and then passes once a second through: fetch the set when its interval is over, take
// in heartbeats and find the hung, step every process's state machine, report when it is due,
// sleep. One thing at a time: a download, a shell command or a cloud request holds up the whole
// pass, and the periods are therefore measured by the clock and not counted in passes.
//
// The threads. The host's thread runs all of that. A second one, started by LaunchAll and joined
// before it returns, does nothing but receive heartbeat datagrams and append them to a queue, so
// that none is lost while a pass takes long.
//
// The lock. `heartbeatMutex` guards `heartbeatQueue` and nothing else; it is held for one append or
// one take. `stopRequested` is atomic. `heartbeatSocket` is written before the second thread starts
// and after it has ended. Everything else belongs to the host's thread.
//
// Memory. Where it runs out, the step at hand is given up, without a message, and comes round again
// in a later pass; a fetch counts as a failed one, a heartbeat as not received. The loop itself
// goes on. So it does whatever the metrics client throws: its report counts as sent.
//
// Life. entry/ owns the object and destroys it only when nobody uses it any more. The processes
// outlive the supervisor: nothing is stopped at shut-down.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "health/heartbeat_channel.h"
#include "process/process.h"

class Processes {
 public:
  // Seconds; written by ReadConfig, the first also by LaunchAll. Wide values stay positive: they
  // are compared as signed 64-bit numbers.
  static std::uint32_t bootstrapIntervalSec_;      // between fetches of the set; 21600
  static std::uint32_t maxHeartbeatIntervalSec_;   // limit of the newest heartbeat's age; 5
  static std::uint32_t metricsReportIntervalSec_;  // between reports; 3600
  static std::uint32_t failureReportIntervalSec_;  // the same while a process is Failed; 600

  std::vector<Process> processes;      // the managed set, in the manifest's order
  std::int64_t lastBootstrapTime = 0;  // last fetch of the set, seconds since the epoch; LaunchAll
  std::int64_t lastReportTime = 0;     // last report, seconds since the epoch; ReportMetrics
  int heartbeatSocket = -1;            // InitHeartbeatSocket; closed by the destructor
  std::mutex heartbeatMutex;           // guards the queue
  HeartbeatQueue heartbeatQueue;       // received, not yet taken in
  std::atomic<bool> stopRequested{false};  // ends Bootstrap, the loop and the receiver

  Processes() = default;
  Processes(const Processes&) = delete;
  Processes& operator=(const Processes&) = delete;
  // Sets the stop flag, closes the socket, then releases the members. Neither thread may be
  // running.
  ~Processes();

  // Takes over the intervals that /etc/config/.tolvar_config names, one "key=number" a line; a
  // later line overwrites an earlier one, and each is logged as it was stored. Not validated: the
  // number is a signed one of 32 bits, 0 for text without digits and the nearest for one beyond
  // them; a negative one becomes its two's complement. Lines that begin with no known key are
  // skipped. Without a readable file one message says so. Throws std::bad_alloc; calling it again
  // reads everything anew.
  static void ReadConfig();

  // The same for the file `path`, without the message: one that cannot be read counts as empty.
  static void ReadConfigOf(const char* path);

  // The supervisor's life on the calling thread: returns once `stopRequested` is seen, before the
  // first pass or after any.
  // Without the device's identity it waits for that first, whatever the flag says.
  void LaunchAll();

  // ParseManifest of process/parse_manifest.h.
  [[nodiscard]] static int ParseResponse(const char* text, std::vector<Process>& out);

  // Fetches the manifest of `version` and makes it the managed set: a listed process keeps its
  // running record, with the listed one as `pending` when its version differs; an unlisted one is
  // killed and dropped; a new one enters Stopped. 0; 1 the request or its answer was unusable; 2
  // the transfer failed. On failure the set stays as it was, with a message unless memory is
  // what is missing. Blocks for the request and the kills.
  [[nodiscard]] int GetProcesses(const std::string& version);

  // Fetches a first set, "latest" or else "lastknowngood", every 5 seconds until one is there or a
  // stop is requested. A failed transfer skips the second request: it would fail as well.
  void Bootstrap();

  // Opens and binds the socket for heartbeats. 0, or 1 with a message and nothing left open.
  [[nodiscard]] int InitHeartbeatSocket();

  // The second thread: queues each datagram of at least a record's length, until a stop is
  // requested. Notices that within about a second.
  void ReceiveHeartbeat();

  // Takes in the queued heartbeats in their order, then marks as Failed each running process that
  // is past its start-up time and whose newest heartbeat is too old, with a message.
  void ProcessHeartbeat();

  // Hands a report of every process to the metrics client when one is due, logs it and resets the
  // counters in it. 0, also when none was due; 1 when it could not be built.
  [[nodiscard]] int ReportMetrics();

 private:
  [[nodiscard]] int FetchAndReconcile(const std::string& version);
  [[nodiscard]] std::thread StartReceiver();
  void FetchWhenDue();
  void RunPass();
};

// `intervalSec` scaled by 0.5 to 0.995, by the remainder of `random` (not negative) over 100, so
// that the devices of a fleet spread their fetches. Single precision throughout: in double, some
// factors give another interval.
[[nodiscard]] std::uint32_t RescaledInterval(std::uint32_t intervalSec, int random);
