// The rules that need more than a manifest: a release folder beside it, or a configuration.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tests/tools/check/good_release.h"

using check::Id;
using check::JudgeConfiguration;
using check::JudgeManifest;
using check::Surroundings;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// After all tests: a rule that no test has broken is not known to work.
class EveryRuleIsTried : public testing::Environment {
 public:
  void TearDown() override {
    for (const check::Rule& rule : check::Rules()) {
      EXPECT_TRUE(tried.count(rule.id) == 1) << "not tried: " << static_cast<int>(rule.id);
    }
  }
};

[[maybe_unused]] testing::Environment* const everyRuleIsTried =
    testing::AddGlobalTestEnvironment(new EveryRuleIsTried);

constexpr char entry[] = "/data/processes/0/entrypoint";

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
