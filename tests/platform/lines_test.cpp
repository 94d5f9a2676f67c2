#include "platform/lines.h"

#include "tests/kit/device.h"

namespace {

using LinesTest = DeviceTest;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> LinesOf(const std::string& text) {
  WriteText("/tmp/text", text);
  Lines lines("/tmp/text");
  std::vector<std::string> all;
  for (std::string line = "left"; lines.Next(line);) all.push_back(line);
  return all;
}

TEST_F(LinesTest, NoLineIsLostOrMadeUpAtTheEnd) {
  EXPECT_THAT(LinesOf(""), IsEmpty());
  EXPECT_THAT(LinesOf("\n"), ElementsAre(""));
  EXPECT_THAT(LinesOf("a\n"), ElementsAre("a"));
  EXPECT_THAT(LinesOf("a\n\nb\r\n c"), ElementsAre("a", "", "b\r", " c"));
}

TEST_F(LinesTest, ALineMayBeLongerThanABlock) {
  const std::string longLine(2000, 'x');
  const std::string blockLine(511, 'y');  // a block with its line feed
  EXPECT_THAT(LinesOf(blockLine + "\n" + longLine + "\n" + blockLine),
              ElementsAre(blockLine, longLine, blockLine));
}

}  // namespace
