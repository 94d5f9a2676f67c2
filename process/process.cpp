#include "process/process.h"

std::int64_t Process::minBackoffTime = 2;
std::int64_t Process::maxBackoffTime = 64;

std::string Process::StateInString() const {
  switch (state) {
    case State::Stopped:
      return "stopped";
    case State::Running:
      return "running";
    case State::Failed:
      return "failed";
  }
  return "";
}

Process* FindNamed(std::string_view name, std::vector<Process>& processes) {
  for (Process& process : processes) {
    if (process.name == name) return &process;
  }
  return nullptr;
}
