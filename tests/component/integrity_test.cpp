#include "component/integrity.h"

#include "tests/kit/device.h"

namespace {

using IntegrityTest = DeviceTest;
using testing::ElementsAre;

TEST_F(IntegrityTest, TheDigestMustBeTheChecksumToTheLetter) {
  const std::string digest = "d41d8cd98f00b204e9800998ecf8427e";  // of nothing
  const struct {
    const char* what;
    std::string checksum;
    bool equal;
  } rows[] = {
      {"the digest", digest, true},
      {"uppercase", "D41D8CD98F00B204E9800998ECF8427E", false},
      {"a blank more", digest + " ", false},
      {"a digit less", digest.substr(0, 31), false},
      {"another last digit", digest.substr(0, 31) + "f", false},
      {"another first digit", "e" + digest.substr(1), false},
      {"nothing", "", false},
  };
  WriteText("/tmp/file", "");
  for (const auto& row : rows) {
    EXPECT_EQ(CheckIntegrity("/tmp/file", row.checksum), row.equal) << row.what;
    EXPECT_THAT(log.Lines(), ElementsAre("CheckIntegrity " + digest + " vs. " + row.checksum));
  }
}

TEST_F(IntegrityTest, WhatIsNoFileIsNotReadForEver) {
  EXPECT_EQ(symlink("/dev/zero", "/tmp/zeros"), 0);
  for (const std::string path : {"/tmp/none", "/tmp/zeros"}) {
    EXPECT_FALSE(CheckIntegrity(path, "")) << path;
    EXPECT_THAT(log.Lines(), ElementsAre("Failed to open file " + path));
  }
}

}  // namespace
