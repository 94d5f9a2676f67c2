#include "tools/tolvar/log/command.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

#include "tools/tolvar/log/explain.h"
#include "tools/tolvar/log/run.h"

namespace {

using devicelog::Request;

int Explain(const std::string& line) {
  const std::string text = line.empty() ? devicelog::CatalogueText() : devicelog::ExplainLine(line);
  if (text.empty()) {
    std::fputs("tolvar log: not a line of the supervisor\n", stderr);
    return 1;
  }
  std::fputs(text.c_str(), stdout);
  return 0;
}

// What is shown; one of them, or the table.
void AddWays(CLI::App& command, Request& request) {
  CLI::Option* events =
      command.add_flag("--events", request.events, "The time line instead of the table");
  CLI::Option* why =
      command
          .add_option("--why", request.why, "What led to the process's last restart or rollback")
          ->type_name("NAME");
  CLI::Option* json =
      command.add_flag("--json", request.json, "Events, then alarms, as JSON, one a line");
  CLI::Option* page =
      command.add_option("--html", request.page, "Write the time line as a page of its own")
          ->type_name("PAGE");
  CLI::Option* follow =
      command.add_flag("--follow", request.follow,
                       "Go on as the log grows: the table on a terminal, else the time line");
  events->excludes(why)->excludes(json)->excludes(page);
  json->excludes(why)->excludes(page);
  why->excludes(page)->excludes(follow);
  page->excludes(follow);
}

void AddOptions(CLI::App& command, Request& request) {
  command.add_option("FILE", request.file, "The log, stamped or not; - is standard input");
  AddWays(command, request);
  command
      .add_option("--since", request.since,
                  "From then on: 2h, 30min, 3d, or a time as the log writes it")
      ->type_name("TIME");
  command.add_option("--process", request.processes, "Only this process; may be given again")
      ->type_name("NAME")
      ->allow_extra_args(false);
}

}  // namespace

void AddLog(CLI::App& app, int& status) {
  CLI::App* command = app.add_subcommand("log", "Tell from a device's log what happens there");
  const auto request = std::make_shared<Request>();
  const auto line = std::make_shared<std::string>();
  AddOptions(*command, *request);
  CLI::Option* explain =
      command
          ->add_option("--explain", *line, "What a line means, and what to do; all of them without")
          ->type_name("LINE")
          ->expected(0, 1);
  command->callback([request, line, explain, &status] {
    status = explain->count() > 0 ? Explain(*line) : devicelog::Run(*request);
  });
}
