#include "tests/process/process_fixture.h"

namespace {

using RollbackTest = ProcessTest;

TEST_F(RollbackTest, TheFirstRecordOfTheAnswerDecides) {
  const std::string unread = "Parse last known good version response failed, ";
  const std::string back = "Process app rollback to version ";
  const std::string wrong = "Rollback from process app to App, looks wrong!\n";
  const struct {
    const char* what;
    std::string answer;
    int result;
    std::string log;
    const char* pending;  // its version, null for none
  } rows[] = {
      {"no manifest", "<html>", 1, unread + "<html>\n", nullptr},
      {"a NUL in a page", {"<html>\0</html>", 14}, 1, unread + "<html>\n", nullptr},
      {"a NUL in a manifest", {"{\"data\"\0:{}}", 12}, 1, unread + "{\"data\"\n", nullptr},
      {"nothing", "", 1, unread + "\n", nullptr},
      {"no process", Manifest({}), 1, "Empty processes, rollback app failed\n", nullptr},
      {"another first", Manifest({{"App", "0"}, {"app", "0"}}), 1, wrong, nullptr},
      {"what runs", Manifest({{"app", "1"}, {"app", "0"}}), 0, "", nullptr},
      {"an older one", Manifest({{"app", "0"}, {"App", "0"}}), 0, back + "0\n", "0"},
      {"a newer one", Manifest({{"app", "2"}}), 0, back + "2\n", "2"},
      {"a longer one", Manifest({{"app", "1.0"}}), 0, back + "1.0\n", "1.0"},
      {"a NUL after it", Manifest({{"app", "2"}}) + std::string(1, '\0'), 0, back + "2\n", "2"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    process.pending = nullptr;
    cloud.Answer(ForManifest("lastknowngood", "app"), row.answer);
    EXPECT_EQ(process.Rollback(), row.result);
    EXPECT_EQ(log.Text(), asked + "0\n" + row.log);
    ASSERT_EQ(process.pending != nullptr, row.pending != nullptr);
    if (process.pending) {
      EXPECT_EQ(process.pending->version, row.pending);
    }
  }
}

TEST_F(RollbackTest, TheRecordWaitsAsTheCloudSentIt) {
  cloud.Answer(ForManifest("lastknowngood", "app"), Manifest({{"app", "0", "run"}}));
  process.retries = 5;
  EXPECT_EQ(process.Rollback(), 0);
  EXPECT_EQ(process.version, "1") << "what runs is not touched";
  ASSERT_NE(process.pending, nullptr);
  EXPECT_EQ(process.pending->entrypoint, "run");
  EXPECT_EQ(process.pending->retries, 0U);
}

TEST_F(RollbackTest, WithoutAnAnswerThatChangesAnythingWhatWaitsIsLeftAlone) {
  LetVersion2Wait();
  EXPECT_EQ(process.Rollback(), 1);
  EXPECT_EQ(log.Text(), unreached);
  cloud.Answer(ForManifest("lastknowngood", "app"), Manifest({{"app", "1"}}));
  EXPECT_EQ(process.Rollback(), 0);
  ASSERT_NE(process.pending, nullptr);
  EXPECT_EQ(process.pending->version, "2");
}

}  // namespace
