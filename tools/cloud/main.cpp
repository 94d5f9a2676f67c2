// tolvar-cloud: a stand-in for the cloud that devices talk to. Exit status: 0 done, 1 failed with a
// message on standard error, 2 called wrongly.

#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>

#include "tools/cloud/publish.h"
#include "tools/cloud/serve.h"

namespace {

struct Words {  // what the command line gives; each command has its share
  std::string root, label, process, from, to;
  PublishRequest release;
  ServerSettings server;
};

std::string NotEmpty(const std::string& text) { return text.empty() ? "a value is missing" : ""; }

std::string Label(const std::string& text) { return IsLabel(text) ? "" : "no label: " + text; }

std::string NoSlash(const std::string& url) {
  return url.empty() || url.back() == '/' ? "must not end with a slash" : "";
}

CLI::Option* Add(CLI::App* command, const char* name, std::string& value, const char* help,
                 std::string (*check)(const std::string&) = NotEmpty) {
  return command->add_option(name, value, help)->required()->check(check);
}

CLI::App* AddCommand(CLI::App& app, const char* name, const char* help, Words& words,
                     const std::function<void()>& run) {
  CLI::App* const command = app.add_subcommand(name, help);
  Add(command, "--root", words.root, "the release folder");
  command->callback(run);
  return command;
}

void AddServe(CLI::App& app, Words& words) {
  ServerSettings& server = words.server;
  auto* const command = AddCommand(app, "serve", "Answers devices over HTTPS.", words, [&] {
    server.folder.root = words.root;
    const std::string own = "https://cloud.test:" + std::to_string(server.port);
    if (server.filesUrl.empty()) server.filesUrl = own;
    Serve(server);
  });
  Add(command, "--cert", server.certificateFile, "the server's certificate, PEM");
  Add(command, "--key", server.keyFile, "its key, PEM");
  Add(command, "--listen", server.address, "its address")->required(false)->capture_default_str();
  command->add_option("--port", server.port, "its port")
      ->check(CLI::Range(1, 65535))
      ->capture_default_str();
  Add(command, "--files-url", server.filesUrl, "what devices fetch the files from", NoSlash)
      ->required(false)
      ->default_str("https://cloud.test:PORT");
}

// On standard error, for people; a refusal ends the command.
void Report(const Judged& judged) {
  std::cerr << AsText(judged.findings);
  if (judged.IsRefused()) throw std::runtime_error("refused: nothing was changed");
}

void Report(const PublishRequest& request, const Published& published) {
  Report(published.judged);
  for (const auto& [source, filename, localpath, version, checksum] : published.components) {
    std::cout << "component " << filename << " " << version << " " << checksum << " "
              << std::filesystem::file_size(source) << " bytes\n";
  }
  std::cout << "process " << request.process << " " << request.version << " under " << request.label
            << (request.dryRun ? ", not written\n" : "\n");
}

void AddPublish(CLI::App& app, Words& words) {
  auto* const command = AddCommand(app, "publish", "Puts a process under a label.", words, [&] {
    Report(words.release, Publish({words.root}, words.release));
  });
  PublishRequest& release = words.release;
  Add(command, "--label", release.label, "\"latest\", \"lastknowngood\", ...", Label);
  Add(command, "--process", release.process, "takes the place of the one of this name");
  Add(command, "--version", release.version, "of the process");
  Add(command, "--entrypoint", release.entrypoint, "the shell command line that starts it");
  command->add_option("--maxstartuptime", release.maxstartuptime, "seconds without judgement");
  command->add_option("--maxretries", release.maxretries, "launches before a rollback");
  command->add_option("--component", release.components, "FILE,FILENAME,LOCALPATH[,VERSION] ...")
      ->allow_extra_args(false);
  command->add_flag("--replace", release.replace, "what a version stands for may change");
  command->add_flag("--dry-run", release.dryRun, "only say what the check finds");
}

void AddWithdraw(CLI::App& app, Words& words) {
  auto* const command = AddCommand(app, "withdraw", "Takes a process from a label.", words, [&] {
    Withdraw({words.root}, words.label, words.process);
    std::cout << "withdrew " << words.process << " from " << words.label << "\n";
  });
  Add(command, "--label", words.label, "\"latest\", \"lastknowngood\", ...", Label);
  Add(command, "--process", words.process, "its name");
}

void AddCopyLabel(CLI::App& app, Words& words) {
  auto* const command = AddCommand(app, "copy-label", "Copies a label's list.", words, [&] {
    CopyLabel({words.root}, words.from, words.to);
    std::cout << "copied " << words.from << " to " << words.to << "\n";
  });
  Add(command, "--from", words.from, "the label that is read", Label);
  Add(command, "--to", words.to, "the label that is written", Label);
}

void AddPromote(CLI::App& app, Words& words) {
  const char* const help = "Makes the latest of a process its last known good one.";
  auto* const command = AddCommand(app, "promote", help, words, [&] {
    Report(Promote({words.root}, words.process));
    std::cout << "promoted " << words.process << " to lastknowngood\n";
  });
  Add(command, "PROCESS", words.process, "its name");
}

void AddList(CLI::App& app, Words& words) {
  AddCommand(app, "list", "Shows what each label lists.", words,
             [&] { std::cout << List({words.root}); });
}

void AddDiff(CLI::App& app, Words& words) {
  auto* const command = AddCommand(app, "diff", "Shows what two labels differ in.", words,
                                   [&] { std::cout << Diff({words.root}, words.from, words.to); });
  Add(command, "FROM", words.from, "a label", Label);
  Add(command, "TO", words.to, "another one", Label);
}

void AddVerify(CLI::App& app, Words& words) {
  const char* const help = "Compares every label's files with their checksums.";
  AddCommand(app, "verify", help, words, [&] {
    const auto findings = Verify({words.root});
    std::cout << AsText(findings);
    if (!findings.empty()) throw std::runtime_error("not what the labels list");
    std::cout << "every file is there as listed\n";
  });
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): only for lack of memory, before there is work to lose
int main(int argc, char** argv) {
  Words words;
  CLI::App app("A stand-in for the cloud that devices talk to.", "tolvar-cloud");
  app.set_version_flag("--version", "tolvar-cloud " TOLVAR_VERSION);
  app.fallthrough();  // so that every command has that flag
  app.require_subcommand(0, 1);
  for (const auto add :
       {AddServe, AddPublish, AddWithdraw, AddCopyLabel, AddPromote, AddList, AddDiff, AddVerify}) {
    add(app, words);
  }
  try {
    app.parse(argc, argv);
    if (app.get_subcommands().empty()) throw CLI::RequiredError("A command");
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  } catch (const std::exception& error) {
    std::cerr << "tolvar-cloud: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
