// A device stops a process with `pkill -9 NAME`, through the shell and without quotes: NAME is a
// regular expression, found anywhere in the first 15 characters of a program's name. It runs an
// entry point to its end before it goes on, and makes no folder directly under "/".

#include <regex>

#include "tools/cloud/publish.h"

namespace {

constexpr std::size_t commandNameBytes = 15;

bool WouldKill(const std::string& name, const std::string& other) {
  return other.substr(0, commandNameBytes).find(name) != std::string::npos;
}

void WarnOfNeighbours(const std::string& name, Manifest& manifest,
                      std::vector<std::string>& warnings) {
  for (const auto& entry : manifest.Processes()) {
    const std::string other = NameOf(entry);
    if (other.empty() || other == name) continue;
    if (WouldKill(name, other)) warnings.push_back("stopping " + name + " also kills " + other);
    if (WouldKill(other, name)) warnings.push_back("stopping " + other + " also kills " + name);
  }
}

}  // namespace

std::vector<std::string> PublishWarnings(PublishPlan plan) {
  std::vector<std::string> warnings;
  const std::string& name = plan.request.process;
  if (name.size() > commandNameBytes) {
    warnings.push_back(name + " is longer than 15 characters: the device will not find it to kill");
  }
  if (name.find_first_of(" \t\n.[]{}()\\*+?^$|&;<>~#%!`'\"") != std::string::npos) {
    warnings.push_back(name + " has characters that the shell or a regular expression reads as " +
                       "something else: the device may kill other programs or none");
  }
  WarnOfNeighbours(name, plan.manifest, warnings);
  // An "&" of "&&" or of a redirection ("2>&1", "&>file") puts nothing into the background.
  if (!std::regex_search(plan.request.entrypoint, std::regex("(^|[^&<>])&($|[^&>])"))) {
    warnings.emplace_back("the entry point has no \"&\": the device waits until it returns");
  }
  for (const auto& component : plan.components) {
    const std::string& path = component.localpath;
    if (path.rfind('/') != 0) continue;
    warnings.push_back(path + " lies directly under \"/\": the device cannot write it");
  }
  return warnings;
}
