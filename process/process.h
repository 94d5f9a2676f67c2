// One managed process: what the cloud says about it and what the supervisor knows of it.
//
// StepState runs once per pass. It first switches to a pending version, unless that has to wait,
// then acts on the state that results.
//
// clang-format off
//   state              when                            then                                   becomes
//   any + pending      last status not 2               kill, take the pending record over     its Stopped
//   Running + pending  last status 2                   wait                                   Running
//   other + pending    last status 2                   take the pending record over           its Stopped
//   Stopped            clock <= nextLaunchTime         wait                                   Stopped
//   Stopped            clock past it, launch succeeds  backoff 2, retries + 1                 Running
//   Stopped            clock past it, launch fails     backoff doubles up to 64, retries + 1  Failed
//   Failed             retries < maxretries            kill, act as Stopped in the same step  Stopped
//   Failed             retries used up                 ask for a rollback, retries 0          Failed
//   Running            newest heartbeat too old        (heartbeat supervision, not a step)    Failed
// clang-format on
//
// Nothing is ever given up: rollback attempts and relaunches alternate for as long as a process
// fails. With `maxretries` 0 a failed process asks for a rollback in every pass and is relaunched
// only by a version that the cloud names.
//
// A plain value, copied freely; copies share the pending record. Main loop's thread alone.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "component/component.h"

class Process {
 public:
  enum class State : std::int32_t { Stopped = 0, Running = 1, Failed = 2 };

  // Seconds. A launch waits at least the one after a success and at most the other after failures.
  static std::int64_t minBackoffTime;
  static std::int64_t maxBackoffTime;

  std::string name;        // also the pattern that kills it and the name its heartbeats carry
  std::string version;     // compared for equality only
  std::string entrypoint;  // shell command line that starts it and returns at once
  std::uint32_t maxstartuptime = 60;   // seconds after a launch in which heartbeats are not missed
  std::uint32_t maxretries = 5;        // launches after which a failure leads to a rollback
  std::uint32_t retries = 0;           // launches, successful ones too, since the last rollback
                                       // attempt; written by StepState
  std::uint32_t launchFailures = 0;    // since the last report; StepState, reset by ReportMetrics
  std::uint32_t heartbeatMissing = 0;  // since the last report; ProcessHeartbeat, ReportMetrics
  std::vector<Component> components;   // in manifest order
  State state = State::Stopped;        // Stop, Launch, StepState, ProcessHeartbeat
  std::int64_t lastHeartbeatMs = 0;    // the sender's time stamp, milliseconds since the epoch;
                                       // ProcessHeartbeat; a launch leaves it alone
  std::int64_t launchTime = 0;         // last successful launch, seconds since the epoch; Launch
  std::int64_t nextLaunchTime = 0;     // no launch before the clock is past it, seconds; StepState
  std::int64_t backoff = minBackoffTime;  // seconds; StepState
  std::int32_t reportedStatus = 0;        // of the last heartbeat; 2: do not stop me for an upgrade
  bool preDownloaded = false;             // of a pending record: its files wait in their slots
  std::shared_ptr<Process> pending;  // the version that is to replace this one, or null; written
                                     // by the reconciliation, Rollback and the switch

  // "stopped", "running", "failed", or "" for a value that is none of them.
  [[nodiscard]] std::string StateInString() const;

  // Kills every process whose command name matches `name` and sets Stopped. Always 0: whether
  // anything was there to kill is not looked at. Blocks for the kill command.
  [[nodiscard]] int Stop();

  // Kills what runs under the name, makes every component valid and runs the entry point. 0:
  // Running, whatever the entry point's exit status; 1: not started, Stopped, with a message unless
  // it is the shell that could not be run. Blocks for downloads and until the entry point's shell
  // returns.
  [[nodiscard]] int Launch();

  // Fetches the components into their pre-download slots, up to the first that fails. 0: all there;
  // 1: one failed. Logs which. Changes no field. Blocks for the downloads.
  [[nodiscard]] int PreDownload();

  // Asks the cloud for the last known good version of this process and makes it `pending`. 0: done,
  // or that version is the one that runs already; 1: no usable answer, with a message. Blocks for
  // the request.
  [[nodiscard]] int Rollback();

  // One step of the state machine above. Blocks for whatever the step does.
  void StepState();

 private:
  bool SwitchToPending();
  void LaunchWhenDue();
  void RestartOrRollBack();
};

// The first of `processes` that is named `name`, to the letter; null when there is none.
[[nodiscard]] Process* FindNamed(std::string_view name, std::vector<Process>& processes);
