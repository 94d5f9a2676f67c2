#include "tools/tolvar/doctor/trial.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>

#include "tools/tolvar/doctor/product.h"

namespace doctor {
namespace {

[[noreturn]] void BeChild(const std::string& name, int ready) {
  (void)prctl(PR_SET_PDEATHSIG, SIGKILL);  // refused: the parent kills it
  (void)prctl(PR_SET_NAME, name.c_str());  // refused: the pkill that is tried finds nothing
  if (write(ready, "", 1) != 1) _exit(1);
  while (true) pause();
}

}  // namespace

int ShellStatus(const std::string& commandLine) {
  const int status = std::system(commandLine.c_str());
  return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Quiet::Quiet() : standardError_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO)) {
  const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nothing < 0) return;  // then it is not quiet
  (void)dup2(nothing, STDERR_FILENO);
  (void)close(nothing);  // nothing was written
}

Quiet::~Quiet() {
  if (standardError_ < 0) return;
  (void)dup2(standardError_, STDERR_FILENO);
  (void)close(standardError_);  // standard error itself stays open
}

TrialFolder::TrialFolder() {
  std::array<char, 32> name = {"/tmp/tolvar-doctor-XXXXXX"};
  if (mkdtemp(name.data()) != nullptr) path_ = name.data();
}

TrialFolder::~TrialFolder() {
  if (!IsThere()) return;
  (void)unlink(From().c_str());  // not each trial makes both
  (void)unlink(To().c_str());
  (void)rmdir(path_.c_str());  // an empty folder in /tmp, at worst
}

TrialChild::TrialChild(const std::string& name) : pid_(-1) {
  std::array<int, 2> ready = {};
  if (pipe2(ready.data(), O_CLOEXEC) != 0) return;
  pid_ = fork();
  if (pid_ == 0) BeChild(name, ready[1]);
  (void)close(ready[1]);  // the child's end
  char byte = 0;
  if (read(ready[0], &byte, 1) != 1) End();
  (void)close(ready[0]);  // nothing was written
}

TrialChild::~TrialChild() { End(); }

void TrialChild::End() {
  if (!IsThere()) return;
  (void)kill(pid_, SIGKILL);  // not reaped yet, so the id is still its own
  (void)waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

bool TrialChild::Ends() {
  constexpr unsigned limitMs = 1000;
  constexpr unsigned stepMs = 10;
  for (unsigned waitedMs = 0; waitedMs <= limitMs; waitedMs += stepMs) {
    if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
      pid_ = -1;
      return true;
    }
    SleepMillis(stepMs);
  }
  return false;
}

}  // namespace doctor
