// tolvar-cloud: a stand-in for the cloud that devices talk to. Exit status: 0 done, 1 failed with a
// message on standard error, 2 called wrongly.

#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include "tools/cloud/arguments.h"
#include "tools/cloud/manifest.h"
#include "tools/cloud/publish.h"
#include "tools/cloud/release_folder.h"
#include "tools/cloud/server.h"

namespace standin {
namespace {

constexpr char usage[] =
    R"(usage: tolvar-cloud serve --root ROOT --cert FILE --key FILE [--listen ADDRESS] [--port PORT]
                          [--files-url URL]
       tolvar-cloud publish --root ROOT --label LABEL --process NAME --version VERSION
                            --entrypoint COMMANDLINE [--maxstartuptime SEC] [--maxretries N]
                            [--component FILE,FILENAME,LOCALPATH[,VERSION]]...
       tolvar-cloud withdraw --root ROOT --label LABEL --process NAME
       tolvar-cloud copy-label --root ROOT --from LABEL --to LABEL
       tolvar-cloud --help

serve       answers devices over HTTPS from the release folder ROOT until SIGTERM or SIGINT.
            ADDRESS is 127.0.0.1 and PORT 8443 unless given. URL is where devices fetch the
            files, https://cloud.test:PORT unless given: another instance, with the same ROOT,
            can serve them.
publish     puts the process under LABEL ("latest", "lastknowngood") in place of the one of
            that name, and its files beside it. A component without VERSION has the process's.
withdraw    takes the process from LABEL.
copy-label  makes the second label list what the first lists.

ROOT/<label>/manifest.json and ROOT/files/<filename>/<version> are read afresh for every request.
)";

using Rules = std::vector<OptionRule>;
using Count = OptionRule::Count;

int Misuse(const std::string& message) {
  std::cerr << "tolvar-cloud: " << message << "\n\n" << usage;
  return 2;
}

int Fail(const std::string& message) {
  std::cerr << "tolvar-cloud: " << message << "\n";
  return 1;
}

void BlockStopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
}

int RunServe(const Arguments& arguments) {
  const std::string portText = arguments.Optional("--port").value_or("8443");
  const auto port = ParseNumber(portText, 65535);
  if (!port || *port == 0) return Misuse("no port: " + portText);
  const std::string filesUrl =
      arguments.Optional("--files-url").value_or("https://cloud.test:" + std::to_string(*port));
  if (filesUrl.back() == '/') return Misuse("--files-url must not end with a slash");

  BlockStopSignals();
  std::signal(SIGPIPE, SIG_IGN);
  return Serve({arguments.Required("--cert"), arguments.Required("--key"),
                arguments.Optional("--listen").value_or("127.0.0.1"), static_cast<int>(*port)},
               {{arguments.Required("--root")}, filesUrl});
}

void Report(const PublishPlan& plan) {
  for (const auto& warning : PublishWarnings(plan)) std::cerr << "warning: " << warning << "\n";
  const auto& components = plan.process.components;
  for (std::size_t i = 0; i < components.size(); ++i) {
    std::cout << "component " << components[i].filename << " " << components[i].version << " "
              << components[i].checksum << " " << plan.files[i].bytes << " bytes\n";
  }
  std::cout << "process " << plan.process.name << " " << plan.process.version << " under "
            << plan.label << "\n";
}

int RunPublish(const Arguments& arguments) {
  const ReleaseFolder folder{arguments.Required("--root")};
  const PublishRequest request{arguments.Required("--label"),
                               arguments.Required("--process"),
                               arguments.Required("--version"),
                               arguments.Required("--entrypoint"),
                               arguments.Optional("--maxstartuptime"),
                               arguments.Optional("--maxretries"),
                               arguments.All("--component")};
  std::string error;
  const auto plan = PlanPublish(folder, request, error);
  if (!plan || !CarryOut(folder, *plan, error)) return Fail(error);
  Report(*plan);
  return 0;
}

int RunWithdraw(const Arguments& arguments) {
  const ReleaseFolder folder{arguments.Required("--root")};
  const std::string& label = arguments.Required("--label");
  const std::string& name = arguments.Required("--process");
  if (!IsLabel(label)) return Fail("no label: " + label);
  ManifestFile file = LoadManifest(folder, label);
  if (file.state != ManifestFile::State::Loaded) return Fail(file.error);
  if (!file.manifest.Remove(name)) return Fail("no process " + name + " under " + label);
  std::string error;
  if (!PutText(folder.ManifestPath(label), file.manifest.Readable(), error)) return Fail(error);
  std::cout << "withdrew " << name << " from " << label << "\n";
  return 0;
}

int RunCopyLabel(const Arguments& arguments) {
  const ReleaseFolder folder{arguments.Required("--root")};
  const std::string& from = arguments.Required("--from");
  const std::string& to = arguments.Required("--to");
  for (const auto& label : {from, to}) {
    if (!IsLabel(label)) return Fail("no label: " + label);
  }
  const ManifestFile file = LoadManifest(folder, from);
  if (file.state != ManifestFile::State::Loaded) return Fail(file.error);
  std::string error;
  if (!PutText(folder.ManifestPath(to), file.text, error)) return Fail(error);
  std::cout << "copied " << from << " to " << to << "\n";
  return 0;
}

struct Command {
  const char* name;
  Rules rules;
  int (*run)(const Arguments&);
};

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {"serve",
       {{"--root"},
        {"--cert"},
        {"--key"},
        {"--listen", Count::AtMostOnce},
        {"--port", Count::AtMostOnce},
        {"--files-url", Count::AtMostOnce}},
       RunServe},
      {"publish",
       {{"--root"},
        {"--label"},
        {"--process"},
        {"--version"},
        {"--entrypoint"},
        {"--maxstartuptime", Count::AtMostOnce},
        {"--maxretries", Count::AtMostOnce},
        {"--component", Count::AnyNumber}},
       RunPublish},
      {"withdraw", {{"--root"}, {"--label"}, {"--process"}}, RunWithdraw},
      {"copy-label", {{"--root"}, {"--from"}, {"--to"}}, RunCopyLabel},
  };
  return commands;
}

int Main(const std::vector<std::string>& words) {
  if (words.empty()) return Misuse("no command");
  if (words[0] == "--help") {
    std::cout << usage;
    return 0;
  }
  for (const auto& command : Commands()) {
    if (command.name != words[0]) continue;
    std::string error;
    const auto arguments = Arguments::Parse({words.begin() + 1, words.end()}, command.rules, error);
    return arguments ? command.run(*arguments) : Misuse(error);
  }
  return Misuse("unknown command " + words[0]);
}

}  // namespace
}  // namespace standin

int main(int argc, char** argv) { return standin::Main({argv + 1, argv + argc}); }
