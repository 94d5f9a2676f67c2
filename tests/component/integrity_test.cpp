#include "component/integrity.h"

#include "tests/kit/device.h"

using IntegrityTest = DeviceTest;

TEST_F(IntegrityTest, DigestsOfEveryLengthAroundABlock) {
  for (const unsigned size : {1U, 64U, 1023U, 1024U, 1025U, 8192U, 100000U}) {
    WriteText("/tmp/file", std::string(size, '\xa5'));
    EXPECT_TRUE(CheckIntegrity("/tmp/file", Md5(std::string(size, '\xa5')))) << size;
  }
}

TEST_F(IntegrityTest, TheComparisonIsToTheLetterAndLogged) {
  const std::string empty = "d41d8cd98f00b204e9800998ecf8427e";
  WriteText("/tmp/file", "");
  for (const std::string& checksum : {empty, std::string("D41D8CD98F00B204E9800998ECF8427E"),
                                      empty + " ", empty.substr(0, 31), std::string()}) {
    EXPECT_EQ(CheckIntegrity("/tmp/file", checksum), checksum == empty);
    EXPECT_EQ(log.Text(), "CheckIntegrity " + empty + " vs. " + checksum + "\n");
  }
  EXPECT_FALSE(CheckIntegrity("/tmp/none", empty));
  EXPECT_EQ(log.Text(), "Failed to open file /tmp/none\n");
}
