// Where the device's address and token come from.
#include "cloud/identity.h"

#include <dlfcn.h>
#include <sys/socket.h>

#include <atomic>
#include <new>

#include "cloud/http_request.h"
#include "tests/fakes/scarcity.h"
#include "tests/kit/device.h"

static std::atomic<int> socketsOpened{0};  // by any thread

// Every socket of the test program passes here on its way to the kernel.
extern "C" int socket(int domain, int type, int protocol) noexcept {
  ++socketsOpened;
  static const auto real = reinterpret_cast<decltype(&socket)>(dlsym(RTLD_NEXT, "socket"));
  return real(domain, type, protocol);
}

namespace {

using IdentityTest = DeviceTest;

const std::string firstPath = "/etc/config/.user_config", secondPath = "/config/.user_config";

void Lay(const std::string& path, const std::string& text) {
  Remove(path);
  if (text == folder) std::filesystem::create_directories(path);
  if (text != folder && text != absent) WriteText(path, text);
}

TEST_F(IdentityTest, OnlyAnInterfaceThatIsUpAndEthernetHasAnAddress) {
  struct Row {
    const char* name;
    const char* command;  // before the question
    const char* interface;
  };
  const Row rows[] = {
      {"not Ethernet", "true", "lo"},
      {"missing", "true", "wlan1"},
      {"without a name", "true", ""},
      {"down", "ip link set wlan0 down", "wlan0"},
  };
  std::string mac = "before";
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(std::system(row.command), 0);
    EXPECT_EQ(GetMACAddress(row.interface, mac), 1);
    EXPECT_EQ(mac, "before");
    EXPECT_EQ(log.Text(), "");
  }
}

TEST_F(IdentityTest, AnAddressIsTwelveLowercaseDigits) {
  EXPECT_EQ(std::system("ip link set wlan0 address 02:00:0A:ff:00:0f"), 0);
  std::string mac;
  EXPECT_EQ(GetMACAddress("wlan0", mac), 0);
  EXPECT_EQ(mac, "02000aff000f");
}

// The kernel would look for the first 15 characters of a longer name.
TEST_F(IdentityTest, ANameOfSixteenCharactersIsRefusedUnasked) {
  EXPECT_EQ(std::system("ip link set wlan0 name fifteen-letters"), 0);
  std::string mac = "before";
  socketsOpened = 0;
  EXPECT_EQ(GetMACAddress("fifteen-letters!", mac), 1);
  EXPECT_EQ(mac, "before");
  EXPECT_EQ(socketsOpened, 0);
  EXPECT_EQ(GetMACAddress("fifteen-letters", mac), 0);
  EXPECT_EQ(mac, "02005e102030");
  EXPECT_EQ(socketsOpened, 1);
}

TEST_F(IdentityTest, TheTokenFollowsTheFirstKeyOfTheFirstFileThatHasOne) {
  struct Row {
    const char* name;
    std::string first;  // file's text
    std::string second;
    std::string token;
  };
  const std::string longLine(2000, '-');
  const Row rows[] = {
      {"the first file", "r_encr=one\n", "r_encr=two\n", "one"},
      {"the second file, no first", absent, "r_encr=two\n", "two"},
      {"the second file, no key in the first", "r_enc=one\n", "r_encr=two\n", "two"},
      {"the second file, the first is a folder", folder, "r_encr=two\n", "two"},
      {"in a later line", "device_name=bench\n\nr_encr=one\n", absent, "one"},
      {"the first line of two", "r_encr=one\nr_encr=two\n", absent, "one"},
      {"the first key of a line", "r_encr=a r_encr=b\n", absent, "a r_encr=b"},
      {"anywhere in a line", "export r_encr=one\n", absent, "one"},
      {"far in a line", longLine + "r_encr=one\n", absent, "one"},
      {"a last line without its end", "r_encr=one", absent, "one"},
      {"16 characters", "r_encr=0123456789abcdef\n", absent, "0123456789abcdef"},
      {"16 of 17 characters", "r_encr=0123456789abcdefg\n", absent, "0123456789abcdef"},
      {"blanks and a carriage return stay", "r_encr= one \r\n", absent, " one \r"},
      {"an empty one", "r_encr=\n", "r_encr=two\n", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Lay(firstPath, row.first);
    Lay(secondPath, row.second);
    std::string token = "before";
    EXPECT_EQ(GetENR(token), 0);
    EXPECT_EQ(token, row.token);
    EXPECT_EQ(log.Text(), "");
  }
}

TEST_F(IdentityTest, WithoutAKeyThereIsNoToken) {
  struct Row {
    const char* name;
    std::string first;  // file's text
    std::string second;
  };
  const Row rows[] = {
      {"no file", absent, absent},
      {"empty files", "", ""},
      {"no such key", "device_name=bench\n", "r_enc=one\n"},
      {"a key in capitals", "R_ENCR=one\n", absent},
      {"a key over two lines", "r_en\ncr=one\n", absent},
      {"a key without its sign", "r_encr one\n", absent},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Lay(firstPath, row.first);
    Lay(secondPath, row.second);
    std::string token = "before";
    EXPECT_EQ(GetENR(token), 1);
    EXPECT_EQ(token, "before");
    EXPECT_EQ(log.Text(), "");
  }
}

// Each time another allocation fails, until there are enough of them.
TEST_F(IdentityTest, MissingMemoryDoesNotSendTheSecondFilesToken) {
  WriteText(firstPath, "a line longer than a small text\nr_encr=the first file's");
  WriteText(secondPath, "r_encr=second");
  long before = 0;
  for (bool isOut = true; isOut; ++before) {
    SCOPED_TRACE(before);
    std::string token = "before";
    scarcity.toComeFirst = before;
    scarcity.toFail = 1;
    try {
      EXPECT_EQ(GetENR(token), 0);
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(scarcity.toFail, 0);
    }
    isOut = scarcity.toFail.exchange(0) <= 0;
    EXPECT_EQ(token, isOut ? "before" : "the first file's");
  }
  EXPECT_GT(before, 4) << "of the path, the text, a line, the token";
}

TEST_F(IdentityTest, TheIdentityIsLoggedWithoutTheToken) {
  EXPECT_EQ(HttpRequest::Instance()->Init(), 0);
  EXPECT_EQ(HttpRequest::mac, "02005e102030");
  EXPECT_EQ(HttpRequest::enr, "BENCHTOKEN012345");
  EXPECT_EQ(log.Text(), "mac address 02005e102030\nGet enr successfully\n");
}

TEST_F(IdentityTest, WithoutATokenOnlyTheAddressIsLogged) {
  Remove(firstPath);
  EXPECT_EQ(HttpRequest::Instance()->Init(), 1);
  EXPECT_EQ(log.Text(), "mac address 02005e102030\n");
}

TEST_F(IdentityTest, WithoutAnAddressTheTokenIsNotLookedFor) {
  EXPECT_EQ(std::system("ip link set wlan0 down"), 0);
  EXPECT_EQ(HttpRequest::Instance()->Init(), 1);
  EXPECT_EQ(HttpRequest::enr, "");
  EXPECT_EQ(log.Text(), "");
}

}  // namespace
