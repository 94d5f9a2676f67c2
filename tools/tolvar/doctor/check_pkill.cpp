#include <sys/random.h>

#include <array>

#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/product.h"
#include "tools/tolvar/doctor/trial.h"

namespace doctor {
namespace {

constexpr char cure[] = "put procps's or BusyBox's pkill into the PATH of the host";

// Eleven random letters: what is killed by them is the trial's child and no other process. Empty
// when the kernel has no random numbers yet.
std::string RandomName() {
  std::array<unsigned char, 11> bytes = {};
  if (getrandom(bytes.data(), bytes.size(), GRND_NONBLOCK) != ssize_t{bytes.size()}) return "";
  std::string name;
  for (const unsigned char byte : bytes) name += static_cast<char>('a' + byte % 26);
  return name;
}

Finding ExplainFailure() {
  if (ShellStatus("command -v pkill >/dev/null") != 0) {
    return Bad("the shell finds no pkill: no process is ever stopped", cure);
  }
  return Bad("\"pkill -9 NAME\" does not kill the process of that name", cure);
}

}  // namespace

Finding CheckPkill(const Options& /*options*/) {
  const Quiet quiet;
  Process process;
  process.name = RandomName();
  TrialChild whole(process.name);
  TrialChild part("t" + process.name + "t");
  if (process.name.empty() || !whole.IsThere() || !part.IsThere()) {
    return Warning("could not be tried: no child could be started", "run it again later");
  }
  (void)process.Stop();  // always 0
  if (!whole.Ends()) return ExplainFailure();
  if (part.Ends()) return Ok("kills by a part of the command name, as expected");
  return Warning("kills by the whole command name only, not by a part of it",
                 std::string(cure) + ", or name every process exactly as its program");
}

}  // namespace doctor
