#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <set>

#include "tools/tolvar/check/judge.h"
#include "tools/tolvar/check/shell_text.h"
#include "tools/tolvar/check/system.h"

namespace check {
namespace {

constexpr char key[] = "entrypoint";

struct SpawnActions {
  posix_spawn_file_actions_t value = {};
  SpawnActions() { (void)posix_spawn_file_actions_init(&value); }  // without them it is only louder
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;
  ~SpawnActions() { (void)posix_spawn_file_actions_destroy(&value); }
};

// Only a shell that says so refuses it: where none can be started, nothing is found.
[[nodiscard]] bool ShellRefuses(const std::string& entrypoint) {
  SpawnActions quiet;
  (void)posix_spawn_file_actions_addopen(&quiet.value, 2, "/dev/null", 1, 0);
  std::string shell = "sh";
  std::string option = "-nc";
  std::string text = entrypoint;  // the call wants words that could be written
  const std::array<char*, 4> words = {shell.data(), option.data(), text.data(), nullptr};
  pid_t child = -1;
  if (posix_spawn(&child, "/bin/sh", &quiet.value, nullptr, words.data(), environ) != 0) {
    return false;
  }
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) != 0;
}

// "./a" in "/b/" is "/b/a"; a name without a slash is looked for elsewhere.
std::string InFolder(const std::string& folder, const std::string& path) {
  if (folder.empty() || path.find('/') == std::string::npos) return path;
  return folder + (path.rfind("./", 0) == 0 ? path.substr(2) : path);
}

class Judge {
 public:
  Judge(const Release& release, std::size_t index, Findings& findings)
      : release_(release), index_(index), findings_(findings) {}

  void All() {
    if (ShellRefuses(Own().entrypoint)) return Add(Id::BrokenShell);
    JudgeBackground();
    std::string folder;  // the host's, which nobody knows here
    for (const Command& command : commands_) {
      const auto& words = command.words;
      if (words.size() == 2 && words[0] == "cd") folder = words[1] + "/";
      Program program = ProgramOf(command);
      if (program.path[0] != '/') program.path = InFolder(folder, program.path);
      JudgeProgram(program);
    }
  }

 private:
  [[nodiscard]] const Process& Own() const { return release_.processes[index_]; }

  void Add(Id id, const std::string& detail = "") { findings_.Add(id, At(index_, key), detail); }

  void JudgeBackground() {
    const auto isLast = [](const Command& command) { return command.inBackground; };
    const auto last = std::find_if(commands_.rbegin(), commands_.rend(), isLast);
    if (last == commands_.rend()) return Add(Id::NoBackground);
    if (!last->inputGiven || !last->outputGiven || !last->errorGiven) Add(Id::NoRedirection);
    const auto isAndList = [](const Command& command) {
      return command.inBackground && command.inAndList;
    };
    if (std::any_of(commands_.begin(), commands_.end(), isAndList)) Add(Id::AndList);
  }

  void JudgeProgram(const Program& program) {
    if (program.path.find('/') == std::string::npos) return;
    if (program.path.find('$') != std::string::npos) return;  // known only when it runs
    const Component* component = Find(program.path);
    if (component == nullptr) return JudgeStranger(program.path);
    if (!program.interpreter.empty()) return;
    if (!IsMadeExecutable(program.path)) Add(Id::NoChmod, program.path);
    if (IsEnvScript(*component)) Add(Id::EnvScript, program.path);
  }

  // One without components runs what the device has.
  void JudgeStranger(const std::string& path) {
    if (IsInSystemFolder(path) || Own().components.empty() || MakesFiles()) return;
    Add(Id::RunsStrangePath, path);
  }

  // Whether the entry point itself may put there what it runs.
  [[nodiscard]] bool MakesFiles() const {
    return std::any_of(commands_.begin(), commands_.end(), [](const Command& command) {
      static const std::set<std::string> makers = {"cp",  "mv",    "ln",    "install",
                                                   "tar", "unzip", "mount", "gunzip"};
      return !command.words.empty() && makers.count(command.words[0]) == 1;
    });
  }

  [[nodiscard]] const Component* Find(const std::string& path) const {
    for (const Process& process : release_.processes) {
      for (const Component& component : process.components) {
        if (component.localpath == path) return &component;
      }
    }
    return nullptr;
  }

  [[nodiscard]] bool IsMadeExecutable(const std::string& path) const {
    return std::any_of(commands_.begin(), commands_.end(), [&path](const Command& command) {
      const auto& words = command.words;
      if (words.empty() || words[0].find("chmod") == std::string::npos) return false;
      return std::any_of(words.begin() + 1, words.end(), [&path](const std::string& word) {
        return word == path || word.find_first_of("*$") != std::string::npos;
      });
    });
  }

  [[nodiscard]] bool IsEnvScript(const Component& component) const {
    if (!release_.beside.fileOf) return false;
    std::string line(80, '\0');
    std::ifstream file(release_.beside.fileOf(component), std::ios::binary);
    (void)file.read(line.data(), static_cast<std::streamsize>(line.size()));
    line.resize(std::min(line.find('\n'), line.size()));
    return line.rfind("#!", 0) == 0 && line.find("/env ") != std::string::npos;
  }

  const Release& release_;
  std::size_t index_;
  Findings& findings_;
  std::vector<Command> commands_ = CommandsOf(Own().entrypoint);
};

}  // namespace

void JudgeEntryPoints(const Release& release, Findings& findings) {
  for (std::size_t i = 0; i < release.processes.size(); ++i) Judge(release, i, findings).All();
}

}  // namespace check
