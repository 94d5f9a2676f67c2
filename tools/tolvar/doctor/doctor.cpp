#include "tools/tolvar/doctor/doctor.h"

#include <csignal>
#include <cstdio>
#include <memory>

#include "tools/tolvar/doctor/print.h"

namespace {

constexpr char description[] =
    "Look at what the plug-in and its host need on this device, and say what to mend.\n"
    "Run it as the user of the host, with the host's PATH. It needs no cloud and changes nothing: "
    "pkill is tried on a child of its own, cp and rm in a folder of their own below /tmp.";
constexpr char exitStatus[] =
    "Exit status: 0 all is well, warnings and skipped checks included; 1 something is bad.";

struct Request {
  doctor::Options options;
  bool json = false;
};

int Examine(const Request& request) {
  // As the host must have it; whoever started this may have it otherwise.
  (void)std::signal(SIGCHLD, SIG_DFL);
  const std::vector<doctor::Result> results = doctor::Examine(request.options);
  const std::string text =
      request.json ? doctor::AsJson(results) : doctor::AsText(results, doctor::StandardOutput());
  (void)std::fputs(text.c_str(), stdout);  // the exit status says the gist as well
  return doctor::CountOf(results, doctor::Level::Bad) > 0 ? 1 : 0;
}

}  // namespace

void AddDoctor(CLI::App& app, int& status) {
  const auto request = std::make_shared<Request>();
  CLI::App* command = app.add_subcommand("doctor", description);
  command->footer(exitStatus);
  command->add_flag("--json", request->json, "Print the findings as one JSON document");
  command
      ->add_option("--manifest", request->options.manifest,
                   "Also look for memory and room for the files of this process manifest; a size "
                   "is that of the copy on this device")
      ->type_name("FILE");
  command
      ->add_option("--host", request->options.hostPid,
                   "Look at the SIGCHLD of this process instead of the running supervisor's")
      ->type_name("PID")
      ->check(CLI::PositiveNumber);
  command->callback([request, &status] { status = Examine(*request); });
}
