#include <algorithm>
#include <exception>
#include <utility>

#include "cloud/http_request.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "supervisor/processes.h"
#include "supervisor/to_string.h"

namespace {

// Carries `running` over into the fresh list, or stops it when it is not listed there.
void CarryOver(Process& running, std::vector<Process>& fresh) {
  const auto namesake = std::find_if(fresh.begin(), fresh.end(), [&running](const Process& listed) {
    return listed.name == running.name;
  });
  if (namesake == fresh.end()) {
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
  try {
    return FetchAndReconcile(version);
  } catch (const std::exception&) {
    return 1;
  }
}

int Processes::FetchAndReconcile(const std::string& version) {
  std::vector<char> body;
  const int requested = HttpRequest::Instance()->GetProcesses(version, body);
  if (requested != 0) {
    Log("Failed to get processes for version " + version);
    return requested;
  }
  const std::string text(body.begin(), body.end());
  std::vector<Process> fresh;
  const int parsed = ParseResponse(text.c_str(), fresh);
  if (parsed != 0) {
    Log("Failed to parse processes from " + text);
    return parsed;
  }
  for (Process& running : processes) CarryOver(running, fresh);
  processes = std::move(fresh);
  Log("Got " + ToString(processes.size()) + " processes from cloud");
  return 0;
}

void Processes::Bootstrap() {
  constexpr int transferFailed = 2;
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
