// A process is stopped by `pkill -9 NAME`, through the shell and without quotes: NAME is an
// extended regular expression, found anywhere in the first 15 bytes of a program's name.
#include <regex.h>

#include <algorithm>
#include <memory>

#include "tools/tolvar/check/judge.h"
#include "tools/tolvar/check/shell_text.h"
#include "tools/tolvar/check/system.h"

namespace check {
namespace {

constexpr char key[] = "processname";
constexpr std::size_t commandNameBytes = 15;

class Pattern {
 public:
  explicit Pattern(const std::string& name)
      : isOne_(regcomp(&regex_, name.c_str(), REG_EXTENDED | REG_NOSUB) == 0) {}
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;
  ~Pattern() {
    if (isOne_) regfree(&regex_);
  }

  [[nodiscard]] bool Kills(const std::string& program) const {
    const std::string seen = program.substr(0, commandNameBytes);
    return isOne_ && regexec(&regex_, seen.c_str(), 0, nullptr, 0) == 0;
  }

 private:
  regex_t regex_ = {};
  bool isOne_;
};

[[nodiscard]] bool IsPlain(const std::string& name) {
  constexpr char letters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
  return !name.empty() && name[0] != '-' && name.find_first_not_of(letters) == name.npos;
}

[[nodiscard]] bool RunsItself(const Process& process, const Pattern& pattern) {
  const std::vector<Command> commands = CommandsOf(process.entrypoint);
  return std::any_of(commands.begin(), commands.end(), [&pattern](const Command& command) {
    const auto [path, interpreter] = ProgramOf(command);
    const bool isUnknown = path.find('$') != std::string::npos;  // known only when it runs
    if (!interpreter.empty()) return pattern.Kills(interpreter);
    return isUnknown || (!path.empty() && pattern.Kills(path.substr(path.rfind('/') + 1)));
  });
}

void JudgeOthers(const Release& release, std::size_t index, const Pattern& pattern,
                 Findings& findings) {
  const std::string& name = release.processes[index].name;
  for (const Process& other : release.processes) {
    if (other.name == name || !pattern.Kills(other.name)) continue;
    findings.Add(Id::KillsNeighbour, At(index, key), name + " also kills " + other.name);
  }
  std::string killed;
  for (const std::string& program : SystemPrograms()) {
    if (pattern.Kills(program)) killed += (killed.empty() ? "" : ", ") + program;
  }
  if (killed.empty()) return;
  findings.Add(Id::KillsSystem, At(index, key), name + " also kills " + killed);
}

}  // namespace

void JudgeNames(const Release& release, Findings& findings) {
  for (std::size_t i = 0; i < release.processes.size(); ++i) {
    const Process& process = release.processes[i];
    const Pattern pattern(process.name);
    const bool isLong = process.name.size() > commandNameBytes;
    const bool isSpecial = !IsPlain(process.name);
    if (isLong) findings.Add(Id::LongName, At(i, key), process.name);
    if (isSpecial) findings.Add(Id::SpecialName, At(i, key), process.name);
    JudgeOthers(release, i, pattern, findings);
    if (isLong || isSpecial || RunsItself(process, pattern)) continue;
    findings.Add(Id::NameRunsNowhere, At(i, key), process.name);
  }
}

}  // namespace check
