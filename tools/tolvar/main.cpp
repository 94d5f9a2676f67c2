// tolvar: what an operator has on a device and beside it.
#include <CLI/CLI.hpp>

#include "tools/tolvar/doctor/doctor.h"

int main(int argc, char** argv) {
  CLI::App app("Looks after devices that run the plug-in.", "tolvar");
  app.require_subcommand(1);
  int status = 0;
  AddDoctor(app, status);
  CLI11_PARSE(app, argc, argv);
  return status;
}
