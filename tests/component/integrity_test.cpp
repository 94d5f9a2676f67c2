#include "component/integrity.h"

#include "tests/kit/device.h"

using IntegrityTest = DeviceTest;

TEST_F(IntegrityTest, DigestsOfAnyLengthAreComparedToTheLetter) {
  for (const unsigned size : {1U, 1023U, 1024U, 1025U, 100000U}) {
    WriteText("/tmp/file", std::string(size, '\xa5'));
    EXPECT_TRUE(CheckIntegrity("/tmp/file", Md5(std::string(size, '\xa5')))) << size;
  }
  WriteText("/tmp/file", "");
  const std::string empty = "d41d8cd98f00b204e9800998ecf8427e";
  EXPECT_TRUE(CheckIntegrity("/tmp/file", empty));
  EXPECT_FALSE(CheckIntegrity("/tmp/file", "D41D8CD98F00B204E9800998ECF8427E"));
  EXPECT_FALSE(CheckIntegrity("/tmp/file", empty + " "));
  EXPECT_FALSE(CheckIntegrity("/tmp/file", empty.substr(0, 31)));
  EXPECT_FALSE(CheckIntegrity("/tmp/file", empty.substr(0, 31) + "f"));
  (void)log.Text();
  EXPECT_FALSE(CheckIntegrity("/tmp/none", empty));
  EXPECT_EQ(log.Text(), "Failed to open file /tmp/none\n");
}
