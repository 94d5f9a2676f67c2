#include <algorithm>
#include <iterator>

#include "tools/tolvar/check/rule.h"

namespace check {
namespace {

constexpr Severity error = Severity::Error;
constexpr Severity warning = Severity::Warning;

// clang-format off
constexpr Rule table[] = {
  {Id::NoManifest, error, "a device takes this for no manifest and keeps what it runs", "give what is missing here, in its type"},
  {Id::RepeatedKey, warning, "the key is repeated: only the first counts", "keep one of them"},
  {Id::UnknownKey, warning, "devices do not know the key and ignore it", "spell it as the API does, or take it out"},
  {Id::NoNumber, warning, "the limit is no number: the device takes its default", "give a number, without quotes"},
  {Id::OtherNumber, warning, "the device reads another number", "give a whole number from 0 to 4294967295"},
  {Id::RepeatedProcess, error, "the process is listed twice: the two kill each other", "keep one of them"},
  {Id::EmptyList, warning, "the list is empty: every device stops everything", "list what must run"},
  {Id::LongName, error, "the name has more than 15 bytes: the process is never killed, each update starts one more", "shorten it, and the program's name with it"},
  {Id::SpecialName, error, "the shell or pkill reads the name as something else", "use letters, digits, - and _, with no - in front"},
  {Id::KillsNeighbour, error, "stopping the process also kills another of the list", "choose names of which none is found inside another"},
  {Id::KillsSystem, error, "stopping the process also kills the system's programs, or the supervisor itself", "choose a name that is not found inside theirs"},
  {Id::NameRunsNowhere, warning, "nothing that the entry point runs bears the name: the process is never killed", "name the program's file like the process, and run it itself"},
  {Id::BrokenShell, error, "the shell refuses the entry point", "mend it: sh -n must accept it"},
  {Id::NoBackground, error, "the entry point has no \"&\": the supervisor stands still until it ends", "put \"&\" behind the program"},
  {Id::NoRedirection, warning, "the program holds the host's input or output open", "add >FILE 2>&1 </dev/null"},
  {Id::AndList, warning, "a list of \"&&\" or \"||\" goes to the background as a whole, in a shell that may stay", "put \";\" before the program"},
  {Id::RunsStrangePath, error, "the entry point runs a path that no component has", "list the file as a component, or correct the path"},
  {Id::NoChmod, error, "the program is not made executable: downloaded files are not", "begin the entry point with chmod +x and its path"},
  {Id::EnvScript, error, "the script bears its interpreter's name, not its own: the process is never killed", "begin it with #! and the interpreter itself, as in #!/usr/bin/python3"},
  {Id::NoRetries, error, "a failed process asks the cloud for a rollback in every pass and is not launched again", "give 1 or more"},
  {Id::NoStartupTime, error, "the process is judged a second after its launch", "give as many seconds as a start takes, and some more"},
  {Id::ShortStartupTime, warning, "the start-up time is shorter than most starts take", "give 5 seconds or more"},
  {Id::RelativePath, error, "the path is relative: it depends on the host's folder", "give an absolute path"},
  {Id::CrookedPath, error, "the path has \".\", \"..\" or \"//\" in it", "give it without"},
  {Id::FolderPath, error, "the path is a folder's", "give the file's own"},
  {Id::RootPath, error, "the file lies directly under \"/\", where devices cannot write it", "put it into a folder"},
  {Id::SharedPath, error, "two components have the same place: each launch of one breaks the other", "give each a path of its own"},
  {Id::SystemFile, error, "the path belongs to the system or the supervisor", "choose a path in a folder of the application"},
  {Id::SystemFolder, warning, "the path lies in a folder of the system", "choose a folder of the application, as below /opt"},
  {Id::BadChecksum, error, "the checksum is not 32 lowercase hexadecimal digits: no file ever matches", "give the MD5 as md5sum prints it"},
  {Id::NoFile, error, "the release folder has no such file in this version", "publish it"},
  {Id::OtherFile, error, "the file in the release folder has another checksum: devices download it again and again", "publish it anew under a version of its own"},
  {Id::TwoContents, error, "one file name and version stands for two contents", "give each content a version of its own"},
  {Id::SameVersion, error, "the version is that of before, the content another: devices that run it keep the old", "give it a new version"},
  {Id::TwoVersions, error, "another label lists the version with other content: devices take both for the same", "give each a version of its own"},
  {Id::UnknownLabel, warning, "no device asks for the label", "use \"latest\" or \"lastknowngood\""},
  {Id::RolledBack, warning, "the version was taken back before: devices that rolled back from it get it again", "publish the mended one under a new version"},
  {Id::NoRollback, warning, "\"lastknowngood\" does not list the process: nothing to go back to when it fails", "promote a version that has proven itself"},
  {Id::SlowDownload, error, "the file does not arrive within 120 s at this rate", "make it smaller, or split it"},
  {Id::MuchMemory, error, "a device has not the memory to fetch the file", "make it smaller, split it, or put it on flash"},
  {Id::ConfigUnknown, warning, "the line sets nothing", "write key=seconds, with no blanks, as the sample does"},
  {Id::ConfigTakenAs, warning, "the device stores another value", "give a whole number of seconds, and nothing else"},
  {Id::ConfigAtOnce, error, "an interval of 0 means at once", "give 1 second or more"},
  {Id::ConfigNever, error, "an interval of more than ten years means never", "give fewer seconds, not a negative number"},
  {Id::ConfigReportAtOnce, warning, "an interval of 0 means a report in every pass", "give 1 second or more"},
  {Id::ConfigReportNever, warning, "an interval of more than ten years means no report", "give fewer seconds, not a negative number"},
};
// clang-format on

struct Group {
  int hundred;
  const char* title;
};

constexpr Group groups[] = {{1, "The manifest"},
                            {2, "Names"},
                            {3, "Entry points"},
                            {4, "Limits"},
                            {5, "Paths"},
                            {6, "Files"},
                            {7, "Versions and labels"},
                            {8, "Sizes"},
                            {9, "The device's configuration"}};

std::string Row(const Rule& rule) {
  return "| " + std::to_string(static_cast<int>(rule.id)) + " | " +
         (rule.severity == error ? "error" : "warning") + " | " + rule.sentence + " | " +
         rule.cure + " |\n";
}

}  // namespace

const std::vector<Rule>& Rules() {
  static const std::vector<Rule> rules(std::begin(table), std::end(table));
  return rules;
}

const Rule& RuleOf(Id id) {
  const auto hasId = [id](const Rule& rule) { return rule.id == id; };
  return *std::find_if(Rules().begin(), Rules().end(), hasId);
}

std::string RulesAsMarkdown() {
  std::string text = "## Rules\n";
  for (const auto& [hundred, title] : groups) {
    text += std::string("\n### ") + title + "\n\n| | | What is wrong | Cure |\n|---|---|---|---|\n";
    for (const Rule& rule : Rules()) {
      if (static_cast<int>(rule.id) / 100 == hundred) text += Row(rule);
    }
  }
  return text;
}

}  // namespace check
