#include "tools/tolvar/doctor/checks.h"

#include <exception>

namespace doctor {
namespace {

Finding Look(const Check& check, const Options& options) {
  try {
    return check.look(options);
  } catch (const std::exception& error) {
    return Warning(std::string("could not be looked at: ") + error.what(),
                   "run it again with more memory free");
  }
}

}  // namespace

Finding Ok(std::string_view found) { return {Level::Ok, std::string(found), ""}; }

Finding Skipped(std::string_view found) { return {Level::Skipped, std::string(found), ""}; }

Finding Warning(std::string_view found, std::string_view cure) {
  return {Level::Warning, std::string(found), std::string(cure)};
}

Finding Bad(std::string_view found, std::string_view cure) {
  return {Level::Bad, std::string(found), std::string(cure)};
}

const std::vector<Check>& Checks() {
  static const std::vector<Check> checks = {
      {"shell", CheckShell},
      {"pkill", CheckPkill},
      {"cp", CheckCopy},
      {"rm", CheckRemove},
      {"wlan0", CheckInterface},
      {"token", CheckToken},
      {"certificates", CheckCertificates},
      {"configuration", CheckConfiguration},
      {"clock", CheckClock},
      {"card", CheckCard},
      {"room", CheckRoom},
      {"memory", CheckMemory},
      {"heartbeats", CheckHeartbeatName},
      {"sigchld", CheckChildSignal},
  };
  return checks;
}

std::vector<Result> Examine(const Options& options) {
  std::vector<Result> results;
  for (const Check& check : Checks()) results.push_back({check.name, Look(check, options)});
  return results;
}

}  // namespace doctor
