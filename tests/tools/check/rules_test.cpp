// Each rule of the check with a release that breaks it and nothing else.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>

#include "tools/tolvar/check/judge.h"

using check::Finding;
using check::Id;
using check::JudgeConfiguration;
using check::JudgeManifest;
using check::Listing;
using check::Surroundings;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char good[] = R"({"data": {"processes": [{
  "processname": "streamer",
  "version": "2",
  "entrypoint": "chmod +x /opt/app/streamer; setsid /opt/app/streamer >/run/log 2>&1 </dev/null &",
  "maxstartuptime": 60,
  "maxretries": 5,
  "components": [{
    "filename": "streamer",
    "localpath": "/opt/app/streamer",
    "version": "2",
    "checksum": "5d41402abc4b2a76b9719d911017c592"}]}]}})";

constexpr char other[] = R"([{
  "processname": "recorder",
  "version": "1",
  "entrypoint": "chmod +x /opt/rec/recorder; /opt/rec/recorder >/run/rec 2>&1 </dev/null &",
  "components": [{
    "filename": "recorder",
    "localpath": "/opt/rec/recorder",
    "version": "1",
    "checksum": "5d41402abc4b2a76b9719d911017c592"}]}, {)";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// "203 /data/processes/0/processname"
std::string Brief(const Finding& finding) {
  return std::to_string(static_cast<int>(finding.id)) + " " + finding.place;
}

std::vector<std::string> Briefs(const std::vector<Finding>& findings) {
  std::vector<std::string> briefs;
  for (const Finding& finding : findings) briefs.push_back(Brief(finding));
  return briefs;
}

std::set<Id> tried;

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

// ---- beside a release folder --------------------------------------------------------------------

class CheckBeside : public testing::Test {
 protected:
  // A folder in which every component has the same file.
  Surroundings Beside(const std::string& label) {
    Surroundings beside;
    beside.label = label;
    beside.fileOf = [this](const Component&) { return file_; };
    beside.others = {{"lastknowngood", check::ProcessesOf(good)}};
    return beside;
  }
  void Write(const std::string& text) { std::ofstream(file_, std::ios::trunc) << text; }
  void SetUp() override { Write("hello"); }
  void TearDown() override { (void)std::remove(file_.c_str()); }
  void ExpectOnly(Id id, const std::string& place, const Surroundings& beside) {
    EXPECT_THAT(Briefs(JudgeManifest(good, beside)),
                ElementsAre(std::to_string(static_cast<int>(id)) + " " + place));
    tried.insert(id);
  }

  std::string file_ = testing::TempDir() + "check-" + std::to_string(getpid());
};

constexpr char version[] = "/data/processes/0/version";
constexpr char checksum[] = "/data/processes/0/components/0/checksum";

TEST_F(CheckBeside, AGoodReleaseHasNoFinding) {
  EXPECT_THAT(Briefs(JudgeManifest(good, Beside("latest"))), IsEmpty());
  Surroundings listed = Beside("latest");
  listed.before = check::ProcessesOf(good);
  EXPECT_THAT(Briefs(JudgeManifest(good, listed)), IsEmpty()) << "published again as it is";
}

TEST_F(CheckBeside, AMissingFileIsFound) {
  (void)std::remove(file_.c_str());
  ExpectOnly(Id::NoFile, checksum, Beside("latest"));
}

TEST_F(CheckBeside, AnotherFileIsFound) {
  Write("hullo");
  ExpectOnly(Id::OtherFile, checksum, Beside("latest"));
}

TEST_F(CheckBeside, AScriptThatBearsItsInterpretersNameIsFound) {
  Write("#!/usr/bin/env python3\n");
  const auto briefs = Briefs(JudgeManifest(good, Beside("latest")));
  EXPECT_THAT(briefs, ElementsAre(std::string("307 ") + entry, std::string("603 ") + checksum));
  tried.insert(Id::EnvScript);
}

TEST_F(CheckBeside, AFileOfTwoContentsIsFoundAcrossLabels) {
  Surroundings beside = Beside("latest");
  beside.others[0].processes[0].version = "1";
  beside.others[0].processes[0].components[0].checksum[0] = '6';
  ExpectOnly(Id::TwoContents, checksum, beside);
}

TEST_F(CheckBeside, AnUnchangedVersionOfOtherContentIsFound) {
  Surroundings beside = Beside("latest");
  beside.before = check::ProcessesOf(Replaced(good, ": 60", ": 61"));
  ExpectOnly(Id::SameVersion, version, beside);
}

TEST_F(CheckBeside, AVersionOfTwoContentsIsFoundAcrossLabels) {
  Surroundings beside = Beside("latest");
  beside.others[0].processes[0].entrypoint += " :";
  ExpectOnly(Id::TwoVersions, version, beside);
}

TEST_F(CheckBeside, ALabelThatNoDeviceAsksForIsFound) {
  ExpectOnly(Id::UnknownLabel, "", Beside("beta"));
}

TEST_F(CheckBeside, AVersionThatWasTakenBackIsFound) {
  Surroundings beside = Beside("latest");
  beside.takenBack = {{"streamer", "1"}, {"streamer", "2"}, {"recorder", "2"}};
  ExpectOnly(Id::RolledBack, version, beside);
}

TEST_F(CheckBeside, AProcessWithNothingToGoBackToIsFound) {
  Surroundings beside = Beside("latest");
  beside.others.clear();
  ExpectOnly(Id::NoRollback, version, beside);
}

TEST_F(CheckBeside, AFileThatDoesNotArriveInTimeIsFound) {
  std::filesystem::resize_file(file_, 1200001);
  Surroundings beside = Beside("latest");
  beside.limits.bytesPerSec = 10000;
  EXPECT_THAT(Briefs(JudgeManifest(good, beside)),
              ElementsAre(std::string("603 ") + checksum, "801 /data/processes/0/components/0"));
  std::filesystem::resize_file(file_, 1200000);
  EXPECT_THAT(Briefs(JudgeManifest(good, beside)), ElementsAre(std::string("603 ") + checksum));
  tried.insert(Id::SlowDownload);
}

TEST_F(CheckBeside, AFileForWhichADeviceHasNoMemoryIsFound) {
  std::filesystem::resize_file(file_, 1000000);
  Surroundings beside = Beside("latest");
  beside.limits.memoryBytes = 10000000;
  EXPECT_THAT(Briefs(JudgeManifest(good, beside)), ElementsAre(std::string("603 ") + checksum));
  const std::string inMemory = Replaced(good, "/opt/app/streamer", "/run/app/streamer");
  EXPECT_THAT(Briefs(JudgeManifest(inMemory, beside)),
              testing::Contains("802 /data/processes/0/components/0"));
  tried.insert(Id::MuchMemory);
}

// ---- the device's configuration -----------------------------------------------------------------

TEST_F(CheckBeside, EachFaultOfAConfigurationIsFoundInItsLine) {
  struct ConfigRow {
    const char* text;
    Id id;
    const char* place;
  };
  const ConfigRow configs[] = {
      {"# ours\nbootstrap_intervall=60\n", Id::ConfigUnknown, "line 2"},
      {"bootstrap_interval =60\n", Id::ConfigUnknown, "line 1"},
      {" bootstrap_interval=60\n", Id::ConfigUnknown, "line 1"},
      {"bootstrap_interval=60 minutes\n", Id::ConfigTakenAs, "line 1"},
      {"max_heartbeat_interval=0\n", Id::ConfigAtOnce, ""},
      {"bootstrap_interval=4294967295\n", Id::ConfigTakenAs, "line 1"},
      {"metrics_report_interval=0\n", Id::ConfigReportAtOnce, ""},
      {"failure_metrics_report_interval=2000000000\n", Id::ConfigReportNever, ""},
      {"bootstrap_interval=2000000000\n", Id::ConfigNever, ""},
  };
  for (const auto& [text, id, place] : configs) {
    SCOPED_TRACE(text);
    Write(text);
    const auto expected = std::to_string(static_cast<int>(id)) + " " + place;
    EXPECT_THAT(Briefs(JudgeConfiguration(file_)), testing::Contains(expected));
    tried.insert(id);
  }
  Write("# ours\n\nbootstrap_interval=60\r\nmax_heartbeat_interval=5\n");
  EXPECT_THAT(Briefs(JudgeConfiguration(file_)), IsEmpty());
}

}  // namespace

// Needs the tests above in one run, as CTest starts them here.
TEST(CheckTable, EveryRuleHasARow) {
  for (const check::Rule& rule : check::Rules()) {
    EXPECT_TRUE(tried.count(rule.id) == 1) << "not tried: " << static_cast<int>(rule.id);
  }
}
