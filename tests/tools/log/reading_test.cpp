#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tools/tolvar/log/json_line.h"
#include "tools/tolvar/log/line_reader.h"
#include "tools/tolvar/log/log_parser.h"
#include "tools/tolvar/log/since.h"
#include "tools/tolvar/log/source.h"
#include "tools/tolvar/log/stamp.h"
#include "tools/tolvar/log/table.h"
#include "tools/tolvar/log/terminal.h"

namespace devicelog {
namespace {

constexpr std::int64_t now = 1'732'536'000 * secondMicros;  // 2024-11-25 12:00:00

struct StampRow {
  const char* name;
  std::string before;  // the line's text
  const char* iso;     // what the stamp means
};

void PrintTo(const StampRow& row, std::ostream* out) { *out << row.name; }

class Stamp : public testing::TestWithParam<StampRow> {};

TEST_P(Stamp, IsTakenOff) {
  Entry read;
  LogParser parser(now, [&read](const Entry& entry) { read = entry; });
  const std::string line = GetParam().before + "Launched process cam";
  parser.Take({line, false});
  ASSERT_NE(read.message, nullptr);
  EXPECT_EQ(read.text, "Launched process cam");
  EXPECT_EQ(ToIsoText(read.when), GetParam().iso);
}

const StampRow stampRows[] = {
    {"None", "", ""},
    {"TsDefault", "Nov 25 12:00:00 ", "2024-11-25T12:00:00.000"},
    {"TsOfLastYear", "Dec 31 23:59:59 ", "2023-12-31T23:59:59.000"},
    {"TsElapsed", "00:01:05 ", "00:01:05.000"},
    {"HostStamp", "12:52:06.277 ", "12:52:06.277"},
    {"TsUnix", "1732536000.500000 ", "2024-11-25T12:00:00.500"},
    {"TsUnixWhole", "1732536000 ", "2024-11-25T12:00:00.000"},
    {"TsIso", "2024-11-25T12:00:00 ", "2024-11-25T12:00:00.000"},
    {"TsIsoFraction", "2024-11-25T12:00:00.123456 ", "2024-11-25T12:00:00.123"},
    {"IsoWithBlank", "2024-11-25 12:00:00 ", "2024-11-25T12:00:00.000"},
    {"Syslog", "Nov  5 12:00:00 cam-7 host[42]: ", "2024-11-05T12:00:00.000"},
    {"SmallSyslog", "Nov 25 12:00:00 cam-7 user.info host: ", "2024-11-25T12:00:00.000"},
    {"JournalShort", "Nov 25 12:00:00.250000 cam-7 host[42]: ", "2024-11-25T12:00:00.250"},
    {"JournalIso", "2024-11-25T12:00:00+0100 cam-7 host[42]: ", "2024-11-25T12:00:00.000+01:00"},
    {"JournalIsoPrecise",
     "2024-11-25T12:00:00.123456-05:30 cam-7 host[42]: ", "2024-11-25T12:00:00.123-05:30"},
    {"JournalFull", "Mon 2024-11-25 12:00:00 CET cam-7 host[42]: ", "2024-11-25T12:00:00.000"},
    {"JournalMonotonic", "[   12.345678] cam-7 host[42]: ", "12.345"},
};

INSTANTIATE_TEST_SUITE_P(, Stamp, testing::ValuesIn(stampRows),
                         [](const auto& row) { return row.param.name; });

TEST(StampReader, CountsATimeOfDayOnOverMidnight) {
  StampReader stamps(now);
  Moment moment;
  (void)stamps.TakeOff("23:59:59 a", moment);
  (void)stamps.TakeOff("00:00:01 a", moment);
  EXPECT_EQ(ToText(moment), "00:00:01 +1d");
}

TEST(StampReader, LeavesWhatOnlyLooksLikeAStamp) {
  StampReader stamps(now);
  for (const char* line : {"12:60:00 a", "Nov 32 12:00:00 a", "Now 25 12:00:00 a",
                           "2024-13-01 12:00:00 a", "12345 a", "[x] a", "12:00:00a"}) {
    Moment moment;
    EXPECT_EQ(stamps.TakeOff(line, moment), line);
    EXPECT_FALSE(moment.IsKnown()) << line;
  }
}

class File : public testing::Test {
 protected:
  File() { std::filesystem::create_directory(folder_); }
  ~File() override { std::filesystem::remove_all(folder_); }
  void Write(const std::string& text, std::ios::openmode mode = std::ios::app) const {
    std::ofstream(Path(), mode) << text;
  }
  [[nodiscard]] std::string Path() const { return folder_ + "/log"; }
  // The lines that are there now, "|" behind each.
  static std::string Rest(Source& source) {
    std::string all;
    for (LineReader::Line line; source.Lines().Next(line);)
      all += std::string(line.text) + (line.isCut ? "~|" : "|");
    return all;
  }
  std::string folder_ = testing::TempDir() + "tolvar-log-" + std::to_string(getpid());
  std::string error_;
};

TEST_F(File, KeepsALineWithoutAnEndUntilItIsWhole) {
  Write("a\nb");
  Source source(Path());
  ASSERT_TRUE(source.Open(error_));
  EXPECT_EQ(Rest(source), "a|");
  Write("c\r\n\n");
  EXPECT_EQ(Rest(source), "bc||");
}

TEST_F(File, GivesTheLastLineWithoutAnEnd) {
  Write("a\nb");
  Source source(Path());
  ASSERT_TRUE(source.Open(error_));
  (void)Rest(source);
  LineReader::Line line;
  ASSERT_TRUE(source.Lines().Last(line));
  EXPECT_EQ(line.text, "b");
  EXPECT_FALSE(source.Lines().Last(line));
}

TEST_F(File, DropsTheEndOfALineThatIsTooLongAndGoesOn) {
  Write("a\n" + std::string(5'000'000, 'x') + "\nb\n");
  Source source(Path());
  ASSERT_TRUE(source.Open(error_));
  EXPECT_EQ(Rest(source), "a|" + std::string(LineReader::longestLine, 'x') + "~|b|");
}

TEST_F(File, IsFollowedWhenItWasCut) {
  Write("a\nb\n");
  Source source(Path());
  ASSERT_TRUE(source.Open(error_));
  (void)Rest(source);
  EXPECT_FALSE(source.GoOn());
  Write("c\n", std::ios::trunc);
  EXPECT_TRUE(source.GoOn());
  EXPECT_EQ(Rest(source), "c|");
}

TEST_F(File, IsFollowedWhenItWasRotated) {
  Write("a\n");
  Source source(Path());
  ASSERT_TRUE(source.Open(error_));
  (void)Rest(source);
  ASSERT_EQ(std::rename(Path().c_str(), (Path() + ".1").c_str()), 0);
  EXPECT_FALSE(source.GoOn()) << "there is no new file yet";
  Write("b\n");
  EXPECT_TRUE(source.GoOn());
  EXPECT_EQ(Rest(source), "b|");
}

TEST_F(File, ThatIsNoneIsRefused) {
  Source missing(Path());
  EXPECT_FALSE(missing.Open(error_));
  Source folder(folder_);
  EXPECT_FALSE(folder.Open(error_));
  EXPECT_NE(error_.find("Is a directory"), std::string::npos) << error_;
}

struct SinceRow {
  const char* text;
  const char* before;  // lies before it
  const char* notBefore;
};

TEST(Since, IsALengthOrATime) {
  const SinceRow sinceRows[] = {{"2h", "2024-11-25 09:59:59", "2024-11-25 10:00:00"},
                                {"3d", "Nov 22 11:59:59", "Nov 22 12:00:00"},
                                {"12:30", "12:29:59", "12:30:00"},
                                {"2024-11-25", "2024-11-24 23:59:59", "2024-11-25 00:00:00"}};
  for (const auto& [text, before, notBefore] : sinceRows) {
    const std::optional<Since> since = Since::Parse(text, now);
    ASSERT_TRUE(since) << text;
    EXPECT_TRUE(since->IsAfter(ReadMoment(before, now))) << text;
    EXPECT_FALSE(since->IsAfter(ReadMoment(notBefore, now))) << text;
  }
  for (const char* text : {"", "2", "-2h", "2 h", "25:00", "yesterday"})
    EXPECT_FALSE(Since::Parse(text, now)) << text;
}

TEST(JsonLine, ReplacesWhatIsNoUtf8) {
  Event event;
  event.kind = Event::Kind::Launched;
  event.process = "a\xff\"\n";
  EXPECT_EQ(JsonLine(event),
            "{\"line\":0,\"event\":\"launched\",\"process\":\"a\xef\xbf\xbd\\\"\\n\"}\n");
}

TEST(Terminal, ObeysNothingThatALogHolds) {
  EXPECT_EQ(Printable("a\x1b[2J\tb\x7f"), "a\\x1b[2J\\x09b\\x7f");
}

TEST(Terminal, CutsBetweenCharacters) {
  EXPECT_EQ(Shortened("\u00e4\u00f6\u00fc\u00df\u00e4", 4), "\u00e4...");
}

}  // namespace
}  // namespace devicelog
