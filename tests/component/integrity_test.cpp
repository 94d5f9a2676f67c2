#include "component/integrity.h"

#include "tests/kit/device.h"

using IntegrityTest = DeviceTest;
using testing::ElementsAre;

TEST_F(IntegrityTest, DigestsOfEveryLengthAroundABlock) {
  for (const unsigned size : {0U, 1U, 55U, 64U, 1023U, 1024U, 1025U, 8191U, 8192U, 100000U}) {
    const std::string bytes(size, '\xa5');
    WriteText("/tmp/file", bytes);
    EXPECT_TRUE(CheckIntegrity("/tmp/file", Md5(bytes))) << size;
    EXPECT_FALSE(CheckIntegrity("/tmp/file", Md5(bytes + "x"))) << size;
  }
}

TEST_F(IntegrityTest, TheComparisonIsToTheLetterAndLogged) {
  const std::string empty = "d41d8cd98f00b204e9800998ecf8427e";
  WriteText("/tmp/file", "");
  EXPECT_TRUE(CheckIntegrity("/tmp/file", empty));
  EXPECT_FALSE(CheckIntegrity("/tmp/file", "D41D8CD98F00B204E9800998ECF8427E"));
  EXPECT_FALSE(CheckIntegrity("/tmp/file", empty + " "));
  EXPECT_FALSE(CheckIntegrity("/tmp/none", empty));
  EXPECT_THAT(log.Lines(),
              ElementsAre("CheckIntegrity " + empty + " vs. " + empty,
                          "CheckIntegrity " + empty + " vs. D41D8CD98F00B204E9800998ECF8427E",
                          "CheckIntegrity " + empty + " vs. " + empty + " ",
                          "Failed to open file /tmp/none"));
}
