#include "tools/tolvar/log/catalogue.h"

#include <gtest/gtest.h>

namespace devicelog {
namespace {

TEST(Catalogue, StandsInTheOrderOfItsIds) {
  for (std::size_t i = 0; i < messageCount; ++i) {
    EXPECT_EQ(static_cast<std::size_t>(TheCatalogue()[i].id), i) << TheCatalogue()[i].pattern;
  }
}

struct Row {
  const char* name;
  const char* line;
  MessageId id;
  Pieces pieces;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class CatalogueReads : public testing::TestWithParam<Row> {};

TEST_P(CatalogueReads, TheLine) {
  Pieces pieces;
  const Message* message = Recognise(GetParam().line, pieces);
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->id, GetParam().id);
  EXPECT_EQ(pieces, GetParam().pieces);
}

using Id = MessageId;
constexpr Row rows[] = {
    {"TheLongerOfTwoBeginnings",
     "Parsed component info: name f, version 1, url https://u",
     Id::ParsedLocation,
     {"f", "1", "https://u"}},
    {"TheShorterOfTwoBeginnings", "Parsed component f, version 1", Id::ParsedComponent, {"f", "1"}},
    {"ANameWithSpaces", "Launch process my cam unsuccessfully", Id::LaunchFailed, {"my cam"}},
    {"AnEmptyName", "Launched process ", Id::Launched, {""}},
    {"AnEmptyAnswer", "Failed to parse processes from ", Id::NoList, {""}},
    {"AUrlWithTheTextBeforeTheNumber",
     "Get response from url https://u/a, status 1, status 2",
     Id::FileAnswered,
     {"https://u/a, status 1", "2"}},
    {"AnEmptyReport", "{\"processes\":[]}", Id::Report, {"]}"}},
    {"ComparedSums", "CheckIntegrity ab vs. AB", Id::Compared, {"ab", "AB"}},
    {"FailedSum", "CheckIntegrity failed for path /p, checksum AB", Id::Mismatch, {"/p", "AB"}},
};

INSTANTIATE_TEST_SUITE_P(, CatalogueReads, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(Catalogue, LeavesLinesOfOthersAlone) {
  for (const char* line :
       {"", "Launch", "Launched process", "Launch process p", "got 2 processes from cloud",
        "Got two processes from cloud", "Got 2 processes from cloud ", " Launched process p",
        "Curl return code -1", "{\"processes\":", "bootstrap_interval=4 # s"}) {
    Pieces pieces;
    EXPECT_EQ(Recognise(line, pieces), nullptr) << line;
  }
}

}  // namespace
}  // namespace devicelog
