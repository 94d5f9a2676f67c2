// A device stops a process with `pkill -9 NAME`, through the shell and without quotes: NAME is a
// regular expression, found anywhere in the first 15 characters of a program's name. It runs an
// entry point to its end before it goes on, and makes no folder directly under "/".

#include <string_view>

#include "tools/cloud/publish.h"

namespace standin {
namespace {

constexpr std::size_t commandNameBytes = 15;

bool IsPlain(const std::string& name) {
  constexpr std::string_view special = " \t\n.[]{}()\\*+?^$|&;<>~#%!`'\"";
  return name.find_first_of(special) == std::string::npos;
}

bool WouldKill(const std::string& name, const std::string& other) {
  return other.substr(0, commandNameBytes).find(name) != std::string::npos;
}

// An "&" of "&&" or of a redirection ("2>&1", "&>file") puts nothing into the background.
bool RunsInBackground(const std::string& command) {
  constexpr std::string_view before = "&<>";
  constexpr std::string_view after = "&>";
  const std::string padded = " " + command + " ";
  for (std::size_t i = padded.find('&'); i != std::string::npos; i = padded.find('&', i + 1)) {
    const bool joined = before.find(padded[i - 1]) != std::string_view::npos ||
                        after.find(padded[i + 1]) != std::string_view::npos;
    if (!joined) return true;
  }
  return false;
}

void WarnOfName(const std::string& name, std::vector<std::string>& warnings) {
  if (name.size() > commandNameBytes) {
    warnings.push_back(name + " is longer than 15 characters: the device will not find it to kill");
  }
  if (!IsPlain(name)) {
    warnings.push_back(name + " has characters that the shell or a regular expression reads as " +
                       "something else: the device may kill other programs or none");
  }
}

void WarnOfNeighbours(const std::string& name, const std::vector<std::string>& all,
                      std::vector<std::string>& warnings) {
  for (const auto& other : all) {
    if (other == name) continue;
    if (WouldKill(name, other)) warnings.push_back("stopping " + name + " also kills " + other);
    if (WouldKill(other, name)) warnings.push_back("stopping " + other + " also kills " + name);
  }
}

}  // namespace

std::vector<std::string> PublishWarnings(const PublishPlan& plan) {
  std::vector<std::string> warnings;
  const ProcessRelease& process = plan.process;
  WarnOfName(process.name, warnings);
  WarnOfNeighbours(process.name, plan.manifest.ProcessNames(), warnings);
  if (!RunsInBackground(process.entrypoint)) {
    warnings.push_back("the entry point has no \"&\": the device waits until it returns");
  }
  for (const auto& component : process.components) {
    if (component.localpath.rfind('/') != 0) continue;
    warnings.push_back(component.localpath +
                       " lies directly under \"/\": the device cannot write it");
  }
  return warnings;
}

}  // namespace standin
