#include "platform/clock.h"
#include "platform/log.h"
#include "platform/shell.h"
#include "process/process.h"

namespace {

// Applies `operation` to the components in order, up to the first that fails.
bool ForAll(const std::vector<Component>& components, int (Component::*operation)() const) {
  for (const Component& component : components) {
    if ((component.*operation)() != 0) return false;
  }
  return true;
}

}  // namespace

int Process::Stop() {
  // Nothing to kill, or no shell to kill it with: the launch that follows shows it.
  (void)RunShell("pkill -9 " + name);
  state = State::Stopped;
  return 0;
}

int Process::Launch() {
  if (Stop() != 0) {
    Log("Cannot stop process " + name);
    return 1;
  }
  if (!ForAll(components, &Component::Download)) {
    Log("Failed to get components for process " + name);
    return 1;
  }
  if (!RunShell(entrypoint)) return 1;
  state = State::Running;
  launchTime = NowSeconds();
  Log("Launched process " + name);
  return 0;
}

int Process::PreDownload() {
  if (!ForAll(components, &Component::PreDownload)) {
    Log("Failed to pre-download components for process " + name);
    return 1;
  }
  Log("Pre-download all components for process " + name);
  return 0;
}
