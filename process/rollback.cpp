#include "cloud/http_request.h"
#include "platform/log.h"
#include "process/parse_manifest.h"
#include "process/process.h"

int Process::Rollback() {
  std::vector<char> body;
  if (HttpRequest::Instance()->GetProcess("lastknowngood", name, body) != 0) {
    Log("Get last known good version processes failed");
    return 1;
  }
  const char* text = ManifestText(body);
  std::vector<Process> answer;
  if (ParseManifest(text, answer) != 0) {
    Log(std::string("Parse last known good version response failed, ") + text);
    return 1;
  }
  if (answer.empty()) {
    Log("Empty processes, rollback " + name + " failed");
    return 1;
  }
  const Process& target = answer.front();
  if (target.name != name) {
    Log("Rollback from process " + name + " to " + target.name + ", looks wrong!");
    return 1;
  }
  // The version that fails is the one known as good: there is nothing to go back to.
  if (target.version == version) return 0;

  Log("Process " + name + " rollback to version " + target.version);
  pending = std::make_shared<Process>(target);
  return 0;
}
