// Each alarm of the tool has its page in the operator's guide, and each page its alarm.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "tools/tolvar/log/alarm.h"

namespace devicelog {
namespace {

using Names = std::set<std::string>;

const std::filesystem::path docs = DOCS_FOLDER;

Names NamesOfTheTool() {
  Names names;
  for (std::size_t i = 0; i < static_cast<std::size_t>(Alarm::Kind::Count); ++i) {
    names.insert(NameOf(static_cast<Alarm::Kind>(i)));
  }
  return names;
}

TEST(AlarmPages, AreThoseOfTheTool) {
  Names pages;
  for (const auto& entry : std::filesystem::directory_iterator(docs / "alarms")) {
    pages.insert(entry.path().stem());
    std::ifstream page(entry.path());
    std::string title;
    std::getline(page, title);
    EXPECT_EQ(title, "# " + entry.path().stem().string());
  }
  EXPECT_EQ(pages, NamesOfTheTool());
}

TEST(AlarmPages, AreFoundFromTheListOfAlarms) {
  std::ifstream file(docs / "reading-the-log.md");
  const std::string list{std::istreambuf_iterator<char>(file), {}};
  for (const std::string& name : NamesOfTheTool()) {
    EXPECT_NE(list.find("[`" + name + "`](alarms/" + name + ".md)"), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace devicelog
