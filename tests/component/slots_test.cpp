#include "component/slots.h"

#include <functional>

#include "tests/kit/device.h"

namespace {

using SlotsTest = DeviceTest;

TEST_F(SlotsTest, ACachedCopyIsFoundAgainUnderTheHashOfItsPath) {
  const struct {
    const char* what;
    std::string path, slot;
  } rows[] = {
      {"nothing", "", "/media/mmc/.ota/edd39288"},
      {"whole words", "/opt/app", "/media/mmc/.ota/6b3d6cf6"},
      {"one byte more", "/opt/app1", "/media/mmc/.ota/1bd24204"},
      {"two bytes more", "/opt/app12", "/media/mmc/.ota/ada4cc80"},
      {"three bytes more", "/opt/app123", "/media/mmc/.ota/15ee920b"},
      {"bytes beyond ASCII", "/opt/\xe4\xf6\xfc\xff", "/media/mmc/.ota/5fa9d16e"},
      {"no leading zeros", "/opt/92074", "/media/mmc/.ota/828e"},
  };
  for (const auto& row : rows) EXPECT_EQ(CachedPath(row.path), row.slot) << row.what;
}

// Slots keep their names from one library to the next.
TEST_F(SlotsTest, OnTheTargetTheHashIsThatOfItsLibrary) {
  if (sizeof(std::size_t) != 4) GTEST_SKIP() << "only a library of 32 bits has that hash";
  std::string path;
  for (char letter = 'a'; path.size() < 300; letter = static_cast<char>(letter + 37)) {
    const std::string name = CachedPath(path).substr(sdCardRoot.size() + 5);
    EXPECT_EQ(std::stoul(name, nullptr, 16), std::hash<std::string>()(path)) << path;
    path += letter;
  }
}

TEST_F(SlotsTest, ThePreDownloadSlotLiesBesideTheLiveFile) {
  EXPECT_EQ(PreDownloadPath("/opt/a b"), "/opt/a b.predownload");
}

TEST_F(SlotsTest, AnythingButAFolderIsNoCard) {
  EXPECT_TRUE(SDCardMounted());
  Remove("/media/mmc");
  EXPECT_FALSE(SDCardMounted());
  WriteText("/media/mmc", "");
  EXPECT_FALSE(SDCardMounted());
}

}  // namespace
