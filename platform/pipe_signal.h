// Keeps the signal of a pipe that nobody reads any more from the host.
#pragma once

#include <csignal>
#include <ctime>

// While one lives, a write of its thread to such a pipe only fails; neither what the host does on
// SIGPIPE nor its other threads are touched. One that was pending before stays so.
class PipeSignalHeld {
 public:
  PipeSignalHeld() {
    (void)sigemptyset(&pipe_);  // with these sets and signals none of the calls fails
    (void)sigaddset(&pipe_, SIGPIPE);
    sigset_t pending;
    (void)sigpending(&pending);
    isHosts_ = sigismember(&pending, SIGPIPE) == 1;
    (void)pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
  }
  PipeSignalHeld(const PipeSignalHeld&) = delete;
  PipeSignalHeld& operator=(const PipeSignalHeld&) = delete;
  ~PipeSignalHeld() {
    const timespec atOnce = {};
    if (!isHosts_) (void)sigtimedwait(&pipe_, nullptr, &atOnce);  // mostly there is none
    (void)pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

 private:
  sigset_t pipe_;
  sigset_t before_;
  bool isHosts_;  // there was one before
};
