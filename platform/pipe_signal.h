// Keeps the signal of a pipe that nobody reads any more from the host.
#pragma once

#include <csignal>
#include <ctime>

// While one lives, a write of its thread to such a pipe only fails; neither what the host does on
// SIGPIPE nor its other threads are touched. A SIGPIPE that the host holds back stays pending.
class PipeSignalHeld {
 public:
  PipeSignalHeld() {
    (void)sigemptyset(&pipe_);  // with this set and signal none of the calls fails
    (void)sigaddset(&pipe_, SIGPIPE);
    (void)pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
    sigset_t pending = {};
    (void)sigpending(&pending);
    isHosts_ = sigismember(&pending, SIGPIPE) != 0;
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
  bool isHosts_ = false;  // one was pending already
};
