#include "tools/tolvar/check/command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>

#include "tools/tolvar/check/cloud/play.h"
#include "tools/tolvar/check/folder.h"

namespace {

using check::Finding;
using check::Severity;

constexpr char description[] =
    "Say whether devices can live with a release: a manifest as the cloud sends it, or all that a\n"
    "release folder holds. Give both to have the manifest judged as what LABEL is to list next. "
    "With\n"
    "--cloud, play a device against a cloud: all that it asks for, and what it would do with it.";
constexpr char exitStatus[] =
    "Exit status: 0 no error, warnings included unless --strict; 1 an error, or something could "
    "not "
    "be read; 2 called wrongly.";

struct Request {
  std::string manifest, root, label, config;
  check::Identity device;  // with the cloud's address
  std::uint64_t kilobytesPerSec = 0;
  std::uint64_t megabytes = 0;
  bool json = false;
  bool strict = false;
  bool rules = false;

  [[nodiscard]] check::Limits Limits() const {
    return {kilobytesPerSec * 1000, megabytes * 1000000};
  }
};

std::vector<Finding> JudgeFile(const Request& request) {
  check::Surroundings beside;
  if (!request.root.empty()) {
    const ReleaseFolder folder{request.root};
    folder.RequireRoot();
    beside = check::SurroundingsOf(folder, request.label, request.Limits());
  }
  beside.label = request.label;
  return check::JudgeManifest(check::TextOf(request.manifest), beside);
}

std::vector<Finding> Judge(const Request& request) {
  if (!request.config.empty()) {
    (void)OpenFile(request.config);  // says what is wrong with it
    return check::JudgeConfiguration(request.config);
  }
  if (!request.manifest.empty()) return JudgeFile(request);
  return check::JudgeFolder({request.root}, request.label, request.Limits());
}

std::string Sum(long errors, long warnings) {
  return std::to_string(errors) + " errors, " + std::to_string(warnings) + " warnings\n";
}

int StatusOf(const Request& request, long errors, long warnings) {
  return errors > 0 || (request.strict && warnings > 0) ? 1 : 0;
}

long CountOf(const std::vector<check::Exchange>& exchanges, check::Exchange::Verdict verdict) {
  return std::count_if(exchanges.begin(), exchanges.end(),
                       [verdict](const auto& exchange) { return exchange.verdict == verdict; });
}

int PlayDevice(const Request& request) {
  const auto [exchanges, findings] = check::PlayDevice(request.device);
  const long errors =
      CountOf(exchanges, check::Exchange::Verdict::Error) + CountOf(findings, Severity::Error);
  const long warnings =
      CountOf(exchanges, check::Exchange::Verdict::Warning) + CountOf(findings, Severity::Warning);
  const std::string text =
      request.json
          ? "{\"exchanges\": " + AsJson(exchanges) + ", \"check\": " + AsJson(findings) + "}\n"
          : AsText(exchanges) + AsText(findings) + Sum(errors, warnings);
  (void)std::fputs(text.c_str(), stdout);  // the exit status says the gist as well
  return StatusOf(request, errors, warnings);
}

int Run(const Request& request) {
  if (request.rules) {
    (void)std::fputs(check::RulesAsMarkdown().c_str(), stdout);
    return 0;
  }
  if (!request.device.url.empty()) return PlayDevice(request);
  const std::vector<Finding> findings = Judge(request);
  const long errors = CountOf(findings, Severity::Error);
  const long warnings = CountOf(findings, Severity::Warning);
  const std::string text =
      request.json ? AsJson(findings) : AsText(findings) + Sum(errors, warnings);
  (void)std::fputs(text.c_str(), stdout);  // the exit status says the gist as well
  return StatusOf(request, errors, warnings);
}

void AddObjects(CLI::App& command, Request& request) {
  CLI::Option* manifest = command.add_option("MANIFEST", request.manifest, "A manifest's file");
  CLI::Option* root =
      command.add_option("--root", request.root, "A release folder")->type_name("FOLDER");
  command.add_option("--label", request.label, "Only this label; what MANIFEST is for")
      ->type_name("LABEL");
  CLI::Option* config =
      command.add_option("--config", request.config, "A device's configuration")->type_name("FILE");
  CLI::Option* rules =
      command.add_flag("--rules", request.rules, "Print every rule, as the documents have them");
  config->excludes(manifest)->excludes(root);
  rules->excludes(manifest)->excludes(root)->excludes(config);
}

// Together or not at all.
void AddCloud(CLI::App& command, check::Identity& device) {
  CLI::Option* cloud =
      command.add_option("--cloud", device.url, "A cloud: https://HOST[:PORT]")->type_name("URL");
  CLI::Option* authorities =
      command.add_option("--cacert", device.caFile, "The CA certificates of the devices, PEM")
          ->type_name("FILE")
          ->check(CLI::ExistingFile);
  CLI::Option* mac =
      command.add_option("--mac", device.mac, "The device's, 12 lowercase hexadecimal digits")
          ->type_name("M");
  CLI::Option* token = command.add_option("--token", device.token, "The device's")->type_name("T");
  for (CLI::Option* option : {authorities, mac, token}) {
    cloud->needs(option);
    option->needs(cloud);
  }
  for (const char* other : {"MANIFEST", "--root", "--config", "--rules"}) {
    cloud->excludes(command.get_option(other));
  }
}

void AddOptions(CLI::App& command, Request& request) {
  command
      .add_option(
          "--rate", request.kilobytesPerSec,
          "What a device downloads, in kB/s: files that take longer than it waits are errors")
      ->type_name("KB")
      ->check(CLI::PositiveNumber);
  command
      .add_option("--memory", request.megabytes,
                  "What memory a device has free, in MB: files that do not fit are errors")
      ->type_name("MB")
      ->check(CLI::PositiveNumber);
  command.add_flag("--json", request.json, "Print the findings as one JSON document");
  command.add_flag("--strict", request.strict, "Warnings also lead to exit status 1");
}

}  // namespace

void AddCheck(CLI::App& app, int& status) {
  const auto request = std::make_shared<Request>();
  CLI::App* command = app.add_subcommand("check", description);
  command->footer(exitStatus);
  AddObjects(*command, *request);
  AddCloud(*command, request->device);
  AddOptions(*command, *request);
  command->callback([request, &status] {
    const bool isGiven = request->rules || !request->manifest.empty() || !request->root.empty() ||
                         !request->config.empty() || !request->device.url.empty();
    if (!isGiven) throw CLI::RequiredError("MANIFEST, --root, --config, --cloud or --rules");
    status = Run(*request);
  });
}
