// What a check needs to try a command of the device without leaving a trace.
#pragma once

#include <sys/types.h>

#include <string>

namespace doctor {

// The exit status of `commandLine`, run by the shell that runs the product's; -1 when there is
// none or a signal ended it.
[[nodiscard]] int ShellStatus(const std::string& commandLine);

// Keeps what commands print on standard error off the terminal for as long as it lives: the check
// says what failed.
class Quiet {
 public:
  Quiet();
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;
  ~Quiet();

 private:
  int standardError_;
};

// A new folder below /tmp, removed at the end with the files "from" and "to" in it.
class TrialFolder {
 public:
  TrialFolder();
  TrialFolder(const TrialFolder&) = delete;
  TrialFolder& operator=(const TrialFolder&) = delete;
  ~TrialFolder();
  [[nodiscard]] bool IsThere() const { return !path_.empty(); }
  [[nodiscard]] std::string From() const { return path_ + "/from"; }
  [[nodiscard]] std::string To() const { return path_ + "/to"; }

 private:
  std::string path_;
};

// A child that does nothing under a command name of its own; killed at the end, whatever becomes of
// its parent.
class TrialChild {
 public:
  // `name`: at most 15 characters. Blocks until the child bears it.
  explicit TrialChild(const std::string& name);
  TrialChild(const TrialChild&) = delete;
  TrialChild& operator=(const TrialChild&) = delete;
  ~TrialChild();
  [[nodiscard]] bool IsThere() const { return pid_ > 0; }
  // Whether it ends within a second.
  [[nodiscard]] bool Ends();

 private:
  void End();

  pid_t pid_;  // -1: not started, or ended
};

}  // namespace doctor
