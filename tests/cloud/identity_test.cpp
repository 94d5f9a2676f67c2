#include "cloud/identity.h"

#include "cloud/http_request.h"
#include "tests/kit/device.h"

using IdentityTest = DeviceTest;

TEST_F(IdentityTest, TheTokenIsWhatFollowsTheFirstKey) {
  const std::string none = "none";  // as a file, as a token
  const std::string rows[][3] = {
      {"a=b\nfoo r_encr=ABCDEFGHIJKLMNOPQRS\n", none, "ABCDEFGHIJKLMNOP"},
      {"r_encr=one\nr_encr=two\n", "r_encr=three\n", "one"},
      {"r_encr=short\r\n", none, "short\r"},
      {"r_encr=\n", "r_encr=second", ""},
      {none, "r_encr=second", "second"},
      {"", none, none}};
  for (const auto& [first, second, token] : rows) {
    Remove("/etc/config/.user_config");
    Remove("/config/.user_config");
    if (first != none) WriteText("/etc/config/.user_config", first);
    if (second != none) WriteText("/config/.user_config", second);
    std::string enr = none;
    EXPECT_EQ(GetENR(enr), token == none ? 1 : 0);
    EXPECT_EQ(enr, token);
  }
}

TEST_F(IdentityTest, OnlyAnInterfaceThatIsUpAndEthernetHasAnAddress) {
  EXPECT_EQ(HttpRequest::Instance()->Init(), 0);
  EXPECT_EQ(HttpRequest::mac + HttpRequest::enr, "02005e102030BENCHTOKEN012345");
  EXPECT_EQ(log.Text(), "mac address 02005e102030\nGet enr successfully\n");
  std::string mac = "before";
  for (const char* name : {"lo", "wlan1", "", "fifteen-letters", "sixteen--letters"}) {
    EXPECT_EQ(GetMACAddress(name, mac), 1) << name;
  }
  EXPECT_EQ(std::system("ip link set wlan0 down"), 0);
  EXPECT_EQ(HttpRequest::Instance()->Init() + GetMACAddress("wlan0", mac), 2);
  EXPECT_EQ(mac, "before");
  EXPECT_EQ(log.Text(), "");
  EXPECT_EQ(std::system("ip link set wlan0 name fifteen-letters address 02:00:0a:ff:00:0f up"), 0);
  EXPECT_EQ(GetMACAddress("fifteen-letters", mac), 0);
  EXPECT_EQ(mac, "02000aff000f");
}
