#include <utility>

#include "cloud/http_request.h"
#include "platform/attempt.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "process/parse_manifest.h"
#include "supervisor/processes.h"

namespace {

// Carries `running` over into the fresh list, or stops it when it is not listed there.
void CarryOver(Process& running, std::vector<Process>& fresh) {
  Process* namesake = FindNamed(running.name, fresh);
  if (namesake == nullptr) {
    (void)running.Stop();  // dropped all the same
    Log("Stop unused process " + running.name);
    return;
  }
  if (namesake->version != running.version) {
    running.pending = std::make_shared<Process>(*namesake);
    Log("Wait to stop process " + running.name + " for upgrading");
  }
  // For an unchanged version whatever else the manifest now says is discarded: what runs was
  // started as the record says.
  *namesake = running;
}

}  // namespace

int Processes::GetProcesses(const std::string& version) {
  int result = 1;  // what it stays at without memory
  (void)Attempt([&] { result = FetchAndReconcile(version); });
  return result;
}

int Processes::ParseResponse(const char* text, std::vector<Process>& out) {
  return ParseManifest(text, out);
}

int Processes::FetchAndReconcile(const std::string& version) {
  std::vector<char> body;
  const int requested = HttpRequest::Instance()->GetProcesses(version, body);
  if (requested != 0) {
    Log("Failed to get processes for version " + version);
    return requested;
  }
  const char* text = ManifestText(body);
  std::vector<Process> fresh;
  const int parsed = ParseResponse(text, fresh);
  if (parsed != 0) {
    Log(std::string("Failed to parse processes from ") + text);
    return parsed;
  }
  for (Process& running : processes) CarryOver(running, fresh);
  processes = std::move(fresh);
  Log("Got " + std::to_string(processes.size()) + " processes from cloud");
  return 0;
}

void Processes::Bootstrap() {
  while (!stopRequested.load()) {
    const int latest = GetProcesses("latest");
    if (latest == 0) {
      Log("Get latest version processes succeeded");
      return;
    }
    if (latest != transferFailed) {
      if (GetProcesses("lastknowngood") == 0) {
        Log("Get last known good version processes succeeded");
        return;
      }
      Log("Get last known good version processes failed");
    }
    SleepSeconds(5);
  }
}
