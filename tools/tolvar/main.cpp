// tolvar: what an operator or a developer does around the supervisor. Exit status: 0 done, 1 failed
// with a message on standard error, 2 called wrongly.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "tools/tolvar/check/command.h"
#include "tools/tolvar/doctor/doctor.h"
#include "tools/tolvar/log/command.h"

namespace {

int Main(int count, char** words) {
  CLI::App app("What happens on a device, and what to do about it", "tolvar");
  app.require_subcommand(1);
  int status = 0;
  AddLog(app, status);
  AddDoctor(app, status);
#ifdef TOLVAR_HAS_CHECK
  AddCheck(app, status);
#endif
  try {
    app.parse(count, words);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  return status;
}

}  // namespace

int main(int count, char** words) {
  try {
    return Main(count, words);
  } catch (const std::exception& error) {
    std::cerr << "tolvar: " << error.what() << "\n";
    return 1;
  }
}
