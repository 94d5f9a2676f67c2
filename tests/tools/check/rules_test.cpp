// Each rule of the check with a release that breaks it and nothing else.
#include "tests/tools/check/good_release.h"

using check::Id;
using check::JudgeManifest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char other[] = R"([{
  "processname": "recorder",
  "version": "1",
  "entrypoint": "chmod +x /opt/rec/recorder; /opt/rec/recorder >/run/rec 2>&1 </dev/null &",
  "components": [{
    "filename": "recorder",
    "localpath": "/opt/rec/recorder",
    "version": "1",
    "checksum": "5d41402abc4b2a76b9719d911017c592"}]}, {)";

struct Row {
  const char* name;
  Id id;
  const char* place;
  const char* from;  // of the good manifest, everywhere
  const char* to;
};

constexpr char entry[] = "/data/processes/0/entrypoint";
constexpr char path[] = "/data/processes/0/components/0/localpath";

// clang-format off
const Row rows[] = {
  {"an error page", Id::NoManifest, "", "{\"data\"", "<html>"},
  {"no data", Id::NoManifest, "", "\"data\"", "\"Data\""},
  {"no version", Id::NoManifest, "/data/processes/0", "\"version\": \"2\",\n  \"entry", "\"entry"},
  {"a version that is a number", Id::NoManifest, "/data/processes/0", "\"version\": \"2\",\n  \"entry", "\"version\": 2,\n  \"entry"},
  {"a checksum that is a number", Id::NoManifest, "/data/processes/0/components/0", "\"5d41402abc4b2a76b9719d911017c592\"", "5"},
  {"a limit twice", Id::RepeatedKey, "/data/processes/0/maxretries", "\"maxretries\": 5", "\"maxretries\": 5, \"maxretries\": 6"},
  {"a limit in capitals", Id::UnknownKey, "/data/processes/0/maxRetries", "maxretries", "maxRetries"},
  {"a limit as a text", Id::NoNumber, "/data/processes/0/maxretries", ": 5,", ": \"5\","},
  {"half a retry", Id::OtherNumber, "/data/processes/0/maxretries", ": 5,", ": 5.5,"},
  {"a negative limit", Id::OtherNumber, "/data/processes/0/maxretries", ": 5,", ": -1,"},
  {"no process", Id::EmptyList, "/data/processes", "", ""},
  {"a name of 16 bytes", Id::LongName, "/data/processes/0/processname", "streamer", "streamer-of-door"},
  {"a name with a dot", Id::SpecialName, "/data/processes/0/processname", "streamer", "stream.er"},
  {"a name with a command", Id::SpecialName, "/data/processes/0/processname", "\"processname\": \"streamer\"", "\"processname\": \"streamer;reboot\""},
  {"a name that the system has", Id::KillsSystem, "/data/processes/0/processname", "streamer", "log"},
  {"a part of the host's name", Id::KillsSystem, "/data/processes/0/processname", "streamer", "tolvar"},
  {"a program of another name", Id::NameRunsNowhere, "/data/processes/0/processname", "\"processname\": \"streamer\"", "\"processname\": \"viewer\""},
  {"an interpreter's name", Id::NameRunsNowhere, "/data/processes/0/processname", "setsid /opt", "setsid python3 /opt"},
  {"an open bracket", Id::BrokenShell, entry, "setsid", "( setsid"},
  {"no background", Id::NoBackground, entry, " &\"", "\""},
  {"only an and-sign of a redirection", Id::NoBackground, entry, "2>&1 </dev/null &", "</dev/null 2>&1"},
  {"only a quoted and-sign", Id::NoBackground, entry, " &\"", " '&'\""},
  {"only a comment's and-sign", Id::NoBackground, entry, " &\"", " # &\""},
  {"no redirection", Id::NoRedirection, entry, " >/run/log 2>&1 </dev/null", ""},
  {"errors go to the host", Id::NoRedirection, entry, " 2>&1", ""},
  {"errors go where the output went before", Id::NoRedirection, entry, ">/run/log 2>&1", "2>&1 >/run/log"},
  {"an and-list", Id::AndList, entry, "; setsid", " && setsid"},
  {"another path", Id::RunsStrangePath, entry, "setsid /opt/app/streamer", "/opt/app/2/streamer"},
  {"a path of the host's folder", Id::RunsStrangePath, entry, "setsid /opt/app/streamer", "setsid ./streamer"},
  {"no chmod", Id::NoChmod, entry, "chmod +x /opt/app/streamer; ", ""},
  {"chmod of another file", Id::NoChmod, entry, "chmod +x /opt/app/streamer", "chmod +x /opt/app/recorder"},
  {"no retries", Id::NoRetries, "/data/processes/0/maxretries", ": 5,", ": 0,"},
  {"no time to start", Id::NoStartupTime, "/data/processes/0/maxstartuptime", ": 60", ": 0"},
  {"a second to start", Id::ShortStartupTime, "/data/processes/0/maxstartuptime", ": 60", ": 1"},
  {"a relative path", Id::RelativePath, path, "/opt/app/streamer", "opt/app/streamer"},
  {"a way up", Id::CrookedPath, path, "/opt/app/streamer", "/opt/x/../app/streamer"},
  {"a file below the root", Id::RootPath, path, "/opt/app/streamer", "/streamer"},
  {"a kernel's file", Id::SystemFile, path, "/opt/app/streamer", "/dev/streamer"},
  {"a folder of the system", Id::SystemFolder, path, "/opt/app/streamer", "/usr/bin/streamer"},
  {"a checksum in capitals", Id::BadChecksum, "/data/processes/0/components/0/checksum", "5d41402abc", "5D41402ABC"},
  {"half a checksum", Id::BadChecksum, "/data/processes/0/components/0/checksum", "5d41402abc4b2a76", ""},
};
// clang-format on

TEST(CheckRules, AGoodManifestHasNoFinding) {
  EXPECT_THAT(Briefs(JudgeManifest(good, {})), IsEmpty());
  EXPECT_THAT(
      Briefs(JudgeManifest(Replaced(good, "[{\n  \"proc", std::string(other) + "\"proc"), {})),
      IsEmpty());
}

TEST(CheckRules, EachFaultOfAManifestIsFoundAloneAndInItsPlace) {
  for (const auto& [name, id, place, from, to] : rows) {
    SCOPED_TRACE(name);
    const std::string text =
        *from == '\0' ? R"({"data":{"processes":[]}})" : Replaced(good, from, to);
    EXPECT_NE(text, good) << "the row changes nothing";
    const auto expected = std::to_string(static_cast<int>(id)) + " " + place;
    EXPECT_THAT(Briefs(JudgeManifest(text, {})), ElementsAre(expected));
    tried.insert(id);
  }
}

// Two processes: what one does to the other.
TEST(CheckRules, EachFaultBetweenTwoProcessesIsFound) {
  struct PairRow {
    const char* name;
    Id id;
    const char* place;
    const char* from;  // of the recorder
    const char* to;
  };
  // clang-format off
  const PairRow pairs[] = {
    {"one name", Id::RepeatedProcess, "/data/processes/1/processname", "recorder", "streamer"},
    {"a part of the other's name", Id::KillsNeighbour, "/data/processes/0/processname", "recorder", "stream"},
    {"a pattern of the other's name", Id::KillsNeighbour, "/data/processes/0/processname", "recorder", "str[e]amer"},
    {"one path", Id::SharedPath, "/data/processes/1/components/0/localpath", "\"/opt/rec/recorder\"", "\"/opt/app/streamer\""},
    {"the slot of the other's path", Id::SharedPath, "/data/processes/1/components/0/localpath", "\"/opt/rec/recorder\"", "\"/opt/app/streamer.predownload\""},
    {"one file of two contents", Id::TwoContents, "/data/processes/0/components/0/checksum", "\"filename\": \"recorder\",\n    \"localpath\": \"/opt/rec/recorder\",\n    \"version\": \"1\",\n    \"checksum\": \"5d", "\"filename\": \"streamer\",\n    \"localpath\": \"/opt/rec/recorder\",\n    \"version\": \"2\",\n    \"checksum\": \"00"},
  };
  // clang-format on
  for (const auto& [name, id, place, from, to] : pairs) {
    SCOPED_TRACE(name);
    const std::string first = Replaced(other, from, to);
    EXPECT_NE(first, other) << "the row changes nothing";
    const std::string text = Replaced(good, "[{\n  \"proc", first + "\"proc");
    const auto expected = std::to_string(static_cast<int>(id)) + " " + place;
    EXPECT_THAT(Briefs(JudgeManifest(text, {})), testing::Contains(expected));
    tried.insert(id);
  }
}

TEST(CheckRules, EntryPointsThatWorkAreNotRefused) {
  const char* const ways[] = {
      "chmod 755 /opt/app/streamer; cd /opt/app; ./streamer >/run/log 2>&1 </dev/null &",
      "chmod +x /opt/app/* && (exec setsid /opt/app/streamer >/run/log 2>&1 </dev/null &)",
      "chmod +x /opt/app/streamer; (sleep 1; /opt/app/streamer) >/run/log 2>&1 </dev/null &",
      "cp /opt/app/streamer /run; chmod +x /run/streamer; /run/streamer &>/run/log </dev/null &",
      "P=/opt/app/streamer; chmod +x $P; A=1 nice -n 5 $P --b=c </dev/null >/run/l 2>/run/e &",
      "chmod +x /opt/app/streamer; if test -e /x; then /opt/app/streamer <&- >/run/l 2>&1 & fi",
  };
  for (const std::string way : ways) {
    const std::string normal =
        "chmod +x /opt/app/streamer; setsid /opt/app/streamer >/run/log 2>&1 </dev/null &";
    EXPECT_THAT(Briefs(JudgeManifest(Replaced(good, normal, way), {})), IsEmpty()) << way;
  }
}

TEST(CheckRules, AComponentMayNotBeAFolder) {
  const std::string text = Replaced(good, "\"localpath\": \"/opt/app/streamer\"",
                                    "\"localpath\": \"/opt/app/streamer/\"");
  EXPECT_THAT(Briefs(JudgeManifest(text, {})),
              ElementsAre(std::string("305 ") + entry, std::string("503 ") + path));
  tried.insert(Id::FolderPath);
}

}  // namespace
